// Starts among pictures that share their millisecond.
#include <gtest/gtest.h>

#include <algorithm>

#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

constexpr Size SIZE = {96, 64};

// Four pictures in every millisecond.
class EqualTimes : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Recipe recipe;
        recipe.m_nFrames = 60;
        recipe.m_encoder += " -bf 0 -g 12";
        const std::string path = m_directory / "video.mp4";
        MakeVideo(path, recipe);
        MultiplyTimescale(path, 160);
        for (const std::string& picture : PlainDecode(path, SIZE))
        {
            m_pictures.push_back(ToYuy2(picture, SIZE));
        }
        m_times = FrameTimes(path);
        ASSERT_EQ(m_times[20], 5);
        ASSERT_EQ(m_times[23], 5);
        ASSERT_EQ(m_graph.Open(path), S_OK);
    }

    std::size_t FirstAt(std::int64_t nMilliseconds) const
    {
        return static_cast<std::size_t>(std::find(m_times.begin(), m_times.end(), nMilliseconds) - m_times.begin());
    }
    std::size_t IndexOf(const GrabbedSample& sample) const
    {
        return static_cast<std::size_t>(std::find(m_pictures.begin(), m_pictures.end(), sample.m_bytes) -
                                        m_pictures.begin());
    }

    TemporaryFolder m_directory;
    std::vector<std::string> m_pictures;
    std::vector<std::int64_t> m_times;
    TestGraph m_graph;
};

TEST_F(EqualTimes, AStartInTheSameMillisecondGoesOn)
{
    const std::size_t uiFirst = FirstAt(5);
    const auto before = m_graph.PlayFrom(5, 3);
    ASSERT_EQ(IndexOf(before.front()), uiFirst);
    const std::size_t uiNext = uiFirst + before.size();
    ASSERT_EQ(m_times[uiNext], 5);
    const auto after = m_graph.PlayFrom(5, 2);
    EXPECT_EQ(IndexOf(after.front()), uiNext);
}

TEST_F(EqualTimes, AStartAfterASetRateGoesBackToTheFirstOfTheMillisecond)
{
    const std::size_t uiFirst = FirstAt(5);
    ASSERT_EQ(m_graph.PlayFrom(5, 3).size(), 3U);
    ASSERT_EQ(m_graph.SetRate(0), S_OK);
    EXPECT_EQ(IndexOf(m_graph.PlayFrom(5, 2).front()), uiFirst);
    // The rate counts for one start only.
    EXPECT_EQ(IndexOf(m_graph.PlayFrom(5, 2).front()), uiFirst + 2);
}

TEST_F(EqualTimes, AStoppedSessionGoesToTheFirstOfTheMillisecond)
{
    const std::size_t uiFirst = FirstAt(5);
    ASSERT_EQ(m_graph.PlayFrom(5, 3).size(), 3U);
    ASSERT_EQ(m_graph.Session().Stop(), S_OK);
    EXPECT_EQ(IndexOf(m_graph.PlayFrom(5, 2).front()), uiFirst);
}

}  // namespace
}  // namespace mftest
