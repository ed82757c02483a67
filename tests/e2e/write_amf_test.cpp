// Files by AMD's encoder, on the software runtime: what the encoder is asked for, and what becomes of a file when a
// call of the runtime fails once.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/amf_script.h"
#include "support/file_contents.h"
#include "support/muxed_file.h"
#include "support/repetitions.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 64;
constexpr std::uint32_t g_uiHeight = 48;

// Numbered pictures from 1, 40 ms apart. A letter for each: "." is written, "x" refused.
std::string Write(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiCount)
{
    std::string strStatuses;
    const OutputFile file = OpenForPictures(host, path, g_uiWidth, g_uiHeight);
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
    {
        const QmStatus nStatus = WriteAt(file, 40.0 * ui, NumberedPicture(g_uiWidth, g_uiHeight, ui + 1));
        EXPECT_TRUE(nStatus == QM_OK || nStatus == QM_ERR_FAIL) << nStatus;
        strStatuses += nStatus == QM_OK ? '.' : 'x';
    }
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    return strStatuses;
}

void ExpectNothingLeft(const AmfScript& script)
{
    const AmfRuntimeObjects alive = script->CountObjects();
    EXPECT_EQ(alive.uiContexts, 0U);
    EXPECT_EQ(alive.uiComponents, 0U);
    EXPECT_EQ(alive.uiSurfaces, 0U);
    EXPECT_EQ(alive.uiBuffers, 0U);
    const AmfRuntimeBreaches breaches = script->GetBreaches();
    EXPECT_EQ(breaches.left.uiSurfaces, 0U);
    EXPECT_EQ(breaches.left.uiBuffers, 0U);
    EXPECT_EQ(breaches.left.uiInitializedComponents, 0U);
    EXPECT_EQ(breaches.uiContextsNotTerminated, 0U);
    EXPECT_EQ(breaches.uiComponentsNotTerminated, 0U);
}

TEST(AmfFile, KeepsEveryRuleOfTheInterface)
{
    const AmfScript script;
    const TemporaryFolder dir;
    {
        const ModuleHost host;
        ChooseCodec(host, L"AMF1");
        EXPECT_EQ(Write(host, dir / "file.mp4", 70), std::string(70, '.'));
    }
    ExpectNothingLeft(script);
    const AmfRuntimeBreaches breaches = script->GetBreaches();
    EXPECT_EQ(breaches.uiPicturesLost, 0U);
    EXPECT_EQ(breaches.uiCallsOutOfOrder, 0U);
    EXPECT_EQ(breaches.uiPropertiesRefused, 0U);
    EXPECT_EQ(script->CountCalls(AMF_CALL_ENCODER_INIT), 1U);
    EXPECT_EQ(script->CountCalls(AMF_CALL_CONVERTER_INIT), 70U);
    EXPECT_EQ(NumbersIn(dir / "file.mp4", g_uiWidth, g_uiHeight), Numbers(1, 70));
}

// The list of key samples counts from 1, and a key sample is one that an access unit delimiter marks. The encoder makes
// every 60th picture a key picture.
TEST(AmfFile, ItsKeySamplesCountFromOne)
{
    const AmfScript script;
    const TemporaryFolder dir;
    const ModuleHost host;
    ChooseCodec(host, L"AMF1");
    Write(host, dir / "file.mp4", 130);
    const SMuxedFile file = ReadMuxedFile(ReadBytes(dir / "file.mp4"));
    EXPECT_EQ(file.m_moov.m_vKeySamples, (std::vector<std::uint32_t>{1, 61, 121}));
}

struct SFailure
{
    AmfRuntimeCall m_eCall;
    const char* m_pszName;
    std::uint32_t m_uiFirst;                // which of its calls fails; all others succeed
    const char* m_pszStatuses;              // of eight pictures
    std::vector<std::uint32_t> m_vNumbers;  // of the pictures in the file; none also without a file
};

class AmfCallFails : public testing::TestWithParam<SFailure>
{
};

TEST_P(AmfCallFails, AndTheFileHasWhatCanBe)
{
    const SFailure& failure = GetParam();
    const AmfScript script;
    const TemporaryFolder dir;
    const auto path = dir / "file.mp4";
    script->FailCalls(failure.m_eCall, failure.m_uiFirst, 1, AMF_FAIL);
    {
        const ModuleHost host;
        ChooseCodec(host, L"AMF1");
        EXPECT_EQ(Write(host, path, 8), failure.m_pszStatuses);
        if (!failure.m_vNumbers.empty())
        {
            // A frame that is refused or lost has its time in the file all the same.
            EXPECT_EQ(ReadBack(host, path).Times(), EvenTimes(8));
            EXPECT_EQ(NumbersIn(path, g_uiWidth, g_uiHeight), failure.m_vNumbers);
        }
    }
    ExpectNothingLeft(script);

    // Nothing of it lasts.
    script->Reset();
    const ModuleHost host;
    ChooseCodec(host, L"AMF1");
    EXPECT_EQ(Write(host, path, 8), "........");
    EXPECT_EQ(NumbersIn(path, g_uiWidth, g_uiHeight), Numbers(1, 8));
}

constexpr const char* g_pszAll = "........";
constexpr const char* g_pszNone = "xxxxxxxx";
const std::vector<std::uint32_t> g_vAll = {1, 2, 3, 4, 5, 6, 7, 8};
// The fallback of the conversion paints a picture in one dark colour.
const std::vector<std::uint32_t> g_vThirdPainted = {1, 2, 0, 4, 5, 6, 7, 8};
INSTANTIATE_TEST_SUITE_P(
    Calls, AmfCallFails,
    testing::Values(SFailure{AMF_CALL_INIT, "Init", 1, g_pszNone, {}},
                    SFailure{AMF_CALL_QUERY_VERSION, "QueryVersion", 1, g_pszNone, {}},
                    SFailure{AMF_CALL_FACTORY_GET_DEBUG, "GetDebug", 1, g_pszAll, g_vAll},
                    SFailure{AMF_CALL_FACTORY_GET_TRACE, "GetTrace", 1, g_pszAll, g_vAll},
                    SFailure{AMF_CALL_FACTORY_CREATE_CONTEXT, "CreateContext", 1, g_pszNone, {}},
                    SFailure{AMF_CALL_FACTORY_CREATE_CONVERTER, "CreateConverter", 1, g_pszNone, {}},
                    SFailure{AMF_CALL_FACTORY_CREATE_ENCODER, "CreateEncoder", 1, g_pszNone, {}},
                    SFailure{AMF_CALL_CONTEXT_INIT_DX9, "InitDX9", 1, g_pszNone, {}},
                    // Each picture asks for the encoder's surface first, then for the converter's.
                    SFailure{AMF_CALL_CONTEXT_ALLOC_SURFACE, "EncoderSurface", 5, "..xxxxxx", {1, 2}},
                    SFailure{AMF_CALL_CONTEXT_ALLOC_SURFACE, "ConverterSurface", 6, g_pszAll, g_vThirdPainted},
                    // It was drained for the picture before, and takes none until it is initialised.
                    SFailure{AMF_CALL_CONVERTER_INIT, "ConverterInit", 3, g_pszAll, g_vThirdPainted},
                    SFailure{AMF_CALL_CONVERTER_SUBMIT_INPUT, "ConverterSubmit", 3, g_pszAll, g_vThirdPainted},
                    SFailure{AMF_CALL_CONVERTER_DRAIN, "ConverterDrain", 3, g_pszAll, g_vAll},
                    SFailure{AMF_CALL_CONVERTER_QUERY_OUTPUT, "ConverterQuery", 3, g_pszAll, g_vThirdPainted},
                    SFailure{AMF_CALL_ENCODER_SET_PROPERTY, "EncoderProperty", 1, g_pszAll, g_vAll},
                    // The time of a picture that the encoder refuses stays, and no status shows it.
                    SFailure{AMF_CALL_ENCODER_SUBMIT_INPUT, "FirstSubmit", 1, g_pszAll, {2, 3, 4, 5, 6, 7, 8}},
                    SFailure{AMF_CALL_ENCODER_SUBMIT_INPUT, "ThirdSubmit", 3, g_pszAll, {1, 2, 4, 5, 6, 7, 8}},
                    SFailure{AMF_CALL_ENCODER_QUERY_OUTPUT, "FirstQuery", 1, g_pszAll, g_vAll},
                    SFailure{AMF_CALL_ENCODER_QUERY_OUTPUT, "FourthQuery", 4, g_pszAll, g_vAll}),
    [](const auto& failure) { return failure.param.m_pszName; });

// An input that is full for a while, and output that comes late.
TEST(AmfFile, ASlowEncoderLosesNothing)
{
    const AmfScript script;
    const TemporaryFolder dir;
    const ModuleHost host;
    ChooseCodec(host, L"AMF1");
    script->DeliverSlowly(3);
    script->FailCalls(AMF_CALL_ENCODER_SUBMIT_INPUT, 5, 20, AMF_INPUT_FULL);
    EXPECT_EQ(Write(host, dir / "file.mp4", 40), std::string(40, '.'));
    EXPECT_EQ(NumbersIn(dir / "file.mp4", g_uiWidth, g_uiHeight), Numbers(1, 40));
}

TEST(AmfFile, WithoutAnyFrameThereIsNone)
{
    const AmfScript script;
    const TemporaryFolder dir;
    const ModuleHost host;
    ChooseCodec(host, L"AMF1");
    EXPECT_EQ(Write(host, dir / "file.mp4", 0), "");
    EXPECT_FALSE(std::filesystem::exists(dir / "file.mp4"));
    EXPECT_EQ(script->CountCalls(AMF_CALL_FACTORY_CREATE_CONTEXT), 0U);
}

// As fast as the encoder takes them, on two threads with an output object each.
TEST(AmfFile, FilesOfRandomLengthByTwoWriters)
{
    const AmfScript script;
    const TemporaryFolder dir;
    const int nFiles = Repetitions(100);
    const auto write = [&](unsigned uiSeed) {
        const ModuleHost host;
        ChooseCodec(host, L"AMF1");
        std::mt19937 random(uiSeed);
        const auto path = dir / (std::to_string(uiSeed) + ".mp4");
        for (int n = 0; n < nFiles; ++n)
        {
            const std::uint32_t uiCount = 1 + random() % 40;
            EXPECT_EQ(Write(host, path, uiCount), std::string(uiCount, '.'));
            EXPECT_EQ(ReadBack(host, path).Times(), EvenTimes(uiCount));
        }
    };
    std::thread other([&] { write(1); });
    write(2);
    other.join();
    ExpectNothingLeft(script);
    EXPECT_EQ(script->GetBreaches().uiPicturesLost, 0U);
}

}  // namespace
