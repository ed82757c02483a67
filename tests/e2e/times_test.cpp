// Frame times as the host gets them, held against the sums of the file's own stts deltas.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>

#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/video_maker.h"
#include "video_cases.h"

namespace
{

using namespace test_support;

class FrameTimes : public testing::TestWithParam<e2e::VideoCase>
{
};

TEST_P(FrameTimes, EqualTheSumsOfTheSttsDeltasInEveryAnswerToTheHost)
{
    const TempDir dir;
    const auto path = dir / "video.mp4";
    e2e::MakeVideo(GetParam(), path);
    const std::vector<std::uint64_t> vExpected = ListTimesMs(ReadBytes(path));
    ASSERT_FALSE(vExpected.empty());

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    EXPECT_EQ(vExpected.size(), attributes.m_uiSequenceCount);
    EXPECT_EQ(e2e::g_uiWidth, attributes.m_uiWidth);
    EXPECT_EQ(e2e::g_uiHeight, attributes.m_uiHeight);

    const std::vector<double> vCached = CachedTimes(file.Get());
    ASSERT_EQ(vExpected.size(), vCached.size());
    for (std::size_t ui = 0; ui < vExpected.size(); ++ui)
    {
        EXPECT_EQ(static_cast<double>(vExpected[ui]), vCached[ui]) << "frame " << ui;
        SQmPictureMetadata metadata;
        ASSERT_EQ(QM_OK, file->GetPictureMetadata(static_cast<std::uint32_t>(ui), metadata, 0));
        EXPECT_EQ(static_cast<double>(vExpected[ui]), metadata.m_dTime) << "frame " << ui;
    }

    SQmExperiment experiment;
    ASSERT_EQ(QM_OK, file->GetExperiment(experiment));
    EXPECT_EQ(vExpected.size(), experiment.m_uiCount);
    EXPECT_EQ(0u, experiment.m_uiFirst);
    EXPECT_EQ(static_cast<double>(vExpected.back()), experiment.m_dDuration);
    if (vExpected.size() == 1)
    {
        EXPECT_TRUE(std::isnan(experiment.m_dPeriod));
    }
    else
    {
        const double dMean = static_cast<double>(vExpected.back()) / static_cast<double>(vExpected.size() - 1);
        EXPECT_EQ(dMean, experiment.m_dPeriod);
        EXPECT_EQ(dMean, experiment.m_dPeriod2);
        EXPECT_EQ(dMean, experiment.m_dPeriod3);
    }
}

TEST_P(FrameTimes, EqualTheDecodeTimesThatFfprobeListsForThePackets)
{
    const TempDir dir;
    const auto path = dir / "video.mp4";
    e2e::MakeVideo(GetParam(), path);
    const std::string strListing = RunForOutput("ffprobe -v error -ignore_editlist 1 -select_streams v:0 -show_entries "
                                                "packet=dts:stream=time_base -of csv=p=0 " +
                                                Quoted(path));

    // A line with each packet's time, then one with "1/timescale".
    std::vector<std::int64_t> vTicks;
    std::int64_t nTimescale = 0;
    std::istringstream lines(strListing);
    for (std::string strLine; std::getline(lines, strLine);)
    {
        long long nFirst = 0;
        long long nSecond = 0;
        const int nRead = std::sscanf(strLine.c_str(), "%lld/%lld", &nFirst, &nSecond);
        if (nRead == 1) vTicks.push_back(nFirst);
        if (nRead == 2) nTimescale = nSecond;
    }
    ASSERT_GT(nTimescale, 0);
    ASSERT_FALSE(vTicks.empty());

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    const std::vector<double> vCached = CachedTimes(file.Get());
    ASSERT_EQ(vTicks.size(), vCached.size());
    for (std::size_t ui = 0; ui < vTicks.size(); ++ui)
    {
        EXPECT_EQ(static_cast<double>((vTicks[ui] - vTicks[0]) * 1000 / nTimescale), vCached[ui]) << "frame " << ui;
    }
}

INSTANTIATE_TEST_SUITE_P(Videos, FrameTimes, testing::ValuesIn(e2e::HighProfileCases()),
                         [](const auto& videoCase) { return videoCase.param.m_strName; });

}  // namespace
