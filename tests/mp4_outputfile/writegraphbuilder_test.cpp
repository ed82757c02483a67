// How the graph of a file is built: in which order, and what is left when a step fails. On the system's own objects, of
// which a test makes one call fail.
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <codecapi.h>
#include <mfapi.h>
#include <mferror.h>
#include <strmif.h>

#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/mediafoundationwriter.h"
#include "platform/mediafoundation/write_script.h"
#include "platform/winbase/version_script.h"
#include "support/process_state.h"
#include "support/temporary_folder.h"

namespace
{

using test_support::CountOpenFiles;
using test_support::CountThreads;
using test_support::FallsTo;

constexpr HRESULT FAILURE = static_cast<HRESULT>(0xC00D7777);

// The insides of a writer.
class COpenWriter : public CMediaFoundationWriter
{
public:
    using CMediaFoundationWriter::IsRunning;

    IMFTransform* GetEncoder() { return m_graph.m_pEncoderTransform; }
    bool AwaitSourceStart() { return WaitForSingleObject(m_pHandover->m_hSourceStarted, 60000) == WAIT_OBJECT_0; }

    bool HasNothing() const
    {
        return m_graph.m_pSession == nullptr && m_graph.m_pSource == nullptr && m_graph.m_pSink == nullptr &&
               m_graph.m_pStreamSink == nullptr && m_graph.m_pTopology == nullptr && m_graph.m_pOutputType == nullptr &&
               m_graph.m_pEncoderTransform == nullptr && m_graph.m_pByteStream == nullptr;
    }
};

struct SStep
{
    const char* m_pszName;
    MediaWriteCall m_eCall;
    unsigned m_uiNth;     // of the calls of that kind
    HRESULT m_hrFailure;  // what the call gives
    HRESULT m_hrResult;   // what the set-up gives then
};

// Those whose failure ends the set-up, in their order.
const SStep g_aSteps[] = {
    {"the type that is given to nothing", MediaWriteCall::CreateMediaType, 1, FAILURE, FAILURE},
    {"the target file", MediaWriteCall::CreateFile, 1, FAILURE, FAILURE},
    {"the session", MediaWriteCall::CreateSession, 1, FAILURE, FAILURE},
    {"no encoder is found", MediaWriteCall::FindEncoder, 1, S_FALSE, E_INVALIDARG},
    {"the search for an encoder", MediaWriteCall::FindEncoder, 1, FAILURE, E_INVALIDARG},
    {"the encoder itself", MediaWriteCall::ActivateEncoder, 1, FAILURE, E_INVALIDARG},
    {"the type of the encoder's output", MediaWriteCall::CreateMediaType, 2, FAILURE, FAILURE},
    {"the encoder refuses that type", MediaWriteCall::SetOutputType, 1, FAILURE, FAILURE},
    {"the sink", MediaWriteCall::CreateSink, 1, FAILURE, FAILURE},
    {"the sink's stream", MediaWriteCall::GetStreamSink, 1, FAILURE, FAILURE},
    {"the topology", MediaWriteCall::CreateTopology, 1, FAILURE, FAILURE},
};

// The order in which the system is called for the first time.
const MediaWriteCall g_aeOrder[] = {MediaWriteCall::CreateMediaType, MediaWriteCall::CreateFile,
                                    MediaWriteCall::CreateSession,   MediaWriteCall::FindEncoder,
                                    MediaWriteCall::ActivateEncoder, MediaWriteCall::SetOutputType,
                                    MediaWriteCall::SetInputType,    MediaWriteCall::CreateSink,
                                    MediaWriteCall::GetStreamSink,   MediaWriteCall::CreateTopology};

// What comes after a search for an encoder that finds none.
bool IsOfEncoderAndSink(MediaWriteCall eCall)
{
    return eCall == MediaWriteCall::ActivateEncoder || eCall == MediaWriteCall::SetOutputType ||
           eCall == MediaWriteCall::SetInputType || eCall == MediaWriteCall::CreateSink ||
           eCall == MediaWriteCall::GetStreamSink;
}

class WriteGraphBuilder : public testing::Test
{
protected:
    WriteGraphBuilder()
    {
        MediaWriteScript_Reset();
        EXPECT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    }
    ~WriteGraphBuilder() override
    {
        MFShutdown();
        MediaWriteScript_Reset();
    }

    HRESULT Open(COpenWriter& writer) const { return writer.Open({m_strPath, 64, 48, 63, 47, 0xFFFFFFFF, L"HQ"}); }

    static unsigned Count(MediaWriteCall eCall) { return MediaWriteScript_CallCount(eCall); }
    static void Fail(const SStep& step) { MediaWriteScript_FailCall(step.m_eCall, step.m_uiNth, step.m_hrFailure); }

    const test_support::TemporaryFolder m_dir;
    const std::filesystem::path m_path = m_dir / "target.mp4";
    const CQmStringW m_strPath{m_path.wstring().c_str()};
};

// 1921 x 1081 x 3 / 2 bits a second, and the even size.
TEST_F(WriteGraphBuilder, TheBitRateIsThatOfTheHostsPictureAndTheSizeThatOfTheEncodedOne)
{
    COpenWriter writer;
    ASSERT_EQ(writer.Open({m_strPath, 1922, 1082, 1921, 1081, 0xFFFFFFFF, L"HQ"}), S_OK);
    IMFMediaType* pType = nullptr;
    ASSERT_EQ(writer.GetEncoder()->GetOutputCurrentType(0, &pType), S_OK);
    UINT32 unBitRate = 0;
    UINT32 unWidth = 0;
    UINT32 unHeight = 0;
    EXPECT_EQ(pType->GetUINT32(MF_MT_AVG_BITRATE, &unBitRate), S_OK);
    EXPECT_EQ(MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &unWidth, &unHeight), S_OK);
    EXPECT_EQ(unBitRate, 3114901U);
    EXPECT_EQ(unWidth, 1922U);
    EXPECT_EQ(unHeight, 1082U);
    pType->Release();
}

// Profile, quality against speed and worker threads of the encoder that the graph has.
std::vector<std::uint32_t> SettingsUnder(COpenWriter& writer, const CQmStringW& strPath, const wchar_t* pwszCode)
{
    EXPECT_EQ(writer.Open({strPath, 64, 48, 64, 48, 0xFFFFFFFF, pwszCode}), S_OK);
    IMFMediaType* pType = nullptr;
    ICodecAPI* pApi = nullptr;
    EXPECT_EQ(writer.GetEncoder()->GetOutputCurrentType(0, &pType), S_OK);
    EXPECT_EQ(writer.GetEncoder()->QueryInterface(IID_ICodecAPI, reinterpret_cast<void**>(&pApi)), S_OK);
    UINT32 unProfile = 0;
    EXPECT_EQ(pType->GetUINT32(MF_MT_MPEG2_PROFILE, &unProfile), S_OK);
    std::vector<std::uint32_t> vSettings{unProfile};
    for (const GUID* pguid : {&CODECAPI_AVEncCommonQualityVsSpeed, &CODECAPI_AVEncNumWorkerThreads})
    {
        VARIANT value{};
        EXPECT_EQ(pApi->GetValue(pguid, &value), S_OK);
        vSettings.push_back(value.ulVal);
    }
    pApi->Release();
    pType->Release();
    return vSettings;
}

// Main instead of High, and neither speed nor threads are asked for: the encoder keeps its own.
TEST_F(WriteGraphBuilder, TheWriterLearnsOfTheStartOfItsSource)
{
    COpenWriter writer;
    ASSERT_EQ(Open(writer), S_OK);
    EXPECT_TRUE(writer.AwaitSourceStart());
}

TEST_F(WriteGraphBuilder, BeforeVersion62TheProfileFallsAndTheEncoderKeepsItsSpeed)
{
    COpenWriter today;
    EXPECT_EQ(SettingsUnder(today, m_strPath, L"HQ"), (std::vector<std::uint32_t>{100, 100, 16}));
    VersionScript_Set(6, 1);
    COpenWriter before;
    EXPECT_EQ(SettingsUnder(before, m_strPath, L"HQ"), (std::vector<std::uint32_t>{77, 33, 0}));
    COpenWriter fastest;
    EXPECT_EQ(SettingsUnder(fastest, m_strPath, L"FST"), (std::vector<std::uint32_t>{66, 33, 0}));
    VersionScript_Reset();
}

TEST_F(WriteGraphBuilder, EachStepThatFailsEndsTheSetUpWithItsFailure)
{
    for (const SStep& step : g_aSteps)
    {
        SCOPED_TRACE(step.m_pszName);
        MediaWriteScript_Reset();
        Fail(step);
        COpenWriter writer;
        EXPECT_EQ(Open(writer), step.m_hrResult);

        // Every call before the failed one was made, and none after it.
        const bool bEncoder =
            step.m_eCall != MediaWriteCall::FindEncoder && step.m_eCall != MediaWriteCall::ActivateEncoder;
        const auto* const pFailed = std::find(std::begin(g_aeOrder), std::end(g_aeOrder),
                                              step.m_uiNth == 1 ? step.m_eCall : MediaWriteCall::ActivateEncoder);
        for (const auto* p = std::begin(g_aeOrder); p != std::end(g_aeOrder); ++p)
        {
            const bool bWithoutEncoder = !bEncoder && p > pFailed && !IsOfEncoderAndSink(*p);
            EXPECT_EQ(Count(*p) != 0, p <= pFailed || bWithoutEncoder) << "call " << static_cast<int>(*p);
        }
    }
}

TEST_F(WriteGraphBuilder, ASetUpThatFailsLeavesNothing)
{
    for (const SStep& step : g_aSteps)
    {
        SCOPED_TRACE(step.m_pszName);
        MediaWriteScript_Reset();
        std::filesystem::remove(m_path);
        const std::size_t uiFiles = CountOpenFiles();
        const std::size_t uiThreads = CountThreads();
        Fail(step);
        COpenWriter writer;
        EXPECT_EQ(Open(writer), step.m_hrResult);
        EXPECT_TRUE(writer.HasNothing());
        EXPECT_FALSE(writer.IsRunning());
        EXPECT_TRUE(FallsTo(uiFiles, CountOpenFiles));
        EXPECT_TRUE(FallsTo(uiThreads, CountThreads));

        // The target stays as far as it has got. A sink is finalised, and no sink can be without it.
        const bool bFile = Count(MediaWriteCall::CreateFile) != 0 && step.m_eCall != MediaWriteCall::CreateFile;
        EXPECT_EQ(std::filesystem::exists(m_path), bFile);
        const bool bSink = Count(MediaWriteCall::CreateSink) != 0 && step.m_eCall != MediaWriteCall::CreateSink;
        EXPECT_EQ(Count(MediaWriteCall::BeginFinalize), bSink ? 1U : 0U);
        EXPECT_EQ(Count(MediaWriteCall::SetTopology), 0U);
    }
}

TEST_F(WriteGraphBuilder, ASetUpThatFailedCanBeDoneAgain)
{
    for (const SStep& step : g_aSteps)
    {
        SCOPED_TRACE(step.m_pszName);
        MediaWriteScript_Reset();
        Fail(step);
        COpenWriter writer;
        EXPECT_EQ(Open(writer), step.m_hrResult);
        EXPECT_EQ(Open(writer), S_OK);
        EXPECT_TRUE(writer.IsRunning());
        writer.Close({});
        EXPECT_TRUE(writer.HasNothing());
        EXPECT_FALSE(writer.IsRunning());
        EXPECT_EQ(Count(MediaWriteCall::SetTopology), 1U);
    }
}

// The session finds out whether the encoder takes the source's pictures.
TEST_F(WriteGraphBuilder, ATypeOfTheInputThatIsRefusedOrCannotBeMadeDoesNotEndTheSetUp)
{
    for (const auto& [eCall, uiNth] :
         {std::pair{MediaWriteCall::CreateMediaType, 3U}, {MediaWriteCall::SetInputType, 1U}})
    {
        MediaWriteScript_Reset();
        MediaWriteScript_FailCall(eCall, uiNth, FAILURE);
        COpenWriter writer;
        EXPECT_EQ(Open(writer), S_OK);
        EXPECT_EQ(Count(MediaWriteCall::CreateTopology), 1U);
        writer.Close({});
        EXPECT_EQ(Count(MediaWriteCall::BeginFinalize), 1U);
    }
}

TEST_F(WriteGraphBuilder, AFileThatExistsIsReplacedUnderItsName)
{
    test_support::WriteText(m_path, "what was there before");
    COpenWriter writer;
    EXPECT_EQ(Open(writer), S_OK);
    EXPECT_EQ(m_dir.Names(), std::set<std::string>{"target.mp4"});
    writer.Close({});
    const auto vFile = test_support::ReadBytes(m_path);
    const std::string strBefore = "what was there before";
    EXPECT_EQ(std::search(vFile.begin(), vFile.end(), strBefore.begin(), strBefore.end()), vFile.end());
    EXPECT_EQ(m_dir.Names(), std::set<std::string>{"target.mp4"});
}

}  // namespace
