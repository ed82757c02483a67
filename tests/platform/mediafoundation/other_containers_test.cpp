// Containers other than MP4 are played as exactly; their frame times are those that the packets' durations add up to.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

constexpr Size SIZE = {96, 64};

struct Case
{
    std::string m_name;
    std::string m_file;
    std::string m_encoder;
    GUID m_subtype;
};
void PrintTo(const Case& testCase, std::ostream* pStream)
{
    *pStream << testCase.m_name;
}

class OtherContainers : public ::testing::TestWithParam<Case>
{
};

TEST_P(OtherContainers, EveryPictureIsFoundByItsTime)
{
    const TemporaryFolder directory;
    const std::string path = directory / GetParam().m_file;
    Recipe recipe;
    recipe.m_encoder = GetParam().m_encoder;
    MakeVideo(path, recipe);
    std::vector<std::string> pictures;
    for (const std::string& picture : PlainDecode(path, SIZE))
    {
        pictures.push_back(ToYuy2(picture, SIZE));
    }
    ASSERT_EQ(pictures.size(), 60U);

    std::vector<std::int64_t> times;
    {
        TestGraph graph;
        ASSERT_EQ(graph.Open(path, GetParam().m_subtype), S_OK);
        ASSERT_EQ(graph.Start(), S_OK);
        ASSERT_EQ(graph.WaitFor(MESessionEnded), S_OK);
        std::int64_t nSum = 0;
        for (const GrabbedSample& sample : graph.Grabber().TakeSamples())
        {
            times.push_back(nSum / 10000);
            nSum += sample.m_nDuration;
        }
    }
    ASSERT_EQ(times.size(), pictures.size());
    EXPECT_NEAR(static_cast<double>(times[30]), 1200, 41);

    TestGraph graph;
    ASSERT_EQ(graph.Open(path), S_OK);
    std::mt19937 random(5);
    for (int i = 0; i < 40; ++i)
    {
        const std::size_t k = random() % pictures.size();
        ASSERT_EQ(graph.SetRate(0), S_OK);
        const auto samples = graph.PlayFrom(times[k], 2);
        ASSERT_FALSE(samples.empty()) << k;
        for (std::size_t j = 0; j < samples.size(); ++j)
        {
            ASSERT_TRUE(samples[j].m_bytes == pictures[k + j]) << k << " + " << j;
        }
    }
}

const char* const X264 = "-c:v libx264 -profile:v high -bf 3 -g 12 -x264-params b-adapt=0";

INSTANTIATE_TEST_SUITE_P(
    Files, OtherContainers,
    ::testing::Values(Case{"Matroska", "video.mkv", X264, MFVideoFormat_H264},
                      Case{"TransportStream", "video.ts", X264, MFVideoFormat_H264},
                      Case{"Avi", "video.avi", "-c:v libx264 -profile:v high -bf 0 -g 12", MFVideoFormat_H264},
                      Case{"AviWithMpeg4", "video.avi", "-c:v mpeg4 -g 12", MFVideoFormat_MP4V},
                      Case{"WebM", "video.webm", "-c:v libvpx -g 12 -deadline realtime", MFVideoFormat_VP80},
                      Case{"QuickTime", "video.mov", X264, MFVideoFormat_H264},
                      Case{"MotionJpeg", "video.mov", "-c:v mjpeg -pix_fmt yuv420p -strict unofficial",
                           MFVideoFormat_MJPG}),
    [](const auto& param) { return param.param.m_name; });

}  // namespace
}  // namespace mftest
