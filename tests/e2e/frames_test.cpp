// Pictures by index: frame k is the k-th picture of a plain decode, in whatever order the host asks.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <numeric>
#include <random>

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/picture_definition.h"
#include "support/repetitions.h"
#include "support/temporary_folder.h"
#include "video_cases.h"

namespace
{

using namespace test_support;

// A video, and its pictures as they are to be read.
class CExpectedVideo
{
public:
    CExpectedVideo(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight)
        : m_path(path), m_uiRowBytes(FrameRowBytes(uiWidth))
    {
        for (const auto& vPlanar : DecodePlain(path, uiWidth, uiHeight))
            m_vPictures.push_back(DeliveredPicture(vPlanar, uiWidth, uiHeight));
    }

    const std::filesystem::path m_path;
    const std::size_t m_uiRowBytes;
    std::vector<std::vector<std::uint8_t>> m_vPictures;
};

// The video of a case, made when it is first asked for: making it takes longer than most tests.
const CExpectedVideo& VideoOf(const e2e::VideoCase& video)
{
    static const TemporaryFolder folder;
    static std::map<std::string, CExpectedVideo> mapVideos;
    const auto it = mapVideos.find(video.m_strName);
    if (it != mapVideos.end()) return it->second;
    const std::filesystem::path path = folder / (video.m_strName + ".mp4");
    e2e::MakeVideo(video, path);
    return mapVideos.try_emplace(video.m_strName, path, video.m_uiWidth, video.m_uiHeight).first->second;
}

class ReadFrames : public testing::Test
{
protected:
    void Open(const CExpectedVideo& video)
    {
        m_pExpected = &video.m_vPictures;
        m_file = m_host.OpenInput(video.m_path);
        SQmImageAttributes attributes;
        ASSERT_EQ(QM_OK, m_file->GetImageAttributes(&attributes));
        ASSERT_EQ(Count(), attributes.m_uiSequenceCount);
        ASSERT_EQ(video.m_uiRowBytes, attributes.m_uiWidthBytes);
    }

    std::size_t Count() const { return m_pExpected->size(); }
    const std::vector<std::uint8_t>& Expected(std::size_t uiFrame) const { return (*m_pExpected)[uiFrame]; }

    // Reads a frame into a buffer of some other content and compares every byte.
    testing::AssertionResult ReadsRight(std::size_t uiFrame)
    {
        std::vector<std::uint8_t> vRead(Expected(uiFrame).size(), 0xA5);
        const QmStatus nStatus = m_file->ReadFrame(static_cast<std::uint32_t>(uiFrame), vRead.data(), nullptr, nullptr);
        if (nStatus != QM_OK) return testing::AssertionFailure() << "frame " << uiFrame << " gives " << nStatus;
        if (vRead == Expected(uiFrame)) return testing::AssertionSuccess();
        const auto it = std::find(m_pExpected->begin(), m_pExpected->end(), vRead);
        return testing::AssertionFailure()
               << "frame " << uiFrame << " is "
               << (it == m_pExpected->end() ? "no picture of the video"
                                            : "picture " + std::to_string(it - m_pExpected->begin()));
    }

    const std::vector<std::vector<std::uint8_t>>* m_pExpected = nullptr;
    ModuleHost m_host;
    InputFile m_file;
};

class Frames : public ReadFrames, public testing::WithParamInterface<e2e::VideoCase>
{
protected:
    void SetUp() override { Open(VideoOf(GetParam())); }
};

TEST_P(Frames, DifferFromEachOtherSoThatAWrongOneShows)
{
    for (std::size_t ui = 1; ui < Count(); ++ui)
    {
        ASSERT_NE(Expected(ui - 1), Expected(ui)) << "pictures " << ui - 1 << " and " << ui;
    }
}

TEST_P(Frames, ReadInOrder)
{
    for (std::size_t ui = 0; ui < Count(); ++ui)
        ASSERT_TRUE(ReadsRight(ui));
}

// With a smaller share only the last frames, more than fit into a window.
TEST_P(Frames, ReadBackwards)
{
    const auto uiFrames = static_cast<std::size_t>(std::max(60, Repetitions(static_cast<int>(Count()))));
    for (std::size_t ui = Count(); ui-- > 0 && Count() - ui <= uiFrames;)
        ASSERT_TRUE(ReadsRight(ui));
}

TEST_P(Frames, ReadTwiceEach)
{
    for (std::size_t ui = 0; ui < Count(); ui += 7)
    {
        ASSERT_TRUE(ReadsRight(ui));
        ASSERT_TRUE(ReadsRight(ui));
    }
}

// Distances around the two windows, forwards and backwards, from frames all over the video.
TEST_P(Frames, ReadAcrossTheWindowsOf48And8)
{
    unsigned int uiPair = 0;
    for (const std::ptrdiff_t nStep : {1, 2, 7, 8, 9, 10, 47, 48, 49, 50, -1, -7, -8, -9, -47, -48, -49})
    {
        for (const std::size_t uiFrom : {std::size_t{0}, Count() / 3, Count() / 2, Count() - 1})
        {
            if (uiPair++ % (Stride(3) | 1) != 0) continue;
            ASSERT_TRUE(ReadsRight(uiFrom));
            const std::ptrdiff_t nTo = static_cast<std::ptrdiff_t>(uiFrom) + nStep;
            if (nTo < 0 || nTo >= static_cast<std::ptrdiff_t>(Count())) continue;
            ASSERT_TRUE(ReadsRight(static_cast<std::size_t>(nTo))) << "after frame " << uiFrom;
        }
    }
}

TEST_P(Frames, ReadShuffled)
{
    const unsigned int uiSeed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(uiSeed));
    std::mt19937 random(uiSeed);
    std::vector<std::size_t> vOrder(Count());
    std::iota(vOrder.begin(), vOrder.end(), std::size_t{0});
    std::shuffle(vOrder.begin(), vOrder.end(), random);
    vOrder.resize(std::min(vOrder.size(), static_cast<std::size_t>(Repetitions(static_cast<int>(Count())))));
    for (const std::size_t ui : vOrder)
        ASSERT_TRUE(ReadsRight(ui));
}

TEST_P(Frames, ReadAtRandomThousandsOfTimesWithoutOneWrongFrame)
{
    const unsigned int uiSeed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(uiSeed));
    std::mt19937 random(uiSeed);
    std::uniform_int_distribution<std::size_t> frame(0, Count() - 1);
    const int nReads = Repetitions(2000);
    for (int n = 0; n < nReads; ++n)
        ASSERT_TRUE(ReadsRight(frame(random))) << "read " << n;
}

// A play is of 48 frames at most, and so none comes to the end of the video here.
TEST_P(Frames, ReadAtRandomFarFromTheEnd)
{
    if (Count() <= 60) GTEST_SKIP() << "a short video";
    const std::size_t uiEnd = Count() - 60;
    const unsigned int uiSeed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(uiSeed));
    std::mt19937 random(uiSeed);
    std::uniform_int_distribution<std::size_t> frame(0, uiEnd - 1);
    const int nReads = std::max(20, Repetitions(100));
    for (int n = 0; n < nReads; ++n)
        ASSERT_TRUE(ReadsRight(frame(random))) << "read " << n;
}

TEST_P(Frames, PastTheLastFailAtOnceAndTheFileReadsOn)
{
    std::vector<std::uint8_t> vBuffer(Expected(0).size(), 0xA5);
    const std::vector<std::uint8_t> vBefore = vBuffer;
    for (const std::uint32_t ui : {static_cast<std::uint32_t>(Count()), 0xFFFFFFFFu})
    {
        EXPECT_EQ(QM_ERR_FAIL, m_file->ReadFrame(ui, vBuffer.data(), nullptr, nullptr));
        EXPECT_EQ(vBefore, vBuffer);
    }
    EXPECT_TRUE(ReadsRight(Count() - 1));
}

// A timescale of 2^31 and more is a number below 0 to the list of times, in which every frame is at 0 then. The session
// goes by other times.
TEST_F(ReadFrames, OfATimescaleWithItsTopBitSetAreTheRightOnes)
{
    const TemporaryFolder folder;
    const auto path = folder / "video.mp4";
    e2e::MakeVideo(e2e::HighProfileCases().front(), path);
    std::vector<std::uint8_t> vFile = ReadBytes(path);
    SetWordAt(vFile, FindBox(vFile, "moov/trak/mdia/mdhd").m_uiPayload + 12, 0x80003200);
    WriteBytes(path, vFile);
    const CExpectedVideo video(path, e2e::g_uiWidth, e2e::g_uiHeight);
    ASSERT_NO_FATAL_FAILURE(Open(video));
    EXPECT_EQ(CachedTimes(m_file.Get()), std::vector<double>(Count(), 0));

    for (std::size_t ui = 0; ui < Count(); ++ui)
        ASSERT_TRUE(ReadsRight(ui)) << "in order";
    const unsigned int uiSeed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(uiSeed));
    std::mt19937 random(uiSeed);
    std::uniform_int_distribution<std::size_t> frame(0, Count() - 1);
    for (int n = 0; n < 100; ++n)
        ASSERT_TRUE(ReadsRight(frame(random))) << "read " << n;
}

INSTANTIATE_TEST_SUITE_P(Videos, Frames, testing::ValuesIn(e2e::HighProfileCases()),
                         [](const auto& videoCase) { return videoCase.param.m_strName; });

}  // namespace
