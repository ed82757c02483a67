// Sessions that neither deliver nor report: every wait has an end, and the object can be destroyed.
#include <future>

#include <gtest/gtest.h>

#include "scripted_file.h"
#include "support/moved_clock.h"

namespace
{

using test_support::MoveClock;
using test_support::WaitForLimitedWait;

class Silence : public testing::Test
{
protected:
    static SScript StuckAt(std::size_t uiPicture)
    {
        SScript script;
        script.m_vTimesMs = EvenTimes(1000, 40);
        script.m_uiStuckAt = uiPicture;
        return script;
    }

    // Reads on a thread of its own, and returns when that waits for the frame and the session is stuck after the call
    // that is made for it.
    static std::future<int> Read(CScriptedFile& file, std::uint32_t uiIndex, const std::string& strCall)
    {
        auto result = std::async(std::launch::async, [&file, uiIndex] { return file.ReadNumber(uiIndex); });
        WaitForLimitedWait();
        file.Session().WaitUntilStuckAfter(strCall);
        return result;
    }

    static bool Waits(const std::future<int>& result)
    {
        return result.wait_for(std::chrono::milliseconds(30)) == std::future_status::timeout;
    }

    CFormatReference m_format;
};

TEST_F(Silence, AReadFailsAfter20SecondsAnd100MillisecondsForEachFrameUpToIt)
{
    CScriptedFile file(m_format.Get(), StuckAt(30));
    EXPECT_EQ(file.ReadNumber(10), 10);
    std::future<int> read = Read(file, 500, "Start 20000");
    MoveClock(20'000 + 500 * 100 - 1);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

TEST_F(Silence, TheFirstFrameHas20Seconds)
{
    CScriptedFile file(m_format.Get(), StuckAt(0));
    std::future<int> read = Read(file, 0, "Start");
    MoveClock(19'999);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

// The first play has delivered 0 to 29 and brings 30 next: there is nothing to decode before it.
TEST_F(Silence, TheFrameThatThePlayBringsNextHas20Seconds)
{
    CScriptedFile file(m_format.Get(), StuckAt(30));
    for (int i = 0; i < 30; ++i)
        ASSERT_EQ(file.ReadNumber(static_cast<std::uint32_t>(i)), i);
    std::future<int> read = Read(file, 30, "Start");
    MoveClock(19'999);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_FALSE(Waits(read));
    MoveClock(30 * 100);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountCalls("Start"), 1);
}

// The play has delivered 0 to 5. The requested frame fits into its window.
TEST_F(Silence, AFrameThatThePlayLeadsToHas100MillisecondsForEachFrameBeforeIt)
{
    CScriptedFile file(m_format.Get(), StuckAt(6));
    ASSERT_EQ(file.ReadNumber(0), 0);
    file.Session().WaitUntilStuckAfter("Start");
    std::future<int> read = Read(file, 8, "Start");
    MoveClock(20'000 + 2 * 100 - 1);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_FALSE(Waits(read));
    MoveClock(6 * 100);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

// The play is paused for it, and another one begins.
TEST_F(Silence, AFrameThatThePlayDoesNotLeadToHas100MillisecondsForEachFrameOfTheFile)
{
    CScriptedFile file(m_format.Get(), StuckAt(6));
    ASSERT_EQ(file.ReadNumber(0), 0);
    file.Session().WaitUntilStuckAfter("Start");
    std::future<int> read = Read(file, 40, "Start 1600");
    MoveClock(20'000 + 40 * 100 - 1);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

TEST_F(Silence, AfterItEveryReadFailsAtOnceUnlessTheFrameIsStored)
{
    CScriptedFile file(m_format.Get(), StuckAt(30));
    EXPECT_EQ(file.ReadNumber(29), 29);
    std::future<int> read = Read(file, 30, "Start 1160");  // which plays on from 29
    MoveClock(23'000);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(31), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(29), 29);
    EXPECT_EQ(file.ReadNumber(30), QM_ERR_FAIL);
}

TEST_F(Silence, AFrameThatComesAtTheLastMomentIsRead)
{
    CScriptedFile file(m_format.Get(), StuckAt(500));
    EXPECT_EQ(file.ReadNumber(0), 0);
    std::future<int> read = Read(file, 500, "Start 20000");
    MoveClock(20'000 + 500 * 100 - 1);
    EXPECT_TRUE(Waits(read));
    file.Session().GoOn();
    EXPECT_EQ(read.get(), 500);
    EXPECT_EQ(file.ReadNumber(700), 700);
}

TEST_F(Silence, AnEventOfTheSessionStartsTheLimitAgain)
{
    CScriptedFile file(m_format.Get(), StuckAt(30));
    std::future<int> read = Read(file, 40, "Start 1600");
    MoveClock(23'000);
    file.Session().Report(MENonFatalError, S_OK);
    file.Session().WaitUntilEventsAreTaken();
    MoveClock(23'999);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

// All frames share one position, and the session begins at the first of them. 399 was delivered, and 51 are left up to
// the requested one.
TEST_F(Silence, TheLimitFallsWhileTheSessionComesNearer)
{
    SScript script = StuckAt(400);
    script.m_vTimesMs.assign(1000, 5);
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    std::future<int> read = Read(file, 450, "Resume");
    MoveClock(20'000 + 50 * 100 - 1);
    EXPECT_TRUE(Waits(read));
    MoveClock(1);
    EXPECT_FALSE(Waits(read));
    MoveClock(400 * 100);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

// It reports an error, and neither an end nor anything else.
TEST_F(Silence, AReadFromASessionThatDiedFails)
{
    CScriptedFile file(m_format.Get(), StuckAt(30));
    EXPECT_EQ(file.ReadNumber(0), 0);
    std::future<int> read = Read(file, 40, "Start 1600");
    file.Session().Report(MEError, E_FAIL);
    file.Session().WaitUntilEventsAreTaken();
    EXPECT_TRUE(Waits(read));
    MoveClock(20'000 + 40 * 100);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountStarts(), 2);
}

// Whatever the session is asked for, it doesn't answer.
TEST_F(Silence, AFileWhoseSessionReportsNotEvenItsStopIsDestroyed)
{
    SScript script = StuckAt(30);
    script.m_bMute = true;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(3), 3);
}

TEST_F(Silence, AFileWhoseReadFailedForItIsDestroyed)
{
    SScript script = StuckAt(5);
    script.m_bMute = true;
    script.m_hrStop = E_FAIL;
    CScriptedFile file(m_format.Get(), script);
    std::future<int> read = Read(file, 8, "Start");
    MoveClock(24'000);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
}

}  // namespace
