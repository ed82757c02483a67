// Points in time.
#include "hostapi/hostcore.h"

namespace
{

// Days from March 1 of the year 0 to a day of the Gregorian calendar, which is extended to the time before it was
// introduced. A year that begins in March has its leap day at the end, where it shifts no month.
std::int64_t DaysSinceMarchOfYear0(std::int64_t nYear, std::int64_t nMonth, std::int64_t nDay)
{
    const std::int64_t nYearFromMarch = nMonth < 2 ? nYear - 1 : nYear;  // nMonth is 0 for January
    const std::int64_t nMonthFromMarch = nMonth < 2 ? nMonth + 10 : nMonth - 2;
    const std::int64_t nEra = (nYearFromMarch >= 0 ? nYearFromMarch : nYearFromMarch - 399) / 400;
    const std::int64_t nYearOfEra = nYearFromMarch - nEra * 400;
    const std::int64_t nDayOfYear = (153 * nMonthFromMarch + 2) / 5;
    return nEra * 146097 + nYearOfEra * 365 + nYearOfEra / 4 - nYearOfEra / 100 + nDayOfYear + nDay - 1;
}

}  // namespace

CQmDateTime::CQmDateTime(const std::tm& time) : m_time(time) {}

double CQmDateTime::GetJulianDayNumber() const
{
    // Months after December belong to later years, as always in broken-down times.
    std::int64_t nYear = std::int64_t{m_time.tm_year} + 1900;
    std::int64_t nMonth = m_time.tm_mon;
    nYear += (nMonth >= 0 ? nMonth : nMonth - 11) / 12;
    nMonth = (nMonth % 12 + 12) % 12;

    constexpr double MARCH_OF_YEAR_0 = 1721119.5;  // 0:00 of that day as a Julian day
    const std::int64_t nSeconds =
        std::int64_t{m_time.tm_hour} * 3600 + std::int64_t{m_time.tm_min} * 60 + std::int64_t{m_time.tm_sec};
    return static_cast<double>(DaysSinceMarchOfYear0(nYear, nMonth, m_time.tm_mday)) + MARCH_OF_YEAR_0 +
           static_cast<double>(nSeconds) / 86400.0;
}
