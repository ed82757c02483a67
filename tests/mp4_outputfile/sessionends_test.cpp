// How a media session is set up, and how it ends: in time, too early, or never.
#include "session_fixture.h"
#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using SessionEndsTest = SessionTest;

// --- the set-up ---

TEST_F(SessionEndsTest, PicturesAndEventsStandBeforeTheGraphIsBuilt)
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
        for (const HANDLE hEvent :
             {handover.m_hFrameReady, handover.m_hFrameTaken, handover.m_hSourceStarted, handover.m_hSessionStarted})
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

TEST_F(SessionEndsTest, ASetUpThatFailsIsTriedAgainWithTheNextFrame)
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

TEST_F(SessionEndsTest, AGraphWithoutASessionIsAFailedSetUp)
{
    m_record.m_script.m_bWithSession = false;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(ThreadOf(*pFile), nullptr);
    EXPECT_EQ(m_record.m_nSources, 0);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
}

// Some calls give a value that is neither success nor a failure.
TEST_F(SessionEndsTest, AGraphThatWasBuiltHalfAndHalfIsAFailedSetUp)
{
    m_record.m_script.m_hrBuild = S_FALSE;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(m_record.m_nSessions, 0);
    EXPECT_THAT(m_record.Calls(), ElementsAre("Build", "Finalize", "Shutdown source", "Shutdown"));
}

TEST_F(SessionEndsTest, AGraphThatMemoryDidNotSufficeForIsAFailedSetUp)
{
    m_record.m_script.m_bNoMemory = true;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(m_record.m_nSessions, 0);
    EXPECT_EQ(m_record.m_nSources, 0);
    m_record.m_script.m_bNoMemory = false;
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
}

// Its list of times would begin with those of frames that the file doesn't have.
TEST_F(SessionEndsTest, NoOtherEncoderFollowsASetUpThatFailed)
{
    m_record.m_script.m_hrBuild = E_FAIL;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    for (const wchar_t* pwszCode : {L"NVENC1", L"AMF1"})
    {
        m_pFormat->Choose(pwszCode);
        EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
    }
    EXPECT_FALSE(pFile->IsNvenc());
    EXPECT_FALSE(pFile->IsAmf());
    EXPECT_EQ(CountCalls("Build"), 1);
}

TEST_F(SessionEndsTest, ASetUpThatIsTriedAgainClosesItsEvents)
{
    CPictureHandover handover;
    ASSERT_EQ(handover.Open(64, 48), QM_OK);
    const HANDLE ahOld[] = {handover.m_hFrameReady, handover.m_hFrameTaken, handover.m_hSourceStarted,
                            handover.m_hSessionStarted};
    ASSERT_EQ(handover.Open(64, 48), QM_OK);
    const HANDLE ahNew[] = {handover.m_hFrameReady, handover.m_hFrameTaken, handover.m_hSourceStarted,
                            handover.m_hSessionStarted};
    for (const HANDLE hOld : ahOld)
    {
        const bool bUsedAgain = std::find(std::begin(ahNew), std::end(ahNew), hOld) != std::end(ahNew);
        EXPECT_TRUE(bUsedAgain || !SetEvent(hOld));
    }
}

TEST_F(SessionEndsTest, WithoutMemoryForThePicturesTheSetUpFailsAndIsTriedAgain)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "pictures take their memory from another allocator here";
    const OutputPtr pFile = MakeFile(64, 48);
    {
        const CShortMemory memory(64 * 48 * 2, 64 * 48 * 2 + 200);
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_THAT(m_record.Calls(), IsEmpty());
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(CountCalls("Build"), 1);
}

TEST_F(SessionEndsTest, ThePlayBeginsWithItsTopologyFromTheBeginning)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_THAT(m_record.Calls(), ElementsAre("Build", "SetTopology", "Start"));
}

TEST_F(SessionEndsTest, AHostThatNeverSetACodecWritesWithTheHighQualityRow)
{
    auto* const pFormat = new (__FILE__, __LINE__) CScriptedFormat;
    pFormat->AddRef();
    {
        OpenOutputFile file(pFormat, CQmStringW(L"nowhere"));
        EXPECT_EQ(file.WriteNextFrame(m_vPixels.data()), QM_OK);
        EXPECT_EQ(CountCalls("Build"), 1);
        EXPECT_THAT(pFormat->m_vRowsAsked, ElementsAre(0xFFFFFFFFU, 0xFFFFFFFFU));  // no codec
        EXPECT_EQ(m_record.m_settings.m_wszCode, L"HQ");
    }
    pFormat->Release();
}

// --- sessions that end too early ---

TEST_F(SessionEndsTest, ASessionThatNeverBeganShowsAtTheNextFrame)
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

TEST_F(SessionEndsTest, ASessionThatFailsShowsAtTheNextFrame)
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

TEST_F(SessionEndsTest, ASessionThatFailsWhileAFrameWaitsShowsAtTheFrameAfterIt)
{
    m_record.m_script.m_nFailsAt = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);  // the event that the thread sets at its end stands for the frame's
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), SizeIs(1));
    EXPECT_EQ(CountCalls("Stop"), 0);
}

TEST_F(SessionEndsTest, ASessionThatEndsBeforeTheCloseIsClosedWithoutAWait)
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

// The event that the thread sets at its end may be taken for the frame before it. No other thread sets it after that.
TEST_F(SessionEndsTest, ACloseDoesNotWaitForAnEventOfAThreadThatIsGone)
{
    m_record.m_script.m_nEndsAfter = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForEnd(*pFile);
    EXPECT_TRUE(ResetEvent(m_record.m_pHandover->m_hFrameTaken));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
}

TEST_F(SessionEndsTest, ASourceThatWaitsAfterTheLastFrameIsWokenOnceMore)
{
    m_record.m_script.m_bEndsWhenWoken = true;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_EQ(CountCalls("Join for ever"), 0);
}

// A session may wait for the last picture before it reports its start.
TEST_F(SessionEndsTest, ACloseWaitsForTheSourcesStartAndNotForTheSessionsReport)
{
    m_record.m_script.m_nReportsFrom = INT_MAX;
    m_record.m_script.m_bStartsSilently = true;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_THAT(m_record.m_vMissedStarts, IsEmpty());
}

TEST_F(SessionEndsTest, ASourceThatNeverStartsIsGivenTheLastFrameAfterItsLimit)
{
    m_record.m_script.m_nReportsFrom = INT_MAX;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_THAT(m_record.m_vMissedStarts, ElementsAre(20000U));
}

TEST_F(SessionEndsTest, AStartBeforeARestartDoesNotCount)
{
    m_record.m_script.m_nReportsUntil = 1;
    m_record.m_script.m_nTakesFrom = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(CountCalls("Start"), 2);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_record.m_vMissedStarts, ElementsAre(20000U));
}

TEST_F(SessionEndsTest, AnEndedSessionsFileIsFinishedBeforeItIsShutDown)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    std::vector<std::string> vCalls = m_record.Calls();
    std::erase_if(
        vCalls, [](const std::string& strCall) { return strCall != "Finalize" && strCall.rfind("Shutdown", 0) != 0; });
    EXPECT_THAT(vCalls, ElementsAre("Finalize", "Shutdown source", "Shutdown"));
}

// --- sessions that never end ---

TEST_F(SessionEndsTest, ASessionThatNeverEndsIsShutDownTenMinutesAfterTheClose)
{
    m_record.m_script.m_bEnds = false;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
    std::vector<std::string> vCalls = CallsFrom("Await while it grows");
    std::erase(vCalls, "Taken last");  // which may come before the wait has begun
    EXPECT_THAT(vCalls, ElementsAre("Await while it grows", "Join while it grows", "Shutdown source", "Shutdown",
                                    "Join for ever"));
}

TEST_F(SessionEndsTest, ASessionThatDoesNotFetchTheLastFrameIsShutDownAfterTenMinutes)
{
    m_record.m_script.m_nTakesUntil = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_THAT(CallsFrom("Await while it grows"),
                ElementsAre("Await while it grows", "Shutdown source", "Shutdown", "Join while it grows"));
    EXPECT_EQ(CountCalls("Stop"), 0);
}

// A system without memory can't wait, either.
TEST_F(SessionEndsTest, AWaitForTheThreadThatFailsIsDoneAgain)
{
    m_record.m_script.m_nFailedWaits = 3;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_EQ(m_record.m_nSessions, 0);
    EXPECT_EQ(CountCalls("Rest 50"), 3);
    EXPECT_EQ(CountCalls("Join for ever"), 3);
    EXPECT_EQ(CountCalls("Shutdown"), 1);
}

TEST_F(SessionEndsTest, AStreamWithoutAnyFrameIsEndedByShuttingItsSessionDown)
{
    OpenWriter writer;
    const CQmStringW strPath;
    EXPECT_EQ(writer.Open({strPath, 64, 48, 64, 48, 1, L"HQ"}), S_OK);
    WaitForStart();
    writer.Close({});
    EXPECT_FALSE(writer.IsRunning());
    EXPECT_EQ(CountCalls("Shutdown"), 1);
    EXPECT_EQ(CountCalls("Join for ever"), 0);
    EXPECT_THAT(m_record.Pictures(), IsEmpty());
}
