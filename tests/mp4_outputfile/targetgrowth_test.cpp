// Waits for a file that grows, with a clock that passes at once.
#include "mp4_outputfile/targetgrowth.h"

#include <gtest/gtest.h>

#include "passing_clock.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

namespace
{

constexpr std::uint64_t MINUTE_MS = 60 * 1000;

class TargetGrowth : public testing::Test
{
protected:
    ~TargetGrowth() override { CloseHandle(m_hDone); }

    void WriteTarget(std::size_t uiSize) const { test_support::WriteBytes(m_path, std::vector<std::uint8_t>(uiSize)); }

    DWORD Await()
    {
        CTargetGrowth growth(m_wszPath.c_str());
        return growth.AwaitAny(&m_hDone, 1);
    }

    // The file has been waited for that long, up to the time of one look.
    void ExpectPassed(std::uint64_t uiMilliseconds) const
    {
        EXPECT_GE(m_clock.GetPassedMs(), uiMilliseconds);
        EXPECT_LE(m_clock.GetPassedMs(), uiMilliseconds + 2000);
    }

    CPassingClock m_clock;
    const test_support::TemporaryFolder m_dir;
    const std::filesystem::path m_path = m_dir / "target.mp4";
    const std::wstring m_wszPath = m_path.wstring();
    const HANDLE m_hDone = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

TEST_F(TargetGrowth, AHandleThatIsSignalledEndsTheWaitAtOnce)
{
    SetEvent(m_hDone);
    EXPECT_EQ(Await(), WAIT_OBJECT_0);
    EXPECT_EQ(m_clock.GetPassedMs(), 0U);
}

TEST_F(TargetGrowth, AHandleThatIsSignalledLaterEndsTheWaitThen)
{
    m_clock.m_funcPassed = [this] {
        if (m_clock.GetPassedMs() >= 3 * MINUTE_MS) SetEvent(m_hDone);
    };
    EXPECT_EQ(Await(), WAIT_OBJECT_0);
    ExpectPassed(3 * MINUTE_MS);
}

TEST_F(TargetGrowth, AFileThatDoesNotGrowIsWaitedForTenMinutes)
{
    WriteTarget(100);
    EXPECT_EQ(Await(), static_cast<DWORD>(WAIT_TIMEOUT));
    ExpectPassed(10 * MINUTE_MS);
}

TEST_F(TargetGrowth, AFileThatIsNotThereIsWaitedForTenMinutesToo)
{
    EXPECT_EQ(Await(), static_cast<DWORD>(WAIT_TIMEOUT));
    ExpectPassed(10 * MINUTE_MS);
}

// A byte every nine minutes, five times.
TEST_F(TargetGrowth, AFileThatGrowsIsWaitedForAsLongAsItDoes)
{
    std::size_t uiSize = 0;
    m_clock.m_funcPassed = [&] {
        if (uiSize < 5 && m_clock.GetPassedMs() >= (uiSize + 1) * 9 * MINUTE_MS) WriteTarget(++uiSize);
    };
    EXPECT_EQ(Await(), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(uiSize, 5U);
    ExpectPassed(5 * 9 * MINUTE_MS + 10 * MINUTE_MS);
}

TEST_F(TargetGrowth, AFileThatShrinksDoesNotGrow)
{
    WriteTarget(100);
    m_clock.m_funcPassed = [this] {
        if (m_clock.GetPassedMs() >= 9 * MINUTE_MS) WriteTarget(50);
    };
    EXPECT_EQ(Await(), static_cast<DWORD>(WAIT_TIMEOUT));
    ExpectPassed(10 * MINUTE_MS);
}

TEST_F(TargetGrowth, AWaitThatIsNotPossibleEndsAtOnce)
{
    CTargetGrowth growth(m_wszPath.c_str());
    const HANDLE hNone = nullptr;
    EXPECT_EQ(growth.AwaitAny(&hNone, 1), WAIT_FAILED);
}

}  // namespace
