#include "hostapi/hostplatform.h"

#include <gtest/gtest.h>

#include <chrono>

TEST(TimeCounter, CountsMillisecondsAndNeverRunsBackwards)
{
    using Clock = std::chrono::steady_clock;
    const double dBegin = QM_GetTimeCounter();
    const Clock::time_point outerBegin = Clock::now();
    double dLast = dBegin;
    while (Clock::now() - outerBegin < std::chrono::milliseconds(5))
    {
        const double dNow = QM_GetTimeCounter();
        ASSERT_GE(dNow, dLast);
        dLast = dNow;
    }
    const double dElapsed = QM_GetTimeCounter() - dBegin;
    const double dAtLeast = 5.0;
    const double dAtMost = std::chrono::duration<double, std::milli>(Clock::now() - outerBegin).count() + 1000.0;
    EXPECT_GE(dElapsed, dAtLeast);
    EXPECT_LE(dElapsed, dAtMost);
}
