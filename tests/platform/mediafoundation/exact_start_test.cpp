// The first sample after a start at the time of picture k is picture k, and every later one follows once.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <ostream>
#include <random>
#include <set>

#include "media_files.h"
#include "support/repetitions.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

struct Case
{
    std::string m_name;
    Recipe m_recipe;
    std::uint32_t m_uiTimescaleFactor = 1;
    std::size_t m_uiWithoutDuration = 0;  // so many samples from the 20th on
};

void PrintTo(const Case& testCase, std::ostream* pStream)
{
    *pStream << testCase.m_name;
}

Recipe With(const std::string& encoderOptions, const std::string& output = "", const std::string& filter = "")
{
    Recipe recipe;
    recipe.m_encoder += " " + encoderOptions;
    recipe.m_output = output;
    recipe.m_filter = filter;
    return recipe;
}

// Decoded on several threads, unlike the others.
Recipe Large(Recipe recipe)
{
    recipe.m_nWidth = 480;
    recipe.m_nHeight = 352;
    return recipe;
}

Recipe AtRate(const std::string& rate, Recipe recipe)
{
    recipe.m_rate = rate;
    return recipe;
}

Recipe WithAudioFirst()
{
    Recipe recipe = With("-bf 3 -g 12", "-map 1:a -map 0:v -c:a aac");
    recipe.m_input = "-f lavfi -i sine=d=2";
    return recipe;
}

// Gaps between 9 ms and 300 ms without a pattern.
const char* const IRREGULAR = "settb=1/90000,setpts='if(eq(N,0),0,PREV_OUTPTS+810+mod(N*7919,26000))'";
const char* const IRREGULAR_OUTPUT = "-fps_mode passthrough -enc_time_base 1:90000 -video_track_timescale 90000";

std::vector<Case> Cases()
{
    return {
        {"Constant25WithoutBPictures", With("-bf 0 -g 12")},
        {"Constant25With3BPictures", With("-bf 3 -g 12")},
        {"Constant30000Over1001", AtRate("30000/1001", With("-bf 3 -g 12"))},
        {"EveryPictureKey", With("-g 1")},
        {"OneKeyPicture", With("-bf 3 -g 250")},
        {"EightBPicturesInAPyramid", With("-bf 8 -g 30 -x264-params b-pyramid=normal:b-adapt=0")},
        {"BPicturesWithoutPyramid", With("-bf 4 -g 20 -x264-params b-pyramid=none:b-adapt=0")},
        {"IrregularTimes", With("-bf 0 -g 12", IRREGULAR_OUTPUT, IRREGULAR)},
        {"IrregularTimesWithBPictures", With("-bf 3 -g 12 -x264-params b-adapt=0", IRREGULAR_OUTPUT, IRREGULAR)},
        // A key picture among them, so that the way back to it is found among equal times
        {"SamplesWithoutDuration", With("-bf 0 -g 12", IRREGULAR_OUTPUT, IRREGULAR), 1, 8},
        {"Large", Large(With("-bf 3 -g 12"))},
        {"LargeEveryPictureKey", Large(With("-g 1"))},
        {"LargeWithKeyPicturesInARow",
         Large(With("-bf 3 -g 250 -forced-idr 1 -force_key_frames 'expr:lt(mod(n,7),3)'"))},
        {"LargeWithoutBPictures", Large(With("-bf 0 -g 250"))},
        {"LargeWithEightBPicturesInAPyramid", Large(With("-bf 8 -g 30 -x264-params b-pyramid=normal:b-adapt=0"))},
        {"LargeWithOpenGroups",
         Large(With("-bf 3 -x264-params keyint=12:min-keyint=12:open-gop=1:scenecut=0:b-adapt=0"))},
        {"OpenGroups", With("-bf 3 -x264-params keyint=12:min-keyint=12:open-gop=1:scenecut=0:b-adapt=0")},
        {"IntraRefresh", With("-bf 2 -x264-params keyint=20:intra-refresh=1")},
        {"NoEditList", With("-bf 3 -g 12", "-use_editlist 0")},
        {"FourPicturesToAMillisecond", With("-bf 3 -g 12"), 160},
        {"TimescaleOf1", With("-bf 0 -g 12", "-video_track_timescale 1")},
        {"TimescaleOf1WithBPictures", With("-bf 3 -g 12", "-video_track_timescale 1")},
        {"TimescaleOf90000", With("-bf 3 -g 12", "-video_track_timescale 90000")},
        {"Fragments", With("-bf 3 -g 12", "-movflags frag_keyframe+empty_moov")},
        {"FragmentsAfterSamples", With("-bf 3 -g 12", "-movflags frag_keyframe")},
        {"FragmentsWithoutIndex", With("-bf 3 -g 12", "-movflags frag_keyframe+empty_moov+skip_trailer")},
        {"FragmentsAfterSamplesWithoutIndex", With("-bf 3 -g 12", "-movflags frag_keyframe+skip_trailer")},
        {"FragmentsWithAnIndexEach", With("-bf 3 -g 12", "-movflags frag_keyframe+empty_moov+dash")},
        {"MoovBeforeMdat", With("-bf 3 -g 12", "-movflags +faststart")},
        {"AudioTrackFirst", WithAudioFirst()},
        {"Interlaced", With("-bf 2 -g 12 -flags +ilme+ildct -x264-params tff=1")},
        {"Baseline", {96, 64, "25", 60, "-c:v libx264 -profile:v baseline -g 12"}},
        {"Main", {96, 64, "25", 60, "-c:v libx264 -profile:v main -bf 2 -g 12"}},
        {"OnePicture", {96, 64, "25", 1, "-c:v libx264 -profile:v high"}},
        {"Mpeg4Part2", {96, 64, "25", 60, "-c:v mpeg4 -g 12"}},
        {"Mpeg4Part2WithBPictures", {96, 64, "25", 60, "-c:v mpeg4 -bf 2 -g 12"}},
        {"Hevc", {96, 64, "25", 60, "-c:v libx265 -x265-params log-level=none:keyint=12:bframes=3"}},
    };
}

// A case's file and what it holds. Its four tests share it in a program that runs all of them.
struct Video
{
    explicit Video(const Case& testCase);

    TemporaryFolder m_directory;
    std::string m_path;
    std::vector<std::string> m_pictures;  // as YUY2
    std::vector<std::int64_t> m_times;
};

Video::Video(const Case& testCase) : m_path(m_directory / "video.mp4")
{
    const Recipe& recipe = testCase.m_recipe;
    MakeVideo(m_path, recipe);
    if (testCase.m_uiWithoutDuration > 0) ClearDurations(m_path, 20, testCase.m_uiWithoutDuration);
    if (testCase.m_uiTimescaleFactor > 1) MultiplyTimescale(m_path, testCase.m_uiTimescaleFactor);
    const Size size = {recipe.m_nWidth, recipe.m_nHeight};
    const bool bInterlaced = testCase.m_name == "Interlaced";
    for (const std::string& picture : PlainDecode(m_path, size))
    {
        m_pictures.push_back(ToYuy2(picture, size, bInterlaced));
    }
    m_times = FrameTimes(m_path);
}

const Video& VideoOf(const Case& testCase)
{
    static std::map<std::string, Video> mapVideos;
    return mapVideos.try_emplace(testCase.m_name, testCase).first->second;
}

class ExactStart : public ::testing::TestWithParam<Case>
{
protected:
    void SetUp() override
    {
        const Recipe& recipe = GetParam().m_recipe;
        ASSERT_EQ(m_times.size(), m_pictures.size());
        ASSERT_EQ(m_pictures.size(), static_cast<std::size_t>(recipe.m_nFrames));
        // Or one picture could be taken for another unnoticed.
        ASSERT_EQ(std::set<std::string>(m_pictures.begin(), m_pictures.end()).size(), m_pictures.size());
        if (recipe.m_filter == IRREGULAR)
        {
            ASSERT_NE(m_times[2] - m_times[1], m_times[1]);
        }
        ASSERT_EQ(m_graph.Open(m_video.m_path), S_OK);
    }

    std::size_t FirstOfMillisecond(std::size_t k) const
    {
        return static_cast<std::size_t>(std::lower_bound(m_times.begin(), m_times.end(), m_times[k]) - m_times.begin());
    }

    // Plays a few pictures from picture k's time, with a rate set before: a true seek.
    void ExpectPicturesFrom(std::size_t k, std::size_t uiCount)
    {
        ASSERT_EQ(m_graph.SetRate(0), S_OK);
        const std::vector<GrabbedSample> samples = m_graph.PlayFrom(m_times[k], uiCount);
        const std::size_t uiFirst = FirstOfMillisecond(k);
        ASSERT_GE(samples.size(), std::min(uiCount, m_pictures.size() - uiFirst)) << "from " << k;
        for (std::size_t i = 0; i < samples.size(); ++i)
        {
            ASSERT_LT(uiFirst + i, m_pictures.size()) << "from " << k;
            ASSERT_TRUE(samples[i].m_bytes == m_pictures[uiFirst + i])
                << "from " << k << ", sample " << i << " is picture " << Identify(samples[i].m_bytes);
        }
    }

    // With the distances between key pictures it has no common factor, so a walk comes to all places in a group.
    static std::size_t OddStride() { return test_support::Stride(7) | 1; }

    std::string Identify(const std::string& bytes) const
    {
        const auto it = std::find(m_pictures.begin(), m_pictures.end(), bytes);
        return it == m_pictures.end() ? "unknown" : std::to_string(it - m_pictures.begin());
    }

    const Video& m_video = VideoOf(GetParam());
    const std::vector<std::string>& m_pictures = m_video.m_pictures;
    const std::vector<std::int64_t>& m_times = m_video.m_times;
    TestGraph m_graph;
};

TEST_P(ExactStart, EveryPictureForwards)
{
    for (std::size_t k = 0; k < m_pictures.size(); k += OddStride())
    {
        ExpectPicturesFrom(k, 3);
    }
}

TEST_P(ExactStart, EveryPictureBackwards)
{
    for (std::size_t k = m_pictures.size(); k > 0; k -= std::min(k, OddStride()))
    {
        ExpectPicturesFrom(k - 1, 2);
    }
}

TEST_P(ExactStart, AtRandom)
{
    std::mt19937 random(20260101);
    const int nTimes = test_support::Repetitions(60);
    for (int i = 0; i < nTimes; ++i)
    {
        ExpectPicturesFrom(random() % m_pictures.size(), 1 + random() % 12);
    }
}

TEST_P(ExactStart, AllOfThemInOrder)
{
    ExpectPicturesFrom(0, m_pictures.size() + 1);
}

INSTANTIATE_TEST_SUITE_P(Files, ExactStart, ::testing::ValuesIn(Cases()),
                         [](const auto& param) { return param.param.m_name; });

}  // namespace
}  // namespace mftest
