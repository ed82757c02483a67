// What becomes of the host's frame times.
#include <gtest/gtest.h>

#include <vector>

#include "mp4_outputfile/frametimerule.h"
#include "muxer/muxing.h"

namespace
{
// As the back ends that write the file themselves use the rule.
std::vector<double> ElapsedTimes(const std::vector<double>& vHostTimes)
{
    SFrameTimes times;
    for (const double dTime : vHostTimes)
    {
        times.m_dFrameTime = dTime;
        ApplyFrameTimeRule(times);
    }
    return ToVector(times.m_vecFrameTimes);
}

// As the Media Foundation back end uses it.
std::vector<double> Distances(const std::vector<double>& vHostTimes)
{
    SFrameTimes times;
    for (const double dTime : vHostTimes)
    {
        times.m_dFrameTime = dTime;
        ApplyFrameTimeRule(times);
        times.m_dPrevElapsed = times.m_dElapsed;
    }
    return ToVector(times.m_vecFrameTimes);
}

using Times = std::vector<double>;
}  // namespace

TEST(FrameTimeRule, FieldsBeforeTheFirstFrame)
{
    const SFrameTimes times;
    EXPECT_EQ(times.m_dFrameTime, -1.0);
    EXPECT_EQ(times.m_dFirstFrameTime, -1.0);
    EXPECT_EQ(times.m_dElapsed, -1.0);
    EXPECT_EQ(times.m_dPrevElapsed, -1.0);
    EXPECT_EQ(times.m_dSampleTime, 1.0);
    EXPECT_TRUE(times.m_vecFrameTimes.empty());
}

TEST(FrameTimeRule, MuxedFilesGetTheTimeSinceTheFirstFrame)
{
    EXPECT_EQ(ElapsedTimes({250.0, 283.5, 316.75, 350.0}), (Times{0.0, 33.5, 66.75, 100.0}));
}

TEST(FrameTimeRule, MuxedFilesKeepTimesThatRunBackwards)
{
    EXPECT_EQ(ElapsedTimes({0.0, 100.0, 50.0, 75.0}), (Times{0.0, 100.0, 50.0, 75.0}));
}

TEST(FrameTimeRule, ATimeBeforeTheFirstFrameIsZero)
{
    EXPECT_EQ(ElapsedTimes({100.0, 99.5, 20.0}), (Times{0.0, 0.0, 0.0}));
}

TEST(FrameTimeRule, AHostThatNeverSetsATimeGetsZeros)
{
    EXPECT_EQ(ElapsedTimes({-1.0, -1.0, -1.0}), (Times{0.0, 0.0, 0.0}));
}

TEST(FrameTimeRule, AFirstFrameWithoutATimeLetsTheNextBeTheFirst)
{
    EXPECT_EQ(ElapsedTimes({-1.0, 500.0, 530.0}), (Times{0.0, 0.0, 30.0}));
}

TEST(FrameTimeRule, MediaFoundationGetsDistances)
{
    // The second entry is the time since the first frame by the second branch, later ones are distances.
    EXPECT_EQ(Distances({250.0, 283.5, 316.75, 350.0}), (Times{0.0, 33.5, 33.25, 33.25}));
}

TEST(FrameTimeRule, ADistanceOfAtMostAMillisecondBecomesOne)
{
    EXPECT_EQ(Distances({0.0, 10.0, 10.5, 11.5, 13.0}), (Times{0.0, 10.0, 1.0, 1.0, 1.5}));
}

TEST(FrameTimeRule, UntilTimeHasPassedADistanceMayBeShorter)
{
    // As long as the frame before has no time after it, the time since the first frame is taken as it is.
    EXPECT_EQ(Distances({10.0, 10.5, 11.0}), (Times{0.0, 0.5, 1.0}));
    EXPECT_EQ(Distances({10.0, 10.0, 10.0, 10.25, 10.5}), (Times{0.0, 0.0, 0.0, 0.25, 1.0}));
}

TEST(FrameTimeRule, ATimeThatRunsBackwardsStandsStillOnMediaFoundation)
{
    // The third frame is held at 100; the fourth counts from there.
    EXPECT_EQ(Distances({0.0, 100.0, 40.0, 130.0}), (Times{0.0, 100.0, 1.0, 30.0}));
}
