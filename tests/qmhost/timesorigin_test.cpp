// Whose times a list is: files with the video first, with another track first, and with fragments.
#include <random>

#include <gtest/gtest.h>

#include "memory_bytes.h"
#include "parts/timesorigin.h"
#include "support/box_builder.h"
#include "support/repetitions.h"

namespace qmhost
{
namespace
{

using namespace test_support;

// More would mean that a walk runs in circles.
constexpr unsigned MOST_READS = 400'000;

using Entries = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // frames and their duration

struct Track
{
    std::string m_strHandler;
    std::uint32_t m_uiId;
    std::uint32_t m_uiTimescale;
    Entries m_vTimes;
    std::uint32_t m_uiSizes;        // pictures that the table of sizes lists
    std::uint32_t m_uiVersion = 0;  // of the headers; 1 has dates of 64 bits
};

std::string MakeTimedTrack(const Track& track)
{
    std::string stts = Word(0) + Word(static_cast<std::uint32_t>(track.m_vTimes.size()));
    for (const auto& [uiFrames, uiDuration] : track.m_vTimes)
        stts += Word(uiFrames) + Word(uiDuration);
    const std::string stsz = Word(0) + Word(7) + Word(track.m_uiSizes);
    const std::string start = Word(track.m_uiVersion << 24) + std::string(track.m_uiVersion == 0 ? 8 : 16, '\0');
    const std::string tkhd = start + Word(track.m_uiId) + std::string(68, '\0');
    const std::string mdhd = start + Word(track.m_uiTimescale) + std::string(8, '\0');
    const std::string hdlr = std::string(8, '\0') + track.m_strHandler + std::string(13, '\0');
    const std::string stbl = Box("stbl", Box("stts", stts) + Box("stsz", stsz));
    return Box("trak", Box("tkhd", tkhd) + Box("mdia", Box("mdhd", mdhd) + Box("hdlr", hdlr) + Box("minf", stbl)));
}

// A fragment with a run for each number of pictures.
std::string MakeFragment(std::uint32_t uiTrack, const std::vector<std::uint32_t>& vRuns)
{
    std::string traf = Box("tfhd", Word(0x020000) + Word(uiTrack));
    for (const std::uint32_t uiPictures : vRuns)
        traf += Box("trun", Word(0) + Word(uiPictures));
    return Box("moof", Box("mfhd", std::string(8, '\0')) + Box("traf", traf)) + Box("mdat", "data");
}

// 30 pictures at 25 a second; 53 blocks of sound.
const Track VIDEO = {"vide", 2, 12800, {{30, 512}}, 30};
const Track SOUND = {"soun", 1, 44100, {{52, 1024}, {1, 688}}, 53};

std::string MakeFile(const std::vector<Track>& vTracks, const std::string& more = "")
{
    std::string tracks;
    for (const Track& track : vTracks)
        tracks += MakeTimedTrack(track);
    return FileType() + Movie(tracks) + more;
}

// The starts of frames in whole milliseconds, cut as the module does.
std::vector<double> TimesOf(const Track& track)
{
    std::vector<double> vTimes;
    std::uint64_t uiTicks = 0;
    for (const auto& [uiFrames, uiDuration] : track.m_vTimes)
    {
        for (std::uint32_t i = 0; i < uiFrames; ++i, uiTicks += uiDuration)
            vTimes.push_back(static_cast<double>(uiTicks * 1000 / track.m_uiTimescale));
    }
    return vTimes;
}

TimesOrigin Find(const std::string& file, const std::vector<double>& vTimes)
{
    MemoryBytes source(file);
    const TimesOrigin origin = FindTimesOrigin(source, vTimes);
    EXPECT_LE(source.Reads(), MOST_READS);
    return origin;
}

TEST(TimesOrigin, VideoAlone)
{
    const TimesOrigin origin = Find(MakeFile({VIDEO}), TimesOf(VIDEO));
    EXPECT_EQ(origin.m_eOrigin, ETimesOrigin::Video);
    EXPECT_FALSE(origin.IsForeign());
    EXPECT_EQ(origin.Problem("a.mp4"), "");
}

TEST(TimesOrigin, VideoBeforeSound)
{
    EXPECT_EQ(Find(MakeFile({VIDEO, SOUND}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
}

TEST(TimesOrigin, SoundBeforeVideo)
{
    const TimesOrigin origin = Find(MakeFile({SOUND, VIDEO}), TimesOf(SOUND));
    EXPECT_EQ(origin.m_eOrigin, ETimesOrigin::OtherTrack);
    EXPECT_TRUE(origin.IsForeign());
    EXPECT_EQ(origin.Problem("a b.mp4"),
              "the times and the number of frames of 'a b.mp4' aren't those of its video: its first track is a sound "
              "track; a copy of the video alone has the right ones: ffmpeg -i 'a b.mp4' -map 0:v -c copy OUT.mp4");
}

TEST(TimesOrigin, SoundBeforeVideoOfTheSameCount)
{
    const Track sound = {"soun", 1, 44100, {{30, 1024}}, 30};
    EXPECT_EQ(Find(MakeFile({sound, VIDEO}), TimesOf(sound)).m_eOrigin, ETimesOrigin::OtherTrack);
}

// For example one entry of camera data for each picture.
TEST(TimesOrigin, OtherTrackWithTheVideosTimes)
{
    const Track data = {"meta", 1, 1000, {{30, 40}}, 30};
    EXPECT_EQ(Find(MakeFile({data, VIDEO}), TimesOf(data)).m_eOrigin, ETimesOrigin::Video);
}

TEST(TimesOrigin, OtherTrackFirstOfUnknownKind)
{
    const Track data = {"\x01zzz", 1, 1000, {{3, 40}}, 3};
    const TimesOrigin origin = Find(MakeFile({data, VIDEO}), TimesOf(data));
    EXPECT_EQ(origin.m_eOrigin, ETimesOrigin::OtherTrack);
    EXPECT_NE(origin.Problem("a").find("its first track is a track of kind '?zzz'; "), std::string::npos);
}

// The module plays such a file through and counts the pictures of the video.
TEST(TimesOrigin, SoundFirstButTheListIsTheVideos)
{
    EXPECT_EQ(Find(MakeFile({SOUND, VIDEO}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
    const Track noSound = {"soun", 1, 44100, {}, 0};
    const Track noVideo = {"vide", 2, 12800, {}, 0};
    EXPECT_EQ(
        Find(MakeFile({noSound, noVideo}, MakeFragment(1, {53}) + MakeFragment(2, {12, 18})), TimesOf(VIDEO)).m_eOrigin,
        ETimesOrigin::Video);
}

TEST(TimesOrigin, SecondVideoTrackIsNotLookedAt)
{
    const Track second = {"vide", 3, 12800, {{99, 512}}, 99};
    EXPECT_EQ(Find(MakeFile({VIDEO, second}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
}

TEST(TimesOrigin, FragmentsAfterACompleteIndex)
{
    const Track begin = {"vide", 2, 12800, {{4, 512}}, 4};
    const TimesOrigin origin = Find(MakeFile({begin}, MakeFragment(2, {4}) + MakeFragment(2, {22})), TimesOf(begin));
    EXPECT_EQ(origin.m_eOrigin, ETimesOrigin::PartOfVideo);
    EXPECT_EQ(origin.Problem("a.mp4"),
              "only the first 4 pictures of 'a.mp4' have times, more follow in fragments after its index; a copy with "
              "a new index has them all: ffmpeg -i 'a.mp4' -map 0:v -c copy OUT.mp4");
}

TEST(TimesOrigin, OneMorePictureInTheLastFragment)
{
    const Track begin = {"vide", 2, 12800, {}, 0};
    const std::string fragments = MakeFragment(2, {10, 10}) + MakeFragment(2, {10});
    EXPECT_EQ(Find(MakeFile({begin}, fragments), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
    EXPECT_EQ(Find(MakeFile({begin}, fragments + MakeFragment(2, {1})), TimesOf(VIDEO)).m_eOrigin,
              ETimesOrigin::PartOfVideo);
}

TEST(TimesOrigin, FragmentsOfOtherTracksDoNotCount)
{
    EXPECT_EQ(Find(MakeFile({VIDEO, SOUND}, MakeFragment(1, {5})), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
}

TEST(TimesOrigin, FragmentsWithoutPictures)
{
    EXPECT_EQ(Find(MakeFile({VIDEO}, MakeFragment(2, {0}) + MakeFragment(2, {})), TimesOf(VIDEO)).m_eOrigin,
              ETimesOrigin::Video);
}

TEST(TimesOrigin, MorePicturesThanTimesInOneIndex)
{
    const Track track = {"vide", 2, 12800, {{20, 512}}, 30};
    const TimesOrigin origin = Find(MakeFile({track}), TimesOf(track));
    EXPECT_EQ(origin.m_eOrigin, ETimesOrigin::PartOfVideo);
    EXPECT_NE(origin.Problem("a").find("only the first 20 pictures of 'a' have times, and its video track has 30; "),
              std::string::npos);
}

// Reading past the last picture fails, so no wrong picture comes of it.
TEST(TimesOrigin, FewerPicturesThanTimes)
{
    const Track track = {"vide", 2, 12800, {{30, 512}}, 20};
    EXPECT_EQ(Find(MakeFile({track}), TimesOf(track)).m_eOrigin, ETimesOrigin::Video);
}

TEST(TimesOrigin, HeadersWithDatesOf64Bits)
{
    Track sound = SOUND;
    Track video = VIDEO;
    sound.m_uiVersion = video.m_uiVersion = 1;
    EXPECT_EQ(Find(MakeFile({sound, video}), TimesOf(SOUND)).m_eOrigin, ETimesOrigin::OtherTrack);
    EXPECT_EQ(Find(MakeFile({sound, video}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
    EXPECT_EQ(Find(MakeFile({video}, MakeFragment(2, {1})), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::PartOfVideo);
}

// --- files that may hold anything ---

TEST(TimesOriginOfHostileFiles, NoVideoTrack)
{
    EXPECT_EQ(Find("", {}).m_eOrigin, ETimesOrigin::Unknown);
    EXPECT_EQ(Find("no boxes at all", {0.0}).m_eOrigin, ETimesOrigin::Unknown);
    EXPECT_EQ(Find(MakeFile({SOUND}), TimesOf(SOUND)).m_eOrigin, ETimesOrigin::Unknown);
}

TEST(TimesOriginOfHostileFiles, EveryTruncation)
{
    const std::string file = MakeFile({SOUND, VIDEO}, MakeFragment(2, {4}));
    const std::size_t uiMovieEnd = file.find("moof") - 4;
    for (std::size_t uiSize = 0; uiSize < file.size(); ++uiSize)
        EXPECT_EQ(Find(file.substr(0, uiSize), TimesOf(SOUND)).m_eOrigin,
                  uiSize < uiMovieEnd ? ETimesOrigin::Unknown : ETimesOrigin::OtherTrack)
            << uiSize;
}

TEST(TimesOriginOfHostileFiles, EveryWordReplaced)
{
    const std::string file = MakeFile({SOUND, VIDEO}, MakeFragment(2, {4}));
    for (std::size_t uiPosition = 0; uiPosition + 4 <= file.size(); ++uiPosition)
    {
        for (const std::uint32_t uiWord : {0u, 1u, 7u, 8u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        {
            std::string hostile = file;
            hostile.replace(uiPosition, 4, Word(uiWord));
            Find(hostile, TimesOf(SOUND));
            Find(hostile, TimesOf(VIDEO));
        }
    }
}

TEST(TimesOriginOfHostileFiles, ForgedCounts)
{
    const Track track = {"vide", 2, 12800, {{0xFFFFFFFF, 0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF}}, 0xFFFFFFFF};
    EXPECT_EQ(Find(MakeFile({track}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::PartOfVideo);
    const std::vector<std::uint32_t> vRuns(5, 0xFFFFFFFF);
    EXPECT_EQ(Find(MakeFile({VIDEO}, MakeFragment(2, vRuns)), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::PartOfVideo);
}

TEST(TimesOriginOfHostileFiles, TimescaleOfZero)
{
    Track sound = SOUND;
    sound.m_uiTimescale = 0;
    EXPECT_EQ(Find(MakeFile({sound, VIDEO}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Video);
    EXPECT_EQ(Find(MakeFile({sound, VIDEO}), {0.0, 1.0}).m_eOrigin, ETimesOrigin::OtherTrack);
}

TEST(TimesOriginOfHostileFiles, MillionsOfEntriesWithoutAFrame)
{
    Track sound = SOUND;
    sound.m_vTimes = Entries(2'000'000, {0, 5});
    EXPECT_EQ(Find(MakeFile({sound, VIDEO}), {}).m_eOrigin, ETimesOrigin::OtherTrack);
}

TEST(TimesOriginOfHostileFiles, MillionsOfTinyBoxesEndTheSearch)
{
    std::string boxes;
    for (int i = 0; i < 500'000; ++i)
        boxes += Box("free", "");
    EXPECT_EQ(Find(boxes + MakeFile({VIDEO}), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Unknown);
    EXPECT_EQ(Find(MakeFile({VIDEO}, boxes + MakeFragment(2, {4})), TimesOf(VIDEO)).m_eOrigin, ETimesOrigin::Unknown);
    EXPECT_EQ(Find(MakeFile({SOUND, VIDEO}, boxes), TimesOf(SOUND)).m_eOrigin, ETimesOrigin::OtherTrack);
}

TEST(TimesOriginOfHostileFiles, RandomBytes)
{
    std::mt19937 random(815);
    const std::string file = MakeFile({SOUND, VIDEO}, MakeFragment(2, {4}));
    const int nFiles = test_support::Repetitions(3000);
    for (int i = 0; i < nFiles; ++i)
    {
        std::string hostile = file;
        for (int n = 0; n < 4; ++n)
            hostile[random() % hostile.size()] = static_cast<char>(random());
        Find(hostile, TimesOf(SOUND));
    }
}

// One picture a fragment, as a camera writes it that may lose power at any time.
TEST(TimesOrigin, FragmentOfOnePictureEach)
{
    constexpr std::uint32_t FRAMES = 30'000;
    const Track none = {"vide", 2, 12800, {}, 0};
    std::string fragments;
    std::vector<double> vTimes;
    for (std::uint32_t i = 0; i < FRAMES; ++i)
    {
        fragments += MakeFragment(2, {1});
        vTimes.push_back(40.0 * i);
    }
    MemoryBytes source(MakeFile({none}, fragments));
    EXPECT_EQ(FindTimesOrigin(source, vTimes).m_eOrigin, ETimesOrigin::Video);
}

}  // namespace
}  // namespace qmhost
