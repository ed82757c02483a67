#include "parts/tracktimes.h"

#include <vector>

#include <gmock/gmock.h>

#include "memory_bytes.h"
#include "support/box_builder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::DoubleNear;
using testing::ElementsAre;

// A file with one track of video at this clock.
std::string File(std::uint32_t uiTimescale, const std::string& strTimes)
{
    return FileType() + Movie(Track(MediaHeader(uiTimescale) + Handler("vide") + MediaInfo(strTimes)));
}

std::optional<double> Difference(const std::string& strFile, const std::vector<double>& vGivenMs)
{
    MemoryBytes bytes(strFile);
    return LargestTimeDifference(bytes, static_cast<std::uint32_t>(vGivenMs.size()),
                                 [&](std::uint32_t ui) { return vGivenMs[ui]; });
}

TEST(TrackTimes, AreTheSumsOfTheTableInMilliseconds)
{
    MemoryBytes bytes(File(10000, SampleTable({{2, 334}, {1, 0}, {1, 5}, {1, 99}})));
    BoxReader reader(bytes);
    const auto track = FindVideoTrack(reader, *reader.Find(0, bytes.Size(), "moov"));
    std::vector<double> vTimesMs;
    EXPECT_TRUE(ForEachTime(reader, *track, [&](double dTimeMs) {
        vTimesMs.push_back(dTimeMs);
        return true;
    }));
    EXPECT_THAT(vTimesMs, ElementsAre(0, DoubleNear(33.4, 1e-9), DoubleNear(66.8, 1e-9), DoubleNear(66.8, 1e-9),
                                      DoubleNear(67.3, 1e-9)));
    int nLeft = 2;
    EXPECT_FALSE(ForEachTime(reader, *track, [&](double) { return --nLeft > 0; }));
    EXPECT_EQ(nLeft, 0);
}

TEST(TrackTimes, LargestDifferenceFromTheGivenOnes)
{
    const std::string strFile = File(10000, SampleTable({{1, 334}, {1, 333}, {1, 1}}));  // 0, 33.4, 66.7
    EXPECT_THAT(Difference(strFile, {0, 33.37, 66.73}).value(), DoubleNear(0.03, 1e-9));
    EXPECT_THAT(Difference(strFile, {0, 33.4, 70}).value(), DoubleNear(3.3, 1e-9));
    EXPECT_THAT(Difference(strFile, {0, 30, 66.7}).value(), DoubleNear(3.4, 1e-9));
}

TEST(TrackTimes, DifferencesCountFromTheFirstTime)
{
    const std::string strFile = File(1000, SampleTable({{3, 40}}));
    EXPECT_THAT(Difference(strFile, {1000, 1040, 1080}).value(), DoubleNear(0, 1e-9));
    EXPECT_THAT(Difference(strFile, {1000.5, 1040, 1080.5}).value(), DoubleNear(0.5, 1e-9));
}

TEST(TrackTimes, OtherNumbersOfTimesAreNotCompared)
{
    const std::string strFile = File(1000, SampleTable({{3, 40}}));
    EXPECT_EQ(Difference(strFile, {0, 40}), std::nullopt);
    EXPECT_EQ(Difference(strFile, {0, 40, 80, 120}), std::nullopt);
    EXPECT_EQ(Difference(File(1000, SampleTable({{0xFFFFFFFF, 40}})), {0, 40}), std::nullopt);
}

TEST(TrackTimes, BrokenTablesAreNotCompared)
{
    EXPECT_EQ(Difference("", {0}), std::nullopt);
    EXPECT_EQ(Difference(FileType() + Movie(""), {0}), std::nullopt);
    EXPECT_EQ(Difference(File(1000, ""), {0}), std::nullopt);
    EXPECT_EQ(Difference(File(0, SampleTable({{1, 40}})), {0}), std::nullopt);
    EXPECT_EQ(Difference(File(1000, test_support::Box("stts", Word(0) + Word(2) + Word(1) + Word(40))), {0}),
              std::nullopt);
}

// The size of its media data has lost the upper bits.
TEST(TrackTimes, OfAFileAbove4GiB)
{
    constexpr std::uint64_t MEDIA = 0x1'4000'0000;
    const std::string strIndex =
        Movie(Track(MediaHeader(10000) + Handler("vide") + MediaInfo(SampleTable({{3, 400}}))));
    BytesWithHole bytes(FileType() + Word(static_cast<std::uint32_t>(MEDIA)) + "mdat", FileType().size() + MEDIA,
                        strIndex);
    const std::vector<double> vGivenMs = {0, 40, 80.5};
    EXPECT_EQ(LargestTimeDifference(bytes, 3, [&](std::uint32_t ui) { return vGivenMs[ui]; }), 0.5);
}

}  // namespace
}  // namespace qmhost
