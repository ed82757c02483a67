// Frame times from hand-made boxes. Every expected list is worked out in the test or written down.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "box_builder.h"
#include "mp4filesimpl/boxwalk.h"
#include "temporary_file.h"

namespace
{

using Times = std::vector<std::uint64_t>;

struct SRead
{
    QmStatus m_nStatus;
    Times m_vTimes;
};

SRead ReadTimes(const std::string& strFile)
{
    const CTemporaryFile file(strFile);
    SRead read = {};
    read.m_nStatus = ReadFrameTimes(file.Path().c_str(), read.m_vTimes);
    return read;
}

struct SWalk
{
    QmStatus m_nStatus = 1;
    Times m_vTimes;
    std::int32_t m_nTimescale = 0;
    bool m_bFoundMdhd = false;
    bool m_bFoundMinf = false;
    bool m_bFoundStts = false;
};

SWalk WalkFile(const std::string& strFile, std::uint32_t uiTarget = BoxType("moov"))
{
    const CTemporaryFile file(strFile);
    SWalk walk;
    QmFileHandle hFile = nullptr;
    EXPECT_EQ(QM_OpenFile(file.Path().c_str(), QM_FILE_READ, QM_SHARE_READ, -1, &hFile), QM_OK);
    walk.m_nStatus = WalkBoxes(hFile, 0, uiTarget, walk.m_vTimes, walk.m_nTimescale, walk.m_bFoundMdhd,
                               walk.m_bFoundMinf, walk.m_bFoundStts);
    QM_CloseFile(hFile);
    return walk;
}

TEST(BoxWalk, GivesRunningSumsInTicksAndTellsWhatItMet)
{
    const SWalk walk = WalkFile(FileType() + Movie(Track(600, {{2, 20}, {1, 30}})));
    EXPECT_EQ(walk.m_nStatus, QM_OK);
    EXPECT_EQ(walk.m_vTimes, (Times{20, 40, 70}));
    EXPECT_EQ(walk.m_nTimescale, 600);
    EXPECT_TRUE(walk.m_bFoundMdhd);
    EXPECT_TRUE(walk.m_bFoundMinf);
    EXPECT_TRUE(walk.m_bFoundStts);
}

TEST(FrameTimes, MediaDataInFrontOfTheMovieIsSteppedOver)
{
    const std::string strMdat = Box("mdat", std::string(100'000, 'm'));
    const SRead read = ReadTimes(FileType() + strMdat + Movie(Track(1000, {{3, 40}})));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40, 80}));
}

TEST(FrameTimes, MediaDataBehindTheMovieIsNotReached)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{3, 40}})) + BoxOfSize(0, "mdat", "cut"));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40, 80}));
}

// Read from its second byte on, the header is a box of 0x016D bytes, behind which the media data is taken for a box
// that is larger than the file: the walk leaves the file without having met a size of 0.
TEST(FrameTimes, A64BitBoxSizeIsNotUnderstoodAndTheWalkRunsOffTheEnd)
{
    const std::string strMdat = BoxOfSize(1, "mdat", Word(0) + Word(16 + 1000) + std::string(1000, 'm'));
    ASSERT_EQ(strMdat.substr(1 + 0x16D, 4), "mmmm");
    EXPECT_EQ(ReadTimes(strMdat + Movie(Track(1000, {{3, 40}}))).m_nStatus, QM_ERR_FAIL);
}

// Read from its second byte on, 00 00 00 01 'm' is a box of 0x0000016D bytes.
TEST(FrameTimes, A64BitBoxSizeMovesTheWalkOnByOneByte)
{
    const std::string strMdat = BoxOfSize(1, "mdat", std::string(1 + 0x16D - 8, 'x'));
    const SRead read = ReadTimes(strMdat + Movie(Track(1000, {{2, 40}})));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40}));
}

TEST(FrameTimes, ABoxOfSizeZeroThatIsNotLookedForEndsTheWalk)
{
    EXPECT_EQ(ReadTimes(BoxOfSize(0, "mdat", std::string(100, 'm')) + Movie(Track(1000, {{3, 40}}))).m_nStatus,
              QM_ERR_FAIL);
}

TEST(FrameTimes, AMovieOfSizeZeroIsWalked)
{
    std::string strMovie = Movie(Track(1000, {{3, 40}}));
    strMovie.replace(0, 4, Word(0));
    EXPECT_EQ(ReadTimes(FileType() + strMovie).m_vTimes, (Times{0, 40, 80}));
}

TEST(FrameTimes, AnAudioTrackInFrontGivesItsOwnSampleTimes)
{
    const std::string strSound = Track(48000, {{5, 1024}});
    const std::string strVideo = Track(1000, {{3, 40}});
    const SRead read = ReadTimes(FileType() + Movie(strSound + strVideo));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 21, 42, 64, 85}));  // 1024 / 48 = 21.33 ms each
}

TEST(FrameTimes, ATimescaleOfZeroFails)
{
    EXPECT_EQ(ReadTimes(FileType() + Movie(Track(0, {{3, 40}}))).m_nStatus, QM_ERR_FAIL);
}

TEST(FrameTimes, AMovieWithoutMediaHeaderFailsThoughTheWalkGivesZero)
{
    const std::string strFile = FileType() + Movie(Track(MediaInfo(SampleTable({{3, 40}}))));
    const SWalk walk = WalkFile(strFile);
    EXPECT_EQ(walk.m_nStatus, QM_OK);
    EXPECT_FALSE(walk.m_bFoundMdhd);
    EXPECT_EQ(walk.m_nTimescale, 0);
    EXPECT_EQ(ReadTimes(strFile).m_nStatus, QM_ERR_FAIL);
}

TEST(FrameTimes, ASampleTableWithoutEntriesIsIncomplete)
{
    const std::string strFile = FileType() + Movie(Track(1000, {}));
    const SWalk walk = WalkFile(strFile);
    EXPECT_EQ(walk.m_nStatus, QM_OK);
    EXPECT_TRUE(walk.m_bFoundMdhd);
    EXPECT_TRUE(walk.m_bFoundMinf);
    EXPECT_FALSE(walk.m_bFoundStts);
    const SRead read = ReadTimes(strFile);
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_EQ(read.m_vTimes, Times{});
}

TEST(FrameTimes, OneSampleGivesTheOneEntryZero)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{1, 12345}})));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, Times{0});
}

TEST(FrameTimes, TwoSamplesOf512TicksAt15360GiveZeroAnd33)
{
    EXPECT_EQ(ReadTimes(FileType() + Movie(Track(15360, {{2, 512}}))).m_vTimes, (Times{0, 33}));
}

TEST(FrameTimes, DifferentDeltasGiveDifferentSteps)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{1, 7}, {2, 100}, {1, 3'600'000}, {1, 1}})));
    EXPECT_EQ(read.m_vTimes, (Times{0, 7, 107, 207, 3'600'207}));
}

TEST(FrameTimes, AnEntryWithoutSamplesCountsAsFound)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{0, 40}})));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, Times{});
}

TEST(FrameTimes, AFileThatEndsInsideABoxHeaderFails)
{
    const std::string strMovie = Movie(Track(1000, {{3, 40}}));
    for (std::size_t uiBytes = 1; uiBytes < 8; ++uiBytes)
    {
        EXPECT_EQ(ReadTimes(FileType() + strMovie.substr(0, uiBytes)).m_nStatus, QM_ERR_FAIL) << uiBytes;
    }
}

TEST(FrameTimes, AFileWithoutMovieFails)
{
    EXPECT_EQ(ReadTimes("").m_nStatus, QM_ERR_FAIL);
    EXPECT_EQ(ReadTimes(FileType()).m_nStatus, QM_ERR_FAIL);
}

TEST(FrameTimes, AMissingFileAndAFolderDoNotOpen)
{
    Times vTimes;
    EXPECT_EQ(ReadFrameTimes(L"no-such-file.mp4", vTimes), QM_ERR_FILEOPEN);
    EXPECT_EQ(ReadFrameTimes(std::filesystem::temp_directory_path().wstring().c_str(), vTimes), QM_ERR_FILEOPEN);
    EXPECT_EQ(vTimes, Times{});
}

TEST(FrameTimes, OtherVersionsOfTheMediaHeaderHaveWiderTimes)
{
    for (const std::uint32_t uiVersionAndFlags : {0x01000000U, 0x00000001U})
    {
        const std::string strHeader =
            Box("mdhd", Word(uiVersionAndFlags) + std::string(16, '\x55') + Word(500) + std::string(12, '\0'));
        const SRead read = ReadTimes(FileType() + Movie(Track(strHeader + MediaInfo(SampleTable({{2, 50}})))));
        EXPECT_EQ(read.m_nStatus, QM_OK);
        EXPECT_EQ(read.m_vTimes, (Times{0, 100}));
    }
}

// The sign is carried into 64 bits, which makes the divisor larger than any time.
TEST(FrameTimes, ATimescaleWithItsTopBitSetMakesEveryTimeZero)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(0x80000000U, {{3, 0xFFFFFFFFU}})));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 0, 0}));
}

TEST(FrameTimes, TimesThatExceed64BitsWhenScaledWrap)
{
    constexpr std::uint32_t uiSamples = 4'400'000;
    constexpr std::uint64_t uiFits = 4'294'967;  // times (2^32 - 1) ticks of 1000 ms is the last below 2^64
    const std::string strMdat = Box("mdat", std::string(uiSamples, 'm'));
    const SRead read = ReadTimes(Movie(Track(1, {{uiSamples, 0xFFFFFFFFU}})) + strMdat);
    ASSERT_EQ(read.m_nStatus, QM_OK);
    ASSERT_EQ(read.m_vTimes.size(), uiSamples);
    EXPECT_EQ(read.m_vTimes[uiFits], 18'446'742'798'104'265'000ULL);
    EXPECT_EQ(read.m_vTimes[uiFits + 3], 11'609'296'598'384ULL);  // less 2^64
}

// A level runs on past the end of its parent.
TEST(FrameTimes, ATargetMissingFromItsParentIsTakenFromItsLaterSiblings)
{
    const std::string strEmptyTrack = Box("trak", Box("tkhd", std::string(84, '\0')));
    const std::string strMedia = Box("mdia", MediaHeader(1000) + MediaInfo(SampleTable({{2, 40}})));
    const SRead read = ReadTimes(FileType() + Movie(strEmptyTrack + strMedia));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40}));
}

TEST(FrameTimes, ATableCutBehindItsFirstEntryCountsAsFarAsItGoes)
{
    std::string strFile = FileType() + Movie(Track(1000, {{2, 40}, {2, 50}}));
    strFile.resize(strFile.size() - 8);
    const SRead read = ReadTimes(strFile);
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40}));
}

TEST(BoxWalk, MediaInfoByItselfGoesDownAndIsSteppedOver)
{
    const SWalk walk = WalkFile(MediaInfo(SampleTable({{2, 40}})), BoxType("minf"));
    EXPECT_EQ(walk.m_nStatus, QM_OK);
    EXPECT_EQ(walk.m_vTimes, (Times{40, 80}));
    EXPECT_FALSE(walk.m_bFoundMdhd);
    EXPECT_TRUE(walk.m_bFoundMinf);

    const SWalk without = WalkFile(Box("minf", ""), BoxType("minf"));
    EXPECT_EQ(without.m_nStatus, QM_OK);  // what the level below gave is dropped
    EXPECT_FALSE(without.m_bFoundStts);
}

// --- hostile files ---

TEST(FrameTimes, MoreSamplesThanTheFileHasBytesAreRefusedBeforeTheListGrows)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{0xFFFFFFFFU, 1}})));
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_LT(read.m_vTimes.capacity(), 1000U);
}

TEST(FrameTimes, ManyEntriesTogetherCannotPromiseMoreSamplesThanTheFileHasBytes)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{200, 1}, {200, 1}, {200, 1}})));
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_LE(read.m_vTimes.size(), 401U);
}

TEST(FrameTimes, AFileOfNothingButTinyBoxesIsGivenUp)
{
    std::string strTiny;
    for (int i = 0; i < 1'100'000; ++i)
        strTiny += Word(4);  // each a box of 4 bytes whose type is the next size
    EXPECT_EQ(ReadTimes(strTiny + Movie(Track(1000, {{2, 40}}))).m_nStatus, QM_ERR_FAIL);

    strTiny.resize(std::size_t{4} * 900'000);
    EXPECT_EQ(ReadTimes(strTiny + Movie(Track(1000, {{2, 40}}))).m_vTimes, (Times{0, 40}));
}

TEST(FrameTimes, AMediaHeaderOfSizeZeroIsReadOnce)
{
    std::string strHeader = MediaHeader(1000);
    strHeader.replace(0, 4, Word(0));  // the way on to its sibling leads back to it
    EXPECT_EQ(ReadTimes(FileType() + Movie(Track(strHeader + MediaInfo(SampleTable({{2, 40}}))))).m_nStatus,
              QM_ERR_FAIL);
}

}  // namespace
