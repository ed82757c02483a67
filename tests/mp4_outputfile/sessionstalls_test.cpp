// How long a session may leave a frame lying.
#include "session_fixture.h"

using testing::ElementsAre;
using testing::ElementsAreArray;

using SessionStallTest = SessionTest;

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

TEST_F(SessionStallTest, FromAHundredMillisecondsOnThereAreSevenRestarts)
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
    vExpected.insert(vExpected.end(), {"Join 20000", "Shutdown source", "Shutdown", "Join for ever"});
    EXPECT_THAT(CallsFrom("Await 100"), ElementsAreArray(vExpected));
}

TEST_F(SessionStallTest, From2500MillisecondsOnThereAreThreeRestarts)
{
    m_record.m_script.m_nTakesFrom = INT_MAX;
    m_record.m_script.m_nReportsFrom = INT_MAX;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForCall("Start");
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);

    EXPECT_THAT(CallsFrom("Await 2500"),
                ElementsAre("Await 2500", "Stop", "Rest 50", "Start", "Await 5000", "Stop", "Rest 50", "Start",
                            "Await 10000", "Stop", "Rest 50", "Start", "Await 20000", "Stop", "Join 20000",
                            "Shutdown source", "Shutdown", "Join for ever"));
}

TEST_F(SessionStallTest, TheLimitIsThatOfTheSourcesPixels)
{
    const OutputPtr pFile = MakeFile(1919, 1079);  // 299.6 ms, where the encoded picture's would be 300
    const Bytes vPixels(5760 * 1079, 0);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    WaitForStart();
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(CountCalls("Await 299"), 1);
}

TEST_F(SessionStallTest, AFrameThatIsTakenAfterRestartsIsWrittenOnce)
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

TEST_F(SessionStallTest, AFrameThatIsTakenByTheRestartIsNotHandedOverAgain)
{
    m_record.m_script.m_nTakesFrom = 1;
    m_record.m_script.m_bTakesInStart = true;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_FALSE(IsSet(m_record.m_pHandover->m_hFrameReady));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
}

TEST_F(SessionStallTest, EachFrameBeginsWithTheFirstLimit)
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

TEST_F(SessionStallTest, ASessionThatDoesNotReportItsRestartGetsTheLimitOfOneThatHasNotStarted)
{
    m_record.m_script.m_nTakesFrom = 1;
    m_record.m_script.m_nReportsUntil = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    WaitForStart();
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(CountCalls("Await 100"), 1);
    EXPECT_EQ(CountCalls("Await 200"), 1);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(CountCalls("Await 2500"), 1);
}

TEST_F(SessionStallTest, AFileThatWasGivenUpStaysAsItIs)
{
    m_record.m_script.m_nTakesAtMost = 1;
    m_record.m_script.m_bStopDropsPicture = true;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(m_record.m_nSessions, 0);
    EXPECT_EQ(ThreadOf(*pFile), nullptr);
    EXPECT_EQ(m_record.m_pHandover->m_nEndOfStream, 1U);

    // Another graph, or another encoder, would begin the file again and lose what it holds.
    const std::vector<std::string> vCalls = m_record.Calls();
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    m_pFormat->Choose(L"NVENC1");
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_FALSE(pFile->IsNvenc());
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_record.Calls(), vCalls);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
}

TEST_F(SessionStallTest, AGivenUpSessionIsForcedAlsoWhenTheWaitForItCannotBeDone)
{
    m_record.m_script.m_nTakesFrom = INT_MAX;
    m_record.m_script.m_nFailedWaits = 1;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(CountCalls("Join 20000"), 1);
    EXPECT_EQ(m_record.m_nWaitsFailed, 1);
    EXPECT_EQ(m_record.m_nSessions, 0);
}

TEST_F(SessionStallTest, AGivenUpSessionThatEndsIsNotForced)
{
    m_record.m_script.m_nTakesFrom = INT_MAX;
    m_record.m_script.m_bEndsStopped = true;
    m_record.m_script.m_bStopDropsPicture = true;  // and so it has to be woken for its end
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(CountCalls("Join 20000"), 1);
    EXPECT_EQ(CountCalls("Join for ever"), 0);
    EXPECT_EQ(CountCalls("Shutdown"), 1);
}
