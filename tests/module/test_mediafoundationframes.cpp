// How pictures go from the host's thread to a media session, with a session and a clock that the test decides over.
#include "outputfixture.h"

#include <random>

#include "writingsession.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
class OpenWriter : public CMediaFoundationWriter
{
public:
    using CMediaFoundationWriter::m_handover;
    using CMediaFoundationWriter::m_hWriterThread;
};

class OpenMediaFoundationFile : public OpenOutputFile
{
public:
    using CQmMP4OutputFile::m_mediaFoundation;
};

class MediaFoundationFramesTest : public OutputTest
{
protected:
    void SetUp() override
    {
        OutputTest::SetUp();
        m_pFormat->Choose(L"HQ");
        m_pFormat->m_vCalls.clear();
    }

    void TearDown() override
    {
        EXPECT_EQ(m_record.m_nSessions, 0);
        OutputTest::TearDown();
    }

    static OpenWriter& Writer(OpenOutputFile& file)
    {
        return static_cast<OpenWriter&>(static_cast<OpenMediaFoundationFile&>(file).m_mediaFoundation);
    }

    // Black and white are the ends of the studio range, whatever the coefficients: 16 and 235, without colour.
    static constexpr std::uint8_t m_bBlack = 16;
    static constexpr std::uint8_t m_bWhite = 235;

    // A picture of one grey level, 0 or 255, that is announced as even.
    QmStatus WriteGrey(OpenOutputFile& file, std::uint8_t bLevel)
    {
        const Bytes vPixels(m_vPixels.size(), bLevel);
        return file.WriteNextFrame(vPixels.data());
    }

    // Every second byte of a picture that the session took. Those between them are 128, or one less where the
    // arithmetic of white falls short of it.
    static Bytes LumaOf(const Bytes& vRows)
    {
        Bytes vLuma;
        for (std::size_t ui = 0; ui < vRows.size(); ui += 2)
        {
            vLuma.push_back(vRows[ui]);
            EXPECT_NEAR(vRows[ui + 1], 128, 1) << ui;
        }
        return vLuma;
    }

    // The first byte of each picture that the session took.
    std::vector<int> TakenLevels() const
    {
        std::vector<int> vLevels;
        for (const Bytes& vRows : m_record.Pictures())
            vLevels.push_back(vRows.at(0));
        return vLevels;
    }

    // Those of the record, from the first that is pszFirst on.
    std::vector<std::string> CallsFrom(const char* pszFirst) const
    {
        std::vector<std::string> vCalls = m_record.Calls();
        vCalls.erase(vCalls.begin(), std::find(vCalls.begin(), vCalls.end(), pszFirst));
        return vCalls;
    }

    int CountCalls(const std::string& strCall) const
    {
        const std::vector<std::string> vCalls = m_record.Calls();
        return static_cast<int>(std::count(vCalls.begin(), vCalls.end(), strCall));
    }

    void WaitForCall(const std::string& strCall) const
    {
        for (int i = 0; i < 60000 && CountCalls(strCall) == 0; ++i)
            Sleep(1);
        ASSERT_GT(CountCalls(strCall), 0);
    }

    void WaitForStart() const
    {
        ASSERT_NE(m_record.m_pHandover, nullptr);
        ASSERT_EQ(WaitForSingleObject(m_record.m_pHandover->m_hSessionStarted, 60000), WAIT_OBJECT_0);
    }

    static void WaitForEnd(OpenOutputFile& file)
    {
        ASSERT_EQ(WaitForSingleObject(Writer(file).m_hWriterThread, 60000), WAIT_OBJECT_0);
    }

    static bool IsSet(HANDLE hEvent) { return WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0; }

    WritingRecord m_record;
};

using StallTest = MediaFoundationFramesTest;
}  // namespace

// --- the way of a frame ---

TEST_F(MediaFoundationFramesTest, AFrameGoesOverWhenTheNextOneArrives)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite, m_bBlack));
}

TEST_F(MediaFoundationFramesTest, APictureIsHandedOverAsYuy2)
{
    Bytes vPixels(64 * 48 * 3, 0);
    for (std::size_t ui = 2; ui < vPixels.size(); ui += 3)
        vPixels[ui] = 255;  // red, the last of the three
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);

    // 255 x 0.257 + 16 = 81.5; 128 - 255 x 0.148 = 90.3; 128 + 255 x 0.439 = 239.9. The second pixel's colour is cut to
    // a whole number before it is averaged with the first one's: 90.1 and 239.5.
    Bytes vExpected(64 * 48 * 2, 81);
    for (std::size_t ui = 0; ui < vExpected.size(); ui += 4)
    {
        vExpected[ui + 1] = 90;
        vExpected[ui + 3] = 239;
    }
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    EXPECT_EQ(m_record.Pictures()[0], vExpected);
}

TEST_F(MediaFoundationFramesTest, OneSingleFrameIsHandedOverAtTheCloseOnly)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
    EXPECT_EQ(CountCalls("Taken last"), 1);
}

TEST_F(MediaFoundationFramesTest, TheLastFrameGoesOverTogetherWithTheEndOfTheStream)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    std::vector<std::string> vTaken = m_record.Calls();
    std::erase_if(vTaken, [](const std::string& strCall) { return strCall.rfind("Taken", 0) != 0; });
    EXPECT_THAT(vTaken, ElementsAre("Taken", "Taken", "Taken last"));
}

TEST_F(MediaFoundationFramesTest, TheSessionIsShutDownByTheThreadWhenItHasEnded)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(CountCalls("Join for ever"), 0);
    EXPECT_EQ(CountCalls("Shutdown"), 1);
    EXPECT_EQ(m_record.m_nSessions, 0);
}

TEST_F(MediaFoundationFramesTest, AnObjectThatEndsWithoutACloseFinishesItsStream)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
        EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    }
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
    EXPECT_EQ(CountCalls("Taken last"), 1);
}

TEST_F(MediaFoundationFramesTest, ASecondCloseDoesNothingMore)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    const std::vector<std::string> vCalls = m_record.Calls();
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_record.Calls(), vCalls);
}

TEST_F(MediaFoundationFramesTest, AfterTheCloseEveryFrameFails)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(CountCalls("Build"), 1);
}

// --- indices ---

TEST_F(MediaFoundationFramesTest, IndexZeroThroughoutNeverWakesTheSource)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 5; ++i)
    {
        const Bytes vPixels(m_vPixels.size(), i < 4 ? 0 : 255);
        EXPECT_EQ(pFile->WriteFrame(0, vPixels.data(), nullptr, nullptr), QM_OK);
        EXPECT_FALSE(IsSet(m_record.m_pHandover->m_hFrameReady));
    }
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
}

TEST_F(MediaFoundationFramesTest, IndexZeroLaterInTheFileOverwritesTheFrameBefore)
{
    const Bytes vBlack(m_vPixels.size(), 0);
    const Bytes vWhite(m_vPixels.size(), 255);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteFrame(0, vBlack.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->WriteFrame(1, vBlack.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->WriteFrame(0, vWhite.data(), nullptr, nullptr), QM_OK);  // in the place of the second one
    EXPECT_EQ(pFile->WriteFrame(7, vBlack.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite, m_bBlack));
}

// A picture that nobody has drawn would be a wrong frame.
TEST_F(MediaFoundationFramesTest, AHostThatBeginsWithALaterIndexHasNothingHandedOverBeforeItsFirstFrame)
{
    const Bytes vWhite(m_vPixels.size(), 255);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteFrame(3, vWhite.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->WriteFrame(4, vWhite.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite, m_bWhite));
}

// --- sizes and forms ---

// Of black and white pixels at random: each keeps its luma only where nothing is resampled.
TEST_F(MediaFoundationFramesTest, AnOddPictureLiesInTheCornerOfABlackOneOfTheNextEvenSize)
{
    constexpr std::uint32_t uiWidth = 5, uiHeight = 3, uiPitch = 16;
    std::mt19937 random(5);
    for (int iFrame = 0; iFrame < 3; ++iFrame)
    {
        Bytes vPixels(uiPitch * uiHeight, 0x55);  // between the rows too
        Bytes vLuma(6 * 4, m_bBlack);
        for (std::uint32_t y = 0; y < uiHeight; ++y)
        {
            for (std::uint32_t x = 0; x < uiWidth; ++x)
            {
                const bool bWhite = random() % 2 != 0;
                std::fill_n(vPixels.begin() + y * uiPitch + x * 3, 3, bWhite ? 255 : 0);
                vLuma[y * 6 + x] = bWhite ? m_bWhite : m_bBlack;
            }
        }
        const OutputPtr pFile = MakeFile(uiWidth, uiHeight);
        EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);

        ASSERT_THAT(m_record.Pictures(), SizeIs(iFrame + 1));
        EXPECT_EQ(LumaOf(m_record.Pictures().back()), vLuma);
    }
}

TEST_F(MediaFoundationFramesTest, OneOddSideIsPaddedAlone)
{
    const OutputPtr pFile = MakeFile(4, 3);
    const Bytes vPixels(12 * 3, 255);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    Bytes vLuma(4 * 4, m_bBlack);
    std::fill_n(vLuma.begin(), 4 * 3, m_bWhite);
    EXPECT_EQ(LumaOf(m_record.Pictures()[0]), vLuma);
}

TEST_F(MediaFoundationFramesTest, AnEvenPictureIsReadAtThePitchOfItsOwnRows)
{
    const OutputPtr pFile = MakeFile(2, 2);  // 6 bytes a row, which lie 8 apart
    const Bytes vPixels = {255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    EXPECT_THAT(LumaOf(m_record.Pictures()[0]), ElementsAre(m_bWhite, m_bWhite, m_bBlack, m_bBlack));
}

// The host was told -4, and goes on all the same: the size is encoded as it was given.
TEST_F(MediaFoundationFramesTest, ARefusedPictureOfMoreBytesIsEncodedAtItsUnroundedSize)
{
    SQmImageAttributes attributes = Attributes(3, 2);
    attributes.m_uiBitsInMemory = 16;
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    const Bytes vPixels(20 * 2, 255);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    EXPECT_THAT(m_record.Pictures()[0], SizeIs(3 * 2 * 2));
}

// A third of the bytes that 24-bit pixels take, and nothing behind them may be read.
TEST_F(MediaFoundationFramesTest, ARefusedPictureOfFewerBytesIsNotRead)
{
    SQmImageAttributes attributes = Attributes(64, 48);
    attributes.m_uiComponents = 1;
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    const auto pPixels = std::make_unique<std::uint8_t[]>(64 * 48);
    EXPECT_EQ(pFile->WriteNextFrame(pPixels.get()), QM_ERR_FAIL);
    EXPECT_EQ(pFile->WriteNextFrame(pPixels.get()), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_record.Calls(), IsEmpty());
}

TEST_F(MediaFoundationFramesTest, ASizeAnnouncedInTheMiddleOfAFileEndsItBehindTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    const SQmImageAttributes larger = Attributes(640, 480);
    EXPECT_EQ(Announce(*pFile, &larger), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    const SQmImageAttributes former = Attributes(64, 48);
    EXPECT_EQ(Announce(*pFile, &former), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);  // its time would be a wrong one
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
}

// --- times and codec ---

TEST_F(MediaFoundationFramesTest, EachFramesTimeIsItsDistanceFromTheOneBefore)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {1000.0, 1040.0, 1100.0, 1100.5, 1090.0, 1103.0})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_OK);
    // At least 1 ms, from the second distance on; a time that runs back counts as the one before it.
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 40.0, 60.0, 1.0, 1.0, 2.5));
}

TEST_F(MediaFoundationFramesTest, AFrameThatFailsHasATimeToo)
{
    m_record.m_script.m_hrBuild = E_FAIL;
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {0.0, 40.0, 100.0})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_ERR_FAIL);
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 40.0, 60.0));
}

TEST_F(MediaFoundationFramesTest, TheCodecIsAskedForUntilTheSessionRuns)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(m_pFormat->m_vCalls, ElementsAre("GetActiveCodec", "GetCodecInfo", "GetActiveCodec", "GetCodecInfo"));
    m_pFormat->m_vCalls.clear();
    m_pFormat->Choose(L"NVENC1");
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(m_pFormat->m_vCalls, IsEmpty());
    EXPECT_FALSE(pFile->m_bNvenc);
}

TEST_F(MediaFoundationFramesTest, NoSessionIsMadeForAnotherEncoder)
{
    m_pFormat->Choose(L"NVENC1");
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    }
    EXPECT_THAT(m_record.Calls(), IsEmpty());
}

// --- the set-up ---

TEST_F(MediaFoundationFramesTest, PicturesAndEventsStandBeforeTheGraphIsBuilt)
{
    int nBuilt = 0;
    m_record.m_funcBuilt = [&nBuilt](const CPictureHandover& handover) {
        ++nBuilt;
        EXPECT_EQ(handover.m_picHandover.m_uiWidth, 6U);
        EXPECT_EQ(handover.m_picHandover.m_uiHeight, 4U);
        EXPECT_EQ(handover.m_picHandover.m_uiBits, 8U);
        EXPECT_EQ(handover.m_picHandover.m_uiComponents, 2U);
        EXPECT_NE(handover.m_picHandover.m_pData, nullptr);
        EXPECT_EQ(handover.m_nEndOfStream, 0U);
        for (const HANDLE hEvent : {handover.m_hFrameReady, handover.m_hFrameTaken, handover.m_hSessionStarted})
        {
            EXPECT_FALSE(IsSet(hEvent));
            EXPECT_TRUE(SetEvent(hEvent));
            EXPECT_TRUE(IsSet(hEvent));
            EXPECT_TRUE(IsSet(hEvent)) << "an event of automatic reset";
        }
    };
    m_record.m_script.m_hrBuild = E_FAIL;
    const OutputPtr pFile = MakeFile(5, 3);
    const Bytes vPixels(16 * 3, 0);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_ERR_FAIL);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_ERR_FAIL);
    EXPECT_EQ(nBuilt, 2);
}

TEST_F(MediaFoundationFramesTest, ASetUpThatFailsIsTriedAgainWithTheNextFrame)
{
    m_record.m_script.m_hrBuild = MF_E_TOPO_CODEC_NOT_FOUND;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_THAT(m_record.Calls(), ElementsAre("Build", "Build"));

    m_record.m_script.m_hrBuild = S_OK;
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
}

TEST_F(MediaFoundationFramesTest, AGraphWithoutASessionIsAFailedSetUp)
{
    m_record.m_script.m_bWithSession = false;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(Writer(*pFile).m_hWriterThread, nullptr);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
}

TEST_F(MediaFoundationFramesTest, APictureThatThereIsNoMemoryForIsAFailedSetUp)
{
    const OutputPtr pFile = MakeFile(0xFFFFFFF0, 0x7FFFFFF0);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_THAT(m_record.Calls(), IsEmpty());
}

TEST_F(MediaFoundationFramesTest, ThePlayBeginsWithItsTopologyFromTheBeginning)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_THAT(m_record.Calls(), ElementsAre("Build", "SetTopology", "Start"));
}

// --- sessions that end too early ---

TEST_F(MediaFoundationFramesTest, ASessionThatNeverBeganIsToldAtTheNextFrame)
{
    m_record.m_script.m_hrSetTopology = E_FAIL;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForEnd(*pFile);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(CountCalls("Build"), 1);
    EXPECT_EQ(CountCalls("Start"), 0);
}

TEST_F(MediaFoundationFramesTest, ASessionThatFailsIsToldAtTheNextFrame)
{
    m_record.m_script.m_nFailsAfter = 2;
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForEnd(*pFile);
    EXPECT_EQ(m_record.m_nSessions, 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), SizeIs(2));
}

TEST_F(MediaFoundationFramesTest, ASessionThatEndsBeforeTheCloseIsClosedWithoutAWait)
{
    m_record.m_script.m_nEndsAfter = 2;
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForEnd(*pFile);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), SizeIs(2));
    EXPECT_EQ(CountCalls("Join for ever"), 0);
}

// The thread's last word may be taken for that of the frame before it, and then nobody is left to speak.
TEST_F(MediaFoundationFramesTest, ACloseDoesNotWaitForTheWordOfAThreadThatIsGone)
{
    m_record.m_script.m_nEndsAfter = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForEnd(*pFile);
    EXPECT_TRUE(ResetEvent(m_record.m_pHandover->m_hFrameTaken));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
}

// --- sessions that never end ---

TEST_F(MediaFoundationFramesTest, ASessionThatNeverEndsIsShutDownTenMinutesAfterTheClose)
{
    m_record.m_script.m_bEnds = false;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
    std::vector<std::string> vCalls = CallsFrom("Await 600000");
    std::erase(vCalls, "Taken last");  // which may come before the wait has begun
    EXPECT_THAT(vCalls, ElementsAre("Await 600000", "Join 600000", "Shutdown", "Join for ever"));
}

TEST_F(MediaFoundationFramesTest, ASessionThatLeavesTheLastFrameLyingIsShutDownAfterTenMinutes)
{
    m_record.m_script.m_nTakesUntil = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_THAT(CallsFrom("Await 600000"), ElementsAre("Await 600000", "Shutdown", "Join 600000"));
    EXPECT_EQ(CountCalls("Stop"), 0);
}

TEST_F(MediaFoundationFramesTest, AStreamWithoutAnyFrameIsEndedByShuttingItsSessionDown)
{
    SQmImageAttributes attributes = Attributes(64, 48);
    attributes.m_uiWidthBytes = 64 * 3;
    OpenWriter writer;
    EXPECT_EQ(writer.OpenHandover(attributes, attributes), QM_OK);
    EXPECT_EQ(writer.BuildGraph(), S_OK);
    EXPECT_EQ(writer.StartThread(), QM_OK);
    WaitForStart();
    writer.Close();
    EXPECT_FALSE(writer.IsRunning());
    EXPECT_EQ(CountCalls("Shutdown"), 1);
    EXPECT_EQ(CountCalls("Join for ever"), 0);
    EXPECT_THAT(m_record.Pictures(), IsEmpty());
}

// --- how long a frame may lie ---

TEST(StallLimit, IsThreeHundredMillisecondsForAPictureOf1920By1080)
{
    EXPECT_EQ(CalcStallLimit(1920 * 1080, true), 300U);
    EXPECT_EQ(CalcStallLimit(3840 * 2160, true), 1200U);
    EXPECT_EQ(CalcStallLimit(5000 * 5000, true), 3616U);  // 3616.898
}

TEST(StallLimit, IsNotBelowAHundredMillisecondsForASmallPicture)
{
    EXPECT_EQ(CalcStallLimit(0, true), 100U);
    EXPECT_EQ(CalcStallLimit(64 * 48, true), 100U);
    EXPECT_EQ(CalcStallLimit(691200, true), 100U);
    EXPECT_EQ(CalcStallLimit(691200 + 6911, true), 100U);
    EXPECT_EQ(CalcStallLimit(691200 + 6912, true), 101U);
}

TEST(StallLimit, IsNotBelow2500MillisecondsBeforeTheSessionHasStarted)
{
    EXPECT_EQ(CalcStallLimit(0, false), 2500U);
    EXPECT_EQ(CalcStallLimit(3840 * 2160, false), 2500U);
    EXPECT_EQ(CalcStallLimit(8000 * 8000, false), 9259U);  // 9259.26
}

TEST(StallLimit, ProductAndQuotientAreCutToTheirWidths)
{
    EXPECT_EQ(CalcStallLimit(std::uint64_t{6912} << 32, true), 100U);                 // 2^32
    EXPECT_EQ(CalcStallLimit((std::uint64_t{6912} << 32) + 6912 * 400, true), 400U);  // 2^32 + 400
    EXPECT_EQ(CalcStallLimit((std::uint64_t{1} << 63) + 6912 * 1000, true), 1000U);   // 2^63 x 300 has 64 zero bits
}

TEST_F(StallTest, FromAHundredMillisecondsOnThereAreSevenRestarts)
{
    m_record.m_script.m_nTakesFrom = INT_MAX;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);

    std::vector<std::string> vExpected;
    for (const char* pszLimit : {"100", "200", "400", "800", "1600", "3200", "6400", "12800"})
    {
        if (!vExpected.empty()) vExpected.insert(vExpected.end(), {"Rest 50", "Start"});
        vExpected.insert(vExpected.end(), {std::string("Await ") + pszLimit, "Stop"});
    }
    vExpected.insert(vExpected.end(), {"Join 20000", "Shutdown", "Join for ever"});
    EXPECT_THAT(CallsFrom("Await 100"), ElementsAreArray(vExpected));
}

TEST_F(StallTest, From2500MillisecondsOnThereAreThreeRestarts)
{
    m_record.m_script.m_nTakesFrom = INT_MAX;
    m_record.m_script.m_nTellsFrom = INT_MAX;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForCall("Start");
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);

    EXPECT_THAT(CallsFrom("Await 2500"), ElementsAre("Await 2500", "Stop", "Rest 50", "Start", "Await 5000", "Stop",
                                                     "Rest 50", "Start", "Await 10000", "Stop", "Rest 50", "Start",
                                                     "Await 20000", "Stop", "Join 20000", "Shutdown", "Join for ever"));
}

TEST_F(StallTest, TheLimitIsThatOfTheSourcesPixels)
{
    const OutputPtr pFile = MakeFile(1919, 1081);  // 2074439 pixels: 300.1 ms
    const Bytes vPixels(5760 * 1081, 0);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    WaitForStart();
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(CountCalls("Await 300"), 1);
}

TEST_F(StallTest, AFrameThatIsTakenAfterRestartsIsWrittenOnce)
{
    m_record.m_script.m_nTakesFrom = 3;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));

    std::vector<std::string> vCalls = CallsFrom("Await 100");
    std::erase(vCalls, "Taken");  // which may come before the last wait has begun
    EXPECT_THAT(vCalls, ElementsAre("Await 100", "Stop", "Rest 50", "Start", "Await 200", "Stop", "Rest 50", "Start",
                                    "Await 400", "Stop", "Rest 50", "Start", "Await 800"));

    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite, m_bBlack));
    EXPECT_EQ(CountCalls("Taken last"), 1);
}

TEST_F(StallTest, EachFrameHasTheWholePatience)
{
    m_record.m_script.m_nTakesUntil = 1;  // every picture but the first needs a restart
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    for (int i = 0; i < 20; ++i)
    {
        WaitForStart();
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    }
    EXPECT_EQ(CountCalls("Await 100"), 20);
    EXPECT_EQ(CountCalls("Await 200"), 19);
    EXPECT_EQ(CountCalls("Await 400"), 0);
    EXPECT_EQ(CountCalls("Stop"), 19);
}

TEST_F(StallTest, ASessionThatDoesNotTellOfItsRestartGetsThePatienceOfOneThatHasNotStarted)
{
    m_record.m_script.m_nTakesFrom = 1;
    m_record.m_script.m_nTellsUntil = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(CountCalls("Await 100"), 1);
    EXPECT_EQ(CountCalls("Await 200"), 1);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(CountCalls("Await 2500"), 1);
}

TEST_F(StallTest, AFileThatWasGivenUpStaysAsItIs)
{
    m_record.m_script.m_nTakesUntil = 1;
    m_record.m_script.m_nTakesFrom = 0;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    m_record.m_script.m_nTakesUntil = 0;
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(m_record.m_nSessions, 0);
    EXPECT_EQ(Writer(*pFile).m_hWriterThread, nullptr);
    EXPECT_EQ(m_record.m_pHandover->m_nEndOfStream, 1U);
    EXPECT_TRUE(IsSet(m_record.m_pHandover->m_hFrameReady));

    // Another graph would begin the file anew and lose what it holds.
    const std::vector<std::string> vCalls = m_record.Calls();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_record.Calls(), vCalls);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
}

TEST_F(StallTest, AGivenUpSessionThatEndsIsNotForced)
{
    m_record.m_script.m_nTakesFrom = INT_MAX;
    m_record.m_script.m_bEndsStopped = true;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(CountCalls("Join 20000"), 1);
    EXPECT_EQ(CountCalls("Join for ever"), 0);
    EXPECT_EQ(CountCalls("Shutdown"), 1);
}
