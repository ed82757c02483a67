// Which gaps Wine has, and that the bridge fills those that show here but one; those of starts show in the tests that
// read frames. A test that looks for a gap and fails shows that a newer Wine has closed it: what the bridge has for it
// can go then.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <initializer_list>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>
#include <uuids.h>

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"
#include "windows_bridge/bridge.h"
#include "windows_bridge/file_source.h"
#include "windows_bridge/first_picture.h"
#include "windows_bridge/representation.h"

namespace
{

using windows_bridge::CFileSource;
using windows_bridge::IsWine;
using windows_bridge::SamplesUntilThePicture;

constexpr LONGLONG SECOND = 10'000'000;

// Three seconds, a key picture each.
std::filesystem::path MakeVideo(const std::filesystem::path& folder, const std::string& sSize = "64x48",
                                const std::string& sOptions = "")
{
    const std::filesystem::path path = folder / (sSize + ".mp4");
    test_support::RunFfmpeg("-v error -f lavfi -i testsrc2=r=25:d=3:s=" + sSize +
                            " -c:v libx264 -pix_fmt yuv420p -g 25 -sc_threshold 0 " + sOptions + " " +
                            test_support::Quoted(path));
    return path;
}

// Exit codes of a program that opens a file many times at once. None of them is that of abort, which is 3.
constexpr int ALL_OPENED = 40;
constexpr int NONE_OPENS_ANY_MORE = 41;
constexpr int FAILED_TO_OPEN = 42;

// More times at once than the system's work queue has threads, and many times in turn. Ends the program. Its folder
// stays: threads that wait forever hold the file.
[[noreturn]] void OpenAtOnce()
{
    constexpr int THREADS = 16;
    constexpr int TURNS = 10;
    constexpr std::chrono::seconds LIMIT{10};  // of a turn; opening takes milliseconds
    MFStartup(MF_VERSION, MFSTARTUP_FULL);
    const test_support::TemporaryFolder folder;
    const std::filesystem::path path = MakeVideo(folder.Path());
    std::atomic<int> nOpened = 0;
    for (int nTurn = 1; nTurn <= TURNS; ++nTurn)
    {
        for (int n = 0; n < THREADS; ++n)
        {
            std::thread([&path, &nOpened] {
                try
                {
                    const CFileSource source(path);
                    ++nOpened;
                }
                catch (const std::exception&)
                {
                    std::_Exit(FAILED_TO_OPEN);
                }
            }).detach();
        }
        const auto end = std::chrono::steady_clock::now() + LIMIT;
        while (nOpened < nTurn * THREADS)
        {
            if (std::chrono::steady_clock::now() > end) std::_Exit(NONE_OPENS_ANY_MORE);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    std::_Exit(ALL_OPENED);
}

IMFMediaType* MakeToken()
{
    IMFMediaType* pToken = nullptr;
    MFCreateMediaType(&pToken);
    return pToken;
}

// Whether a request that is open when the source starts again is forgotten: the next sample is that of a later request.
bool ForgetsRequests(const std::filesystem::path& path)
{
    CFileSource source(path);
    source.Start(0);
    source.RequestSample(nullptr);
    source.AwaitSample()->Release();
    source.Pause();
    IMFMediaType* pEarlier = MakeToken();
    IMFMediaType* pLater = MakeToken();
    source.RequestSample(pEarlier);
    source.Start(SECOND);
    source.RequestSample(pLater);
    IMFSample* pSample = source.AwaitSample();
    IMFMediaType* pToken = nullptr;
    pSample->GetUnknown(MFSampleExtension_Token, IID_IMFMediaType, reinterpret_cast<void**>(&pToken));
    const bool bForgets = pToken == pLater;
    for (IUnknown* pObject : std::initializer_list<IUnknown*>{pSample, pEarlier, pLater, pToken})
        if (pObject != nullptr) pObject->Release();
    return bForgets;
}

// Whether a start between two key pictures begins with a picture that needs others.
bool StartsBetweenKeyPictures(const std::filesystem::path& path)
{
    CFileSource source(path);
    source.Start(SECOND + SECOND / 2);
    source.RequestSample(nullptr);
    IMFSample* pSample = source.AwaitSample();
    const bool bKey = MFGetAttributeUINT32(pSample, MFSampleExtension_CleanPoint, 0) != 0;
    pSample->Release();
    return !bKey;
}

// Whether a request for a sample that the file has in part only is followed by nothing until the next one.
bool LeavesARequestUnanswered(const std::filesystem::path& path)
{
    CFileSource source(path);
    source.Start(0);
    source.RequestSample(nullptr);
    if (source.EndsWithin(std::chrono::seconds(1))) return false;
    source.RequestSample(nullptr);
    return source.EndsWithin(std::chrono::seconds(10));
}

bool RefusesAPauseAtItsEnd(const std::filesystem::path& path)
{
    constexpr int SAMPLES = 75;
    CFileSource source(path);
    source.Start(0);
    for (int i = 0; i < SAMPLES; ++i)
    {
        source.RequestSample(nullptr);
        source.AwaitSample()->Release();
    }
    return source.PauseAtEnd() == MF_E_INVALID_STATE_TRANSITION;
}

// It ends within its first sample.
std::filesystem::path MakeCutVideo(const std::filesystem::path& folder)
{
    constexpr std::size_t MDAT_HEADER = 8;
    constexpr std::size_t PART_OF_A_SAMPLE = 16;
    const std::filesystem::path path = MakeVideo(folder, "48x48", "-movflags +faststart");
    const auto vFile = test_support::ReadBytes(path);
    std::filesystem::resize_file(path,
                                 test_support::FindBox(vFile, "mdat").m_uiHeader + MDAT_HEADER + PART_OF_A_SAMPLE);
    return path;
}

// Its width isn't a multiple of 16. Without B pictures nothing keeps a decoder from giving each picture at once.
std::filesystem::path MakeVideoOfPartialMacroblocks(const std::filesystem::path& folder)
{
    return MakeVideo(folder, "70x48", "-bf 0");
}

// In a program of its own, which the test starts: threads that wait forever can't be ended.
TEST(OpeningDeathTest, WineStandsStillWhenManyFilesAreOpenedAtOnce)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_EXIT(OpenAtOnce(), testing::ExitedWithCode(NONE_OPENS_ANY_MORE), "")
        << "windows_bridge/opening.cpp isn't needed any more";
}

TEST(OpeningDeathTest, ManyFilesAreOpenedAtOnceWithTheBridge)
{
    const auto open = [] {
        windows_bridge::FillGaps();
        OpenAtOnce();
    };
    EXPECT_EXIT(open(), testing::ExitedWithCode(ALL_OPENED), "");
}

// The tests run in this order, and the gaps stay filled after the first that fills them.
class Gaps : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
        s_bRepresentationGap = windows_bridge::HasRepresentationGap();
        const test_support::TemporaryFolder folder;
        const std::filesystem::path path = MakeVideo(folder.Path());
        s_bRequestGap = ForgetsRequests(path);
        s_bKeyPictureGap = StartsBetweenKeyPictures(path);
        s_bPauseGap = RefusesAPauseAtItsEnd(path);
        s_bAnswerGap = LeavesARequestUnanswered(MakeCutVideo(folder.Path()));
        s_bDecoderGap = SamplesUntilThePicture(MakeVideoOfPartialMacroblocks(folder.Path())) > 1;
        windows_bridge::FillGaps();
    }
    static void TearDownTestSuite()
    {
        MFShutdown();
        CoUninitialize();
    }

    // Before any was filled.
    static bool s_bRepresentationGap;
    static bool s_bRequestGap;
    static bool s_bKeyPictureGap;
    static bool s_bPauseGap;
    static bool s_bAnswerGap;
    static bool s_bDecoderGap;
};

bool Gaps::s_bRepresentationGap = false;
bool Gaps::s_bRequestGap = false;
bool Gaps::s_bKeyPictureGap = false;
bool Gaps::s_bPauseGap = false;
bool Gaps::s_bAnswerGap = false;
bool Gaps::s_bDecoderGap = false;

TEST_F(Gaps, WineRepresentsH264WithoutItsProfile)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_TRUE(s_bRepresentationGap) << "windows_bridge/representation.cpp isn't needed any more";
}

TEST_F(Gaps, WinesSourceForgetsRequestsAtAStart)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_TRUE(s_bRequestGap) << "windows_bridge/starts.cpp needn't repeat requests any more";
}

TEST_F(Gaps, WinesSourceStartsBetweenKeyPictures)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_TRUE(s_bKeyPictureGap) << "windows_bridge/starts.cpp needn't start at the beginning any more";
}

TEST_F(Gaps, WinesSourceRefusesAPauseAtItsEnd)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_TRUE(s_bPauseGap) << "windows_bridge/starts.cpp needn't pause a source at its end any more";
}

// The one gap here that isn't filled.
TEST_F(Gaps, WinesSourceLeavesRequestsForCutSamplesUnanswered)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_TRUE(s_bAnswerGap) << "e2e_hostile_test can be run whole";
}

// That its threads then may disagree on a size comes and goes with their timing, and can't be looked for.
TEST_F(Gaps, WinesDecoderDecodesSeveralPicturesAtOnce)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    if (std::thread::hardware_concurrency() == 1) GTEST_SKIP() << "one processor";
    EXPECT_TRUE(s_bDecoderGap) << "windows_bridge/decoder.cpp isn't needed any more";
}

TEST_F(Gaps, WindowsHasNone)
{
    if (IsWine()) GTEST_SKIP() << "this is Wine";
    EXPECT_FALSE(s_bRepresentationGap);
    EXPECT_FALSE(s_bRequestGap);
    EXPECT_FALSE(s_bKeyPictureGap);
}

TEST_F(Gaps, TheRepresentationIsFilled)
{
    EXPECT_FALSE(windows_bridge::HasRepresentationGap());
}

TEST_F(Gaps, PicturesOfPartialMacroblocksAreDecodedOneAfterTheOther)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    const test_support::TemporaryFolder folder;
    EXPECT_EQ(SamplesUntilThePicture(MakeVideoOfPartialMacroblocks(folder.Path())), 1);
}

// Through either interface of the type.
TEST_F(Gaps, TheRepresentationOfH264HasSizeProfileAndLevel)
{
    IMFMediaType* pType = nullptr;
    ASSERT_EQ(MFCreateMediaType(&pType), S_OK);
    const BYTE abSets[] = {0, 0, 0, 1, 0x67, 77, 0, 31, 0x95, 0xA0};
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, 640, 360);
    pType->SetBlob(MF_MT_USER_DATA, abSets, sizeof abSets);
    IMFVideoMediaType* pVideoType = nullptr;
    ASSERT_EQ(pType->QueryInterface(IID_IMFVideoMediaType, reinterpret_cast<void**>(&pVideoType)), S_OK);
    for (IMFMediaType* pEither : {pType, static_cast<IMFMediaType*>(pVideoType)})
    {
        void* pRepresentation = nullptr;
        ASSERT_EQ(pEither->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, &pRepresentation), S_OK);
        const auto& format = *static_cast<const AM_MEDIA_TYPE*>(pRepresentation);
        EXPECT_TRUE(format.majortype == MFMediaType_Video);
        EXPECT_TRUE(format.subtype == MFVideoFormat_H264);
        ASSERT_TRUE(format.formattype == FORMAT_MPEG2_VIDEO);
        ASSERT_GE(format.cbFormat, sizeof(MPEG2VIDEOINFO));
        const auto& block = *reinterpret_cast<const MPEG2VIDEOINFO*>(format.pbFormat);
        EXPECT_EQ(block.hdr.bmiHeader.biWidth, 640);
        EXPECT_EQ(std::abs(block.hdr.bmiHeader.biHeight), 360);
        if (IsWine())  // Windows takes them from attributes of their own
        {
            EXPECT_EQ(block.dwProfile, 77u);
            EXPECT_EQ(block.dwLevel, 31u);
        }
        EXPECT_EQ(pEither->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation), S_OK);
    }
    pVideoType->Release();
    pType->Release();
}

TEST_F(Gaps, OtherTypesAreRepresentedByTheSystem)
{
    IMFMediaType* pType = nullptr;
    ASSERT_EQ(MFCreateMediaType(&pType), S_OK);
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_YUY2);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, 64, 48);
    void* pRepresentation = nullptr;
    ASSERT_EQ(pType->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, &pRepresentation), S_OK);
    EXPECT_TRUE(static_cast<const AM_MEDIA_TYPE*>(pRepresentation)->formattype != FORMAT_MPEG2_VIDEO);
    pType->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation);
    pType->Release();
}

}  // namespace
