// Times and order of the samples of a track.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "platform/mediafoundation/reading/presentation_order.h"
#include "platform/mediafoundation/reading/sample_table.h"

namespace mediafoundation
{
namespace
{

SampleTable MakeTable(const std::vector<std::int64_t>& times, AVRational timeBase, std::int64_t nLast)
{
    SampleTable table;
    for (const std::int64_t nTime : times)
    {
        Sample sample;
        sample.m_nDecodingTime = nTime;
        table.Append(sample);
    }
    table.Finish(timeBase, nLast);
    return table;
}

TEST(SampleTable, TimesAreRoundedDownAndSumUpWithoutDrift)
{
    const SampleTable table = MakeTable({0, 1001, 2002, 3003}, {1, 30000}, 1001);
    EXPECT_EQ(table.TimeOf(1), 333666);  // 333666.67
    EXPECT_EQ(table.TimeOf(3), 1001000);
    EXPECT_EQ(table.TimeOf(4), 1334666);
    std::int64_t nSum = 0;
    for (std::uint64_t k = 0; k < 4; ++k)
    {
        EXPECT_EQ(nSum, table.TimeOf(k));
        nSum += table.DurationOf(k);
    }
    EXPECT_EQ(table.MillisecondsOf(1), 33);
}

TEST(SampleTable, APositionInWholeMillisecondsIsThePictureThatItWasTakenFrom)
{
    const SampleTable table = MakeTable({0, 1001, 2002, 3003}, {1, 30000}, 1001);
    EXPECT_EQ(table.FirstAt(-1), 0U);
    EXPECT_EQ(table.FirstAt(0), 0U);
    EXPECT_EQ(table.FirstAt(9999), 0U);
    EXPECT_EQ(table.FirstAt(10000), 1U);
    EXPECT_EQ(table.FirstAt(330000), 1U);  // 33 of 33.37 ms
    EXPECT_EQ(table.FirstAt(339999), 1U);
    EXPECT_EQ(table.FirstAt(340000), 2U);
    EXPECT_EQ(table.FirstAt(1000000), 3U);
    EXPECT_EQ(table.FirstAt(1010000), 4U);
    EXPECT_EQ(table.FirstAt(std::numeric_limits<std::int64_t>::max()), 4U);
    EXPECT_EQ(table.FirstAt(std::numeric_limits<std::int64_t>::min()), 0U);
}

TEST(SampleTable, TimesCountFromTheFirstSampleAndNeverFall)
{
    const SampleTable table = MakeTable({500, 600, 550, 700, 400, 800}, {1, 1000}, 50);
    const std::int64_t aExpected[] = {0, 100, 100, 200, 200, 300, 350};
    for (std::uint64_t k = 0; k < 7; ++k)
    {
        EXPECT_EQ(table.TimeOf(k), aExpected[k] * 10000) << k;
    }
    EXPECT_EQ(table.FirstAt(100 * 10000), 1U);
}

TEST(SampleTable, WithoutTimesOfDecodingThoseOfPresentationMakeTheLine)
{
    SampleTable table;
    for (const std::int64_t nTime : {0, 120, 40, 80})
    {
        Sample sample;
        sample.m_nPresentationTime = nTime;
        table.Append(sample);
    }
    table.Finish({1, 1000}, 0);
    EXPECT_EQ(table.MillisecondsOf(1), 40);
    EXPECT_EQ(table.MillisecondsOf(3), 120);
    EXPECT_EQ(table.MillisecondsOf(4), 160);  // the last duration is that of the one before
}

TEST(SampleTable, HugeTimesStayInRange)
{
    constexpr std::int64_t LARGEST = std::numeric_limits<std::int64_t>::max();
    const SampleTable table = MakeTable({0, LARGEST / 2, LARGEST}, {1, 1}, LARGEST);
    EXPECT_EQ(table.TimeOf(1), LARGEST);
    EXPECT_EQ(table.TimeOf(3), LARGEST);
    EXPECT_EQ(table.FirstAt(1), 0U);
    EXPECT_EQ(table.FirstAt(LARGEST), 1U);
    EXPECT_EQ(MakeTable({}, {1, 25}, 0).FirstAt(0), 0U);
}

SampleTable TableWithPresentation(const std::vector<std::int64_t>& times)
{
    SampleTable table;
    for (std::size_t i = 0; i < times.size(); ++i)
    {
        Sample sample;
        sample.m_nDecodingTime = static_cast<std::int64_t>(i);
        sample.m_nPresentationTime = times[i];
        table.Append(sample);
    }
    table.Finish({1, 25}, 1);
    return table;
}

TEST(PresentationOrder, FindsThePictureAfterAStart)
{
    //                                          I  P  B  B  P  B  I  P  B
    const SampleTable table = TableWithPresentation({2, 5, 3, 4, 7, 6, 8, 10, 9});
    const std::uint64_t aSamples[] = {0, 2, 3, 1, 5, 4, 6, 8, 7};
    for (std::uint64_t k = 0; k < 9; ++k)
    {
        EXPECT_EQ(FindPicture(table, k < 6 ? 0 : 6, k, true), aSamples[k]) << k;
    }
}

TEST(PresentationOrder, SaysNothingWhereTheTimesCannotTell)
{
    EXPECT_FALSE(FindPicture(TableWithPresentation({2, 4, 4, 5}), 0, 1, true));
    EXPECT_FALSE(FindPicture(TableWithPresentation({2, 4, AV_NOPTS_VALUE, 5}), 0, 1, true));
    // Presented as decoded, in a stream that reorders: the container lost the difference. In others that is no sign.
    EXPECT_FALSE(FindPicture(TableWithPresentation({0, 1, 2, 3}), 0, 1, true));
    EXPECT_EQ(FindPicture(TableWithPresentation({0, 1, 2, 3}), 0, 1, false), 1U);
}

TEST(PresentationOrder, TheNextDuePictureIsTheEarliest)
{
    DueSamples due;
    due.Add(30, 0);
    due.Add(60, 1);
    due.Add(40, 2);
    EXPECT_FALSE(due.Take(2));
    EXPECT_TRUE(due.Take(0));
    EXPECT_TRUE(due.Take(2));
    due.Add(50, 3);
    due.DropBefore(60);
    EXPECT_TRUE(due.Take(1));
    EXPECT_TRUE(due.IsEmpty());
    EXPECT_FALSE(due.Take(1));
}

}  // namespace
}  // namespace mediafoundation
