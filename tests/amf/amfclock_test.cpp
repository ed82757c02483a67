// The clock, with the system's counter and with scripted ones; the timer's period.
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "amf/common/amfclock.h"
#include "support/timer_period.h"

namespace
{

constexpr std::int64_t MILLISECOND = 10000;

// What the scripted clocks answer.
std::int64_t g_nFrequency = 0;  // 0: there is no counter
std::int64_t g_nCount = 0;      // -1: it can't be read
std::uint64_t g_uiTicks = 0;

BOOL WINAPI ScriptedFrequency(LARGE_INTEGER* pFrequency)
{
    pFrequency->QuadPart = g_nFrequency;
    return g_nFrequency != 0;
}

BOOL WINAPI ScriptedCounter(LARGE_INTEGER* pCount)
{
    if (g_nCount == -1) return FALSE;
    pCount->QuadPart = g_nCount;
    return TRUE;
}

ULONGLONG WINAPI ScriptedTicks()
{
    return g_uiTicks;
}

constexpr SSystemClocks SCRIPTED = {ScriptedFrequency, ScriptedCounter, ScriptedTicks};

TEST(AmfClock, IsZeroOrALittleAboveAtItsFirstCallAndNeverGoesBack)
{
    LARGE_INTEGER before;
    QueryPerformanceCounter(&before);
    std::int64_t nLast = amf_high_precision_clock();
    LARGE_INTEGER after;
    QueryPerformanceCounter(&after);
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    EXPECT_GE(nLast, 0);
    EXPECT_LE(nLast, (after.QuadPart - before.QuadPart) * 10000000 / frequency.QuadPart + 1);
    for (int i = 0; i < 10000; ++i)
    {
        const std::int64_t nNow = amf_high_precision_clock();
        ASSERT_GE(nNow, nLast);
        nLast = nNow;
    }
}

TEST(AmfClock, ItsUnitIsAHundredNanoseconds)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    LARGE_INTEGER outer;
    QueryPerformanceCounter(&outer);
    const std::int64_t nStart = amf_high_precision_clock();
    LARGE_INTEGER inner;
    QueryPerformanceCounter(&inner);
    amf_high_precision_clock();
    LARGE_INTEGER innerEnd;
    do
    {
        QueryPerformanceCounter(&innerEnd);
    } while (innerEnd.QuadPart - inner.QuadPart < frequency.QuadPart / 500);
    const std::int64_t nEnd = amf_high_precision_clock();
    LARGE_INTEGER outerEnd;
    QueryPerformanceCounter(&outerEnd);
    EXPECT_GE(nEnd - nStart, (innerEnd.QuadPart - inner.QuadPart) * 10000000 / frequency.QuadPart - 1);
    EXPECT_LE(nEnd - nStart, (outerEnd.QuadPart - outer.QuadPart) * 10000000 / frequency.QuadPart + 1);
}

TEST(AmfClock, CountsFromItsFirstCallAndDropsFractions)
{
    g_nFrequency = 3000000;
    g_nCount = 77;
    const CAMFClock clock(SCRIPTED);
    EXPECT_EQ(clock.Read(), 0);
    g_nCount = 77 + 1;
    EXPECT_EQ(clock.Read(), 3) << "3.33";
    g_nCount = 77 + 3000000;
    EXPECT_EQ(clock.Read(), 10000000);
    g_nCount = 77 + 3000002;
    EXPECT_EQ(clock.Read(), 10000006) << "10000006.67";
}

// Ten million counts a second times ten million leave 64 bits after 25 hours.
TEST(AmfClock, GoesOnAfterADay)
{
    g_nFrequency = 10000000;
    g_nCount = 5;
    const CAMFClock clock(SCRIPTED);
    g_nCount = 5 + std::int64_t{400} * 24 * 3600 * 10000000 + 123;
    EXPECT_EQ(clock.Read(), std::int64_t{400} * 24 * 3600 * 1000 * MILLISECOND + 123);
}

TEST(AmfClock, WithoutACounterItIsTheTickCountTimesTen)
{
    g_nFrequency = 0;
    g_nCount = 5;
    g_uiTicks = 5000000000;
    const CAMFClock clock(SCRIPTED);
    EXPECT_EQ(clock.Read(), 50000000000);
    g_uiTicks = 1;
    EXPECT_EQ(clock.Read(), 10);
}

TEST(AmfClock, ACounterThatCannotBeReadIsReplacedForThatCall)
{
    g_nFrequency = 1000;
    g_nCount = 100;
    g_uiTicks = 7;
    const CAMFClock clock(SCRIPTED);
    g_nCount = -1;
    EXPECT_EQ(clock.Read(), 70);
    g_nCount = 101;
    EXPECT_EQ(clock.Read(), MILLISECOND);
}

// A frequency that no counter has must not be divided by.
TEST(AmfClock, AFrequencyBelowOneIsNoCounter)
{
    g_nFrequency = -1;
    g_nCount = 100;
    g_uiTicks = 7;
    EXPECT_EQ(CAMFClock(SCRIPTED).Read(), 70);
}

std::vector<std::uint32_t> g_vPeriodsAsked;
std::uint32_t g_uiLeastGranted = 0;

MMRESULT WINAPI ScriptedBegin(UINT uiPeriod)
{
    g_vPeriodsAsked.push_back(uiPeriod);
    return uiPeriod >= g_uiLeastGranted ? TIMERR_NOERROR : TIMERR_NOCANDO;
}

TEST(AmfTimerPeriod, GrowsByOneUntilItIsGranted)
{
    g_vPeriodsAsked.clear();
    g_uiLeastGranted = 4;
    EXPECT_EQ(BeginTimerPeriod(1, ScriptedBegin), 4U);
    EXPECT_EQ(g_vPeriodsAsked, (std::vector<std::uint32_t>{1, 2, 3, 4}));

    g_vPeriodsAsked.clear();
    EXPECT_EQ(BeginTimerPeriod(4, ScriptedBegin), 4U);
    EXPECT_EQ(g_vPeriodsAsked, (std::vector<std::uint32_t>{4})) << "the next time it begins there";
}

MMRESULT WINAPI FailingBegin(UINT uiPeriod)
{
    g_vPeriodsAsked.push_back(uiPeriod);
    return TIMERR_STRUCT;
}

TEST(AmfTimerPeriod, OnlyOneAnswerAsksForALongerOne)
{
    g_vPeriodsAsked.clear();
    EXPECT_EQ(BeginTimerPeriod(1, FailingBegin), 1U);
    EXPECT_EQ(g_vPeriodsAsked, (std::vector<std::uint32_t>{1}));
}

TEST(AmfTimerPeriod, AsksForNoPeriodAboveASecond)
{
    g_vPeriodsAsked.clear();
    g_uiLeastGranted = std::numeric_limits<std::uint32_t>::max();
    EXPECT_FALSE(BeginTimerPeriod(1, ScriptedBegin));
    EXPECT_EQ(g_vPeriodsAsked.size(), 1000U);
    EXPECT_EQ(g_vPeriodsAsked.back(), 1000U);
}

TEST(AmfTimerPeriod, TheSystemIsAskedForOneMillisecondAtEveryCall)
{
    TakeTimerPeriodsAsked();
    amf_increase_timer_precision();
    amf_increase_timer_precision();
    EXPECT_EQ(TakeTimerPeriodsAsked(), (std::vector<unsigned>{1, 1}));
}

}  // namespace
