#include "parts/timetable.h"

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

TEST(TimeTable, CsvHasAHeaderAndWholeMilliseconds)
{
    EXPECT_EQ(TimesAsCsv({{0, 0.0}, {1, 33.0}, {2, 66.0}}), "frame,time_ms\n0,0\n1,33\n2,66\n");
}

TEST(TimeTable, CsvOfNothingIsTheHeader)
{
    EXPECT_EQ(TimesAsCsv({}), "frame,time_ms\n");
}

TEST(TimeTable, CsvKeepsFrameNumbersOfAChoice)
{
    EXPECT_EQ(TimesAsCsv({{7, 280.0}, {100, 4000.0}}), "frame,time_ms\n7,280\n100,4000\n");
}

TEST(TimeTable, CsvHoldsYears)
{
    EXPECT_EQ(TimesAsCsv({{4294967295u, 3e11}}), "frame,time_ms\n4294967295,300000000000\n");
}

TEST(TimeTable, TableShowsClockTimesAndDistances)
{
    EXPECT_EQ(TimesAsTable({{0, 0.0}, {1, 33.0}, {2, 3723004.0}}), "     frame            time   distance\n"
                                                                   "         0     0:00:00.000\n"
                                                                   "         1     0:00:00.033      33 ms\n"
                                                                   "         2     1:02:03.004 3722971 ms\n");
}

}  // namespace
}  // namespace qmhost
