#include "hostapi/hostcore.h"

#include <gtest/gtest.h>

namespace
{

double JulianDay(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond)
{
    std::tm time = {};
    time.tm_year = nYear - 1900;
    time.tm_mon = nMonth - 1;
    time.tm_mday = nDay;
    time.tm_hour = nHour;
    time.tm_min = nMinute;
    time.tm_sec = nSecond;
    return CQmDateTime(time).GetJulianDayNumber();
}

}  // namespace

TEST(DateTime, GivesPublishedJulianDays)
{
    EXPECT_EQ(JulianDay(2000, 1, 1, 12, 0, 0), 2451545.0);  // the epoch of modern astronomy
    EXPECT_EQ(JulianDay(1970, 1, 1, 0, 0, 0), 2440587.5);
    EXPECT_EQ(JulianDay(1858, 11, 17, 0, 0, 0), 2400000.5);  // the modified Julian day's zero
    EXPECT_EQ(JulianDay(1582, 10, 15, 0, 0, 0), 2299160.5);  // the first Gregorian day
    EXPECT_DOUBLE_EQ(JulianDay(1957, 10, 4, 19, 26, 24), 2436116.31);
}

TEST(DateTime, ExtendsTheGregorianCalendarToTheTimeBeforeIt)
{
    EXPECT_EQ(JulianDay(-4713, 11, 24, 12, 0, 0), 0.0);
    EXPECT_EQ(JulianDay(0, 3, 1, 0, 0, 0), 1721119.5);
}

TEST(DateTime, CountsEveryDayOnce)
{
    constexpr int DAYS[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    double dExpected = JulianDay(1896, 1, 1, 0, 0, 0);
    for (int nYear = 1896; nYear <= 2104; ++nYear)
    {
        const bool bLeapYear = nYear % 4 == 0 && (nYear % 100 != 0 || nYear % 400 == 0);
        for (int nMonth = 1; nMonth <= 12; ++nMonth)
        {
            const int nDays = DAYS[nMonth - 1] + (bLeapYear && nMonth == 2 ? 1 : 0);
            for (int nDay = 1; nDay <= nDays; ++nDay)
            {
                ASSERT_EQ(JulianDay(nYear, nMonth, nDay, 0, 0, 0), dExpected) << nYear << '-' << nMonth << '-' << nDay;
                dExpected += 1.0;
            }
        }
    }
}

TEST(DateTime, AcceptsFieldsBeyondTheirRange)
{
    EXPECT_EQ(JulianDay(1999, 13, 1, 12, 0, 0), 2451545.0);
    EXPECT_EQ(JulianDay(2001, -11, 1, 12, 0, 0), 2451545.0);
    EXPECT_EQ(JulianDay(1999, 12, 31, 35, 59, 60), 2451545.0);
    EXPECT_EQ(JulianDay(2000, 1, 2, -12, 0, 0), 2451545.0);
}
