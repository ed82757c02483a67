#include "parts/timegrid.h"

#include <cmath>
#include <random>
#include <vector>

#include <gmock/gmock.h>

#include "support/repetitions.h"

namespace qmhost
{
namespace
{

using testing::ElementsAre;

constexpr double HOUR_MS = 3'600'000;

// What the module makes of a distance in the files that it muxes.
double CutToTicks(double dFromMs, double dToMs)
{
    return std::trunc((dToMs - dFromMs) * 10000.0 / 1000.0);
}

// Where the module stores frames that are handed to it at these times, in ticks from the first one.
std::vector<double> Stored(const std::vector<double>& vHandedMs)
{
    std::vector<double> vTicks = {0};
    for (std::size_t i = 1; i < vHandedMs.size(); ++i)
        vTicks.push_back(vTicks.back() + CutToTicks(vHandedMs[i - 1], vHandedMs[i]));
    return vTicks;
}

std::vector<double> Handed(const std::vector<double>& vTimesMs, const TimeForm& form = MUXED_TIMES)
{
    EXPECT_FALSE(FindTimesProblem(vTimesMs, form));
    TimeGrid grid(form);
    std::vector<double> vHandedMs;
    for (const double dTimeMs : vTimesMs)
        vHandedMs.push_back(grid.Next(dTimeMs));
    return vHandedMs;
}

std::vector<double> Steady(double dPeriodMs, int nCount)
{
    std::vector<double> vTimesMs;
    for (int i = 0; i < nCount; ++i)
        vTimesMs.push_back(i * dPeriodMs);
    return vTimesMs;
}

TEST(TimeGrid, TimesAreStoredRoundedOnce)
{
    EXPECT_THAT(Stored(Handed({0, 33.4, 66.7, 100.04, 100.06, 1000.9})), ElementsAre(0, 334, 667, 1000, 1001, 10009));
}

TEST(TimeGrid, HandedTimesAreThoseOfTheGrid)
{
    const auto vHandedMs = Handed({0, 33.44, 66.71, 100.06});
    const double aTicks[] = {0, 334, 667, 1001};
    for (std::size_t i = 0; i < vHandedMs.size(); ++i)
        EXPECT_NEAR(vHandedMs[i], aTicks[i] / 10, 1e-12) << i;
}

// As 64-bit floats 166.8 and 200.1 ms are less than 333 ticks apart.
TEST(TimeGrid, RoundingAloneWouldLoseTicks)
{
    EXPECT_THAT(Stored({0, 166.8, 200.1}), ElementsAre(0, 1668, 2000));
    EXPECT_THAT(Stored(Handed({0, 166.8, 200.1})), ElementsAre(0, 1668, 2001));
}

// 33.3667 ms are 333.667 ticks. Cut one by one, 599 of them are 599 x 333 ticks.
TEST(TimeGrid, SteadyPeriodDoesNotDrift)
{
    const auto vTimesMs = Steady(33.3667, 600);
    EXPECT_EQ(Stored(vTimesMs).back(), 199'467);
    EXPECT_EQ(Stored(Handed(vTimesMs)).back(), 199'867);  // 599 x 33.3667 = 19986.6533
}

TEST(TimeGrid, TimesCountFromTheFirstOne)
{
    EXPECT_THAT(Handed({1'700'000'000'000.0, 1'700'000'000'033.0}), ElementsAre(0, testing::DoubleNear(33, 1e-9)));
    EXPECT_THAT(Stored(Handed({5.04, 5.08, 10.04})), ElementsAre(0, 0, 50));  // 0.04 ms rounds to none
}

TEST(TimeGrid, EqualTimesStayEqual)
{
    const auto vHandedMs = Handed({0, 7.3, 7.3, 7.31, 7.4});
    EXPECT_EQ(vHandedMs[1], vHandedMs[2]);
    EXPECT_EQ(vHandedMs[2], vHandedMs[3]);
    EXPECT_THAT(Stored(vHandedMs), ElementsAre(0, 73, 73, 73, 74));
}

TEST(TimeGrid, EveryDistanceOfTicksIsKept)
{
    std::vector<double> vTimesMs = {0};
    std::vector<double> vTicks = {0};
    for (int i = 1; i <= 3000; ++i)
    {
        vTicks.push_back(vTicks.back() + i);
        vTimesMs.push_back(vTicks.back() / 10);
    }
    EXPECT_EQ(Stored(Handed(vTimesMs)), vTicks);
}

// The steps of a 64-bit float are larger at larger times: 2^-22 ms after 119 days.
TEST(TimeGrid, NothingIsLostAfterHoursAndDays)
{
    for (const double dHours : {1.0, 119.0, 24.0 * 119, 24.0 * 3650})
    {
        std::vector<double> vTimesMs = {0};
        std::vector<double> vTicks = {0};
        while (vTicks.back() < dHours * HOUR_MS * 10)
        {
            vTicks.push_back(vTicks.back() + std::min(dHours, 50.0) * HOUR_MS * 10 + 1);
            vTimesMs.push_back(vTicks.back() / 10);
        }
        const int aDistances[] = {1, 333, 334, 7, 166, 1, 1, 10009};
        for (const int nDistance : aDistances)
        {
            vTicks.push_back(vTicks.back() + nDistance);
            vTimesMs.push_back(vTicks.back() / 10);
        }
        EXPECT_EQ(Stored(Handed(vTimesMs)), vTicks) << dHours;
    }
}

// The module cuts the length of the movie from the last time.
TEST(TimeGrid, LengthOfTheMovieIsNotCutShort)
{
    for (int nTicks = 1; nTicks < 100'000; nTicks += 7)
        EXPECT_EQ(CutToTicks(0, Handed({0, nTicks / 10.0}).back()), nTicks);
}

// --- long recordings ---

class LongRecording : public testing::Test
{
protected:
    // No frame is stored more than half a tick from its time, and none is read more than a millisecond from it.
    static void ExpectNoDrift(const std::vector<double>& vTimesMs)
    {
        const auto vHandedMs = Handed(vTimesMs);
        const auto vTicks = Stored(vHandedMs);
        double dLargest = 0;
        double dLargestRead = 0;
        double dLargestMore = 0;
        for (std::size_t i = 0; i < vTimesMs.size(); ++i)
        {
            const double dElapsedMs = vTimesMs[i] - vTimesMs.front();
            dLargest = std::max(dLargest, std::abs(vTicks[i] - dElapsedMs * 10));
            dLargestRead = std::max(dLargestRead, std::abs(std::floor(vTicks[i] / 10) - dElapsedMs));
            dLargestMore = std::max(dLargestMore, std::abs(vHandedMs[i] - vTicks[i] / 10));
        }
        EXPECT_LE(dLargest, 0.5 + 1e-6);
        EXPECT_LE(dLargestRead, 1.0);
        EXPECT_LE(dLargestMore, 0.01);  // what was added for the cutting
    }
    static int Frames() { return test_support::Repetitions(100'000); }
};

TEST_F(LongRecording, AtAPeriodThatIsNoNumberOfTicks)
{
    ExpectNoDrift(Steady(33.3667, Frames()));
    ExpectNoDrift(Steady(1000 / 59.94, Frames()));
    ExpectNoDrift(Steady(1000.0 / 3, Frames()));
    ExpectNoDrift(Steady(4321.09876, Frames()));  // five days
}

TEST_F(LongRecording, AtRandomDistancesOfMicroseconds)
{
    const unsigned uiSeed = std::random_device()();
    std::mt19937 random(uiSeed);
    for (const int nLongestUs : {50, 1000, 100'000})
    {
        SCOPED_TRACE(testing::Message() << "seed " << uiSeed << ", up to " << nLongestUs << " us");
        std::uniform_int_distribution<int> distance(0, nLongestUs);
        std::vector<double> vTimesMs;
        std::int64_t nTimeUs = 987'654'321;
        for (int i = 0; i < Frames(); ++i, nTimeUs += distance(random))
            vTimesMs.push_back(static_cast<double>(nTimeUs) / 1000);
        ExpectNoDrift(vTimesMs);
    }
}

// --- the system's encoder ---

TEST(TimeGridOfMilliseconds, TimesAreHandedInWholeMilliseconds)
{
    EXPECT_THAT(Handed({0, 33.4, 66.7, 100.05, 7201000.9}, SYSTEM_TIMES), ElementsAre(0, 33, 67, 100, 7201001));
}

// The module makes a distance of 1 ms out of every shorter one, and all later frames would be late.
TEST(TimeGridOfMilliseconds, FramesThatAreCloseMoveWithoutMovingLaterOnes)
{
    EXPECT_THAT(Handed({0, 0.3, 10, 10.2, 10.9, 12.1, 20}, SYSTEM_TIMES), ElementsAre(0, 1, 10, 11, 12, 13, 20));
}

// --- what a file can't hold ---

struct Found
{
    ETimesProblem m_eProblem;
    std::size_t m_uiEntry;
};

void ExpectProblem(const std::optional<TimesProblem>& problem, const Found& found)
{
    ASSERT_TRUE(problem);
    EXPECT_EQ(problem->m_eProblem, found.m_eProblem);
    EXPECT_EQ(problem->m_uiEntry, found.m_uiEntry);
}

TEST(TimesProblems, TimesThatRunBackwards)
{
    const std::vector<double> vTimesMs = {0, 100, 50, 150};
    ExpectProblem(FindTimesProblem(vTimesMs, MUXED_TIMES), {ETimesProblem::Backwards, 2});
    ExpectProblem(FindTimesProblem(vTimesMs, SYSTEM_TIMES), {ETimesProblem::Backwards, 2});
    // Also by less than the grid shows.
    ExpectProblem(FindTimesProblem(std::vector<double>{0, 1.01, 1.0}, MUXED_TIMES), {ETimesProblem::Backwards, 2});
}

TEST(TimesProblems, NoTimesAndOneTime)
{
    EXPECT_FALSE(FindTimesProblem({}, MUXED_TIMES));
    EXPECT_FALSE(FindTimesProblem(std::vector<double>{1e300}, SYSTEM_TIMES));
    EXPECT_FALSE(FindPeriodProblem(864e6, 1, MUXED_TIMES));
}

// 2^31 - 1 ticks are 214748364.7 ms, some 59 hours.
TEST(TimesProblems, DistancesThatAreTooLong)
{
    EXPECT_FALSE(FindTimesProblem(std::vector<double>{5.0, 214748369.7}, MUXED_TIMES));
    ExpectProblem(FindTimesProblem(std::vector<double>{5.0, 6.0, 214748370.8}, MUXED_TIMES),
                  {ETimesProblem::TooLong, 2});
    ExpectProblem(FindTimesProblem(std::vector<double>{0, 1e300}, MUXED_TIMES), {ETimesProblem::TooLong, 1});
    EXPECT_FALSE(FindPeriodProblem(214748364.7, 2, MUXED_TIMES));
    ExpectProblem(FindPeriodProblem(214748364.8, 2, MUXED_TIMES), {ETimesProblem::TooLong, 1});
    ExpectProblem(FindPeriodProblem(214748364.8, std::nullopt, MUXED_TIMES), {ETimesProblem::TooLong, 1});
    EXPECT_FALSE(FindPeriodProblem(214748364.8, 1, MUXED_TIMES));
}

// 2^32 - 1 ticks of 1/30000 s are 143165576.5 ms.
TEST(TimesProblems, DistancesThatTheSystemsFilesCanNotHold)
{
    EXPECT_FALSE(FindTimesProblem(std::vector<double>{0, 143165576.4}, SYSTEM_TIMES));
    ExpectProblem(FindTimesProblem(std::vector<double>{0, 143165577.0}, SYSTEM_TIMES), {ETimesProblem::TooLong, 1});
}

TEST(TimesProblems, LongRecordingsOfShortDistancesAreNone)
{
    EXPECT_FALSE(FindTimesProblem(Steady(50 * HOUR_MS, 1000), MUXED_TIMES));  // 5 years
    EXPECT_FALSE(FindPeriodProblem(50 * HOUR_MS, 1000, MUXED_TIMES));
    ExpectProblem(FindTimesProblem(Steady(50 * HOUR_MS, 6000), MUXED_TIMES), {ETimesProblem::TooLate, 5556});
    ExpectProblem(FindPeriodProblem(50 * HOUR_MS, 6000, MUXED_TIMES), {ETimesProblem::TooLate, 5556});
}

// The frames at 0.3 and 0.4 ms go to 1 and 2 ms: the second one is 1.6 ms late.
TEST(TimesProblems, TimesThatAreTooCloseForTheSystemsEncoder)
{
    const std::vector<double> vTimesMs = {0, 0.3, 0.4, 40};
    EXPECT_FALSE(FindTimesProblem(vTimesMs, MUXED_TIMES));
    ExpectProblem(FindTimesProblem(vTimesMs, SYSTEM_TIMES), {ETimesProblem::TooClose, 2});
    EXPECT_FALSE(FindTimesProblem(std::vector<double>{0.0, 0.0, 40.0, 40.0, 80.0}, SYSTEM_TIMES));  // each 1 ms late
    ExpectProblem(FindTimesProblem(std::vector<double>{0.0, 40.0, 40.0, 40.0}, SYSTEM_TIMES),
                  {ETimesProblem::TooClose, 3});
}

TEST(TimesProblems, PeriodsThatAreTooShortForTheSystemsEncoder)
{
    EXPECT_FALSE(FindPeriodProblem(1, std::nullopt, SYSTEM_TIMES));
    EXPECT_FALSE(FindPeriodProblem(0.1, std::nullopt, MUXED_TIMES));
    ExpectProblem(FindPeriodProblem(0.75, std::nullopt, SYSTEM_TIMES), {ETimesProblem::TooClose, 7});
    // 0.25 ms later with each frame: the seventh one by exactly 1.5 ms.
    EXPECT_FALSE(FindPeriodProblem(0.75, 7, SYSTEM_TIMES));
    ExpectProblem(FindPeriodProblem(0.75, 8, SYSTEM_TIMES), {ETimesProblem::TooClose, 7});
    EXPECT_FALSE(FindTimesProblem(Steady(0.75, 7), SYSTEM_TIMES));
    ExpectProblem(FindTimesProblem(Steady(0.75, 8), SYSTEM_TIMES), {ETimesProblem::TooClose, 7});
}

}  // namespace
}  // namespace qmhost
