#include <windows.h>

#include <mmsystem.h>

#include <ctime>

#include "winbase_testing.h"

namespace
{

LONGLONG Count()
{
    LARGE_INTEGER n;
    EXPECT_TRUE(QueryPerformanceCounter(&n));
    return n.QuadPart;
}

LONGLONG Frequency()
{
    LARGE_INTEGER n;
    EXPECT_TRUE(QueryPerformanceFrequency(&n));
    return n.QuadPart;
}

TEST(WinbaseClock, PerformanceCounterNeverRunsBackwards)
{
    LONGLONG nLast = Count();
    for (int i = 0; i < 10000; ++i)
    {
        const LONGLONG nNow = Count();
        ASSERT_GE(nNow, nLast);
        nLast = nNow;
    }
}

TEST(WinbaseClock, PerformanceCounterHasTenMillionCountsASecond)
{
    EXPECT_EQ(Frequency(), 10'000'000);
    // The tick count is taken between two counts at either end, so that a pause of the thread proves nothing wrong.
    const LONGLONG nOuterStart = Count();
    const ULONGLONG uiTicksAtStart = GetTickCount64();
    const LONGLONG nInnerStart = Count();
    Sleep(100);
    const LONGLONG nInnerEnd = Count();
    const auto nTicks = static_cast<LONGLONG>(GetTickCount64() - uiTicksAtStart);
    const LONGLONG nOuterEnd = Count();
    constexpr LONGLONG c_nTick = 16;  // milliseconds between two steps of a coarse tick count
    EXPECT_LE((nInnerEnd - nInnerStart) * 1000 / Frequency(), nTicks + c_nTick);
    EXPECT_GE((nOuterEnd - nOuterStart) * 1000 / Frequency(), nTicks - c_nTick);
}

TEST(WinbaseClock, ShortTickCountIsTheLowHalf)
{
    const auto uiBefore = static_cast<DWORD>(GetTickCount64());
    const DWORD uiTicks = GetTickCount();
    const auto uiAfter = static_cast<DWORD>(GetTickCount64());
    EXPECT_LE(uiTicks - uiBefore, uiAfter - uiBefore);
}

TEST(WinbaseClock, FileTimeIsTheTimeOfDay)
{
    // In another way than the implementation: the number of days from 1601-01-01 to 1970-01-01 is 134774.
    FILETIME fileTime{};
    GetSystemTimeAsFileTime(&fileTime);
    const ULONGLONG ui100ns = (static_cast<ULONGLONG>(fileTime.dwHighDateTime) << 32) | fileTime.dwLowDateTime;
    const auto nSeconds = static_cast<LONGLONG>(ui100ns / 10'000'000) - 134774LL * 86400;
    EXPECT_NEAR(static_cast<double>(nSeconds), static_cast<double>(std::time(nullptr)), 2.0);
}

TEST(WinbaseClock, TimerPeriodOfZeroCannotBeDone)
{
    EXPECT_EQ(timeBeginPeriod(0), static_cast<MMRESULT>(TIMERR_NOCANDO));
    EXPECT_EQ(timeEndPeriod(0), static_cast<MMRESULT>(TIMERR_NOCANDO));
}

TEST(WinbaseClock, TimerPeriodOfOneMillisecondCanBeDone)
{
    TIMECAPS caps{};
    EXPECT_EQ(timeGetDevCaps(&caps, sizeof(caps)), static_cast<MMRESULT>(TIMERR_NOERROR));
    EXPECT_EQ(caps.wPeriodMin, 1U);
    EXPECT_GE(caps.wPeriodMax, 1000U);
    EXPECT_EQ(timeBeginPeriod(1), static_cast<MMRESULT>(TIMERR_NOERROR));
    EXPECT_EQ(timeEndPeriod(1), static_cast<MMRESULT>(TIMERR_NOERROR));
    EXPECT_EQ(timeBeginPeriod(caps.wPeriodMax + 1), static_cast<MMRESULT>(TIMERR_NOCANDO));
}

TEST(WinbaseClock, TimerCapsNeedRoom)
{
    TIMECAPS caps{};
    EXPECT_NE(timeGetDevCaps(nullptr, sizeof(caps)), static_cast<MMRESULT>(TIMERR_NOERROR));
    EXPECT_NE(timeGetDevCaps(&caps, 1), static_cast<MMRESULT>(TIMERR_NOERROR));
}

}  // namespace
