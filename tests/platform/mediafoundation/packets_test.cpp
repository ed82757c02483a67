// A sink of the stream's own format gets the container's packets; their durations are the frame times.
#include <gtest/gtest.h>

#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

struct Case
{
    std::string m_name;
    Recipe m_recipe;
    GUID m_subtype;
};
void PrintTo(const Case& testCase, std::ostream* pStream)
{
    *pStream << testCase.m_name;
}

class Packets : public ::testing::TestWithParam<Case>
{
};

TEST_P(Packets, RunningSumsOfDurationsAreTheFrameTimes)
{
    const TemporaryFolder directory;
    const std::string path = directory / "video.mp4";
    MakeVideo(path, GetParam().m_recipe);
    TestGraph graph;
    ASSERT_EQ(graph.Open(path, GetParam().m_subtype), S_OK);
    ASSERT_EQ(graph.Start(), S_OK);
    ASSERT_EQ(graph.WaitFor(MESessionEnded), S_OK);

    const std::vector<GrabbedSample> samples = graph.Grabber().TakeSamples();
    const std::vector<std::int64_t> times = FrameTimes(path);
    const std::vector<std::int64_t> sizes = PacketValues(path, "size");
    ASSERT_EQ(samples.size(), sizes.size());
    ASSERT_EQ(samples.size(), times.size());
    std::int64_t nSum = 0;
    for (std::size_t k = 0; k < samples.size(); ++k)
    {
        EXPECT_EQ(nSum / 10000, times[k]) << k;
        EXPECT_EQ(static_cast<std::int64_t>(samples[k].m_bytes.size()), sizes[k]) << k;
        EXPECT_GE(samples[k].m_nDuration, 0) << k;
        nSum += samples[k].m_nDuration;
    }
}

Recipe WithOutput(const std::string& rate, const std::string& encoder, const std::string& output)
{
    Recipe recipe;
    recipe.m_rate = rate;
    recipe.m_encoder = encoder;
    recipe.m_output = output;
    return recipe;
}

const char* const X264 = "-c:v libx264 -profile:v high -bf 3 -g 12";

INSTANTIATE_TEST_SUITE_P(
    Files, Packets,
    ::testing::Values(
        Case{"Plain", WithOutput("25", X264, ""), MFVideoFormat_H264},
        Case{"Thirds", WithOutput("30000/1001", X264, ""), MFVideoFormat_H264},
        Case{"ManyTicks", WithOutput("60000/1001", X264, "-video_track_timescale 90000"), MFVideoFormat_H264},
        Case{"Fragments", WithOutput("30000/1001", X264, "-movflags frag_keyframe+empty_moov"), MFVideoFormat_H264},
        Case{"FragmentsAfterSamples", WithOutput("30", X264, "-movflags frag_keyframe"), MFVideoFormat_H264},
        Case{"Mpeg4Part2", WithOutput("25", "-c:v mpeg4", ""), MFVideoFormat_MP4V}),
    [](const auto& param) { return param.param.m_name; });

}  // namespace
}  // namespace mftest
