// Frame times as the host gets them, held against the sums of the file's own stts deltas.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>

#include "support/ffmpeg.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"
#include "video_cases.h"

namespace
{

using namespace test_support;

class FrameTimes : public testing::TestWithParam<e2e::VideoCase>
{
};

TEST_P(FrameTimes, EqualTheSumsOfTheSttsDeltasInEveryAnswerToTheHost)
{
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    e2e::MakeVideo(GetParam(), path);
    const std::vector<std::uint64_t> vExpected = ListTimesMs(ReadBytes(path));
    ASSERT_FALSE(vExpected.empty());

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    EXPECT_EQ(vExpected.size(), attributes.m_uiSequenceCount);
    EXPECT_EQ(GetParam().m_uiWidth, attributes.m_uiWidth);
    EXPECT_EQ(GetParam().m_uiHeight, attributes.m_uiHeight);

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
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    e2e::MakeVideo(GetParam(), path);
    const std::vector<std::int64_t> vExpected = test_support::FrameTimes(path);
    ASSERT_FALSE(vExpected.empty());

    const ModuleHost host;
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    const std::vector<double> vCached = CachedTimes(file.Get());
    EXPECT_EQ(std::vector<double>(vExpected.begin(), vExpected.end()), vCached);
}

INSTANTIATE_TEST_SUITE_P(Videos, FrameTimes, testing::ValuesIn(e2e::HighProfileCases()),
                         [](const auto& videoCase) { return videoCase.param.m_strName; });

}  // namespace
