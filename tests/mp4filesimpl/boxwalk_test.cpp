// Frame times from hand-made boxes. Every expected list is worked out in the test or written down.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "mp4filesimpl/boxwalk.h"
#include "support/box_builder.h"
#include "support/short_memory.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

using Times = std::vector<std::uint64_t>;

struct SRead
{
    QmStatus m_nStatus;
    Times m_vTimes;
};

SRead ReadTimes(const std::string& strFile)
{
    const TemporaryFile file(strFile);
    SRead read = {};
    read.m_nStatus = ReadFrameTimes(file.Path().wstring().c_str(), read.m_vTimes);
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
    const TemporaryFile file(strFile);
    SWalk walk;
    QmFileHandle hFile = nullptr;
    EXPECT_EQ(QM_OpenFile(file.Path().wstring().c_str(), QM_FILE_READ, QM_SHARE_READ, -1, &hFile), QM_OK);
    walk.m_nStatus = WalkBoxes(hFile, 0, uiTarget, walk.m_vTimes, walk.m_nTimescale, walk.m_bFoundMdhd,
                               walk.m_bFoundMinf, walk.m_bFoundStts);
    QM_CloseFile(hFile);
    return walk;
}

TEST(BoxWalk, ReturnsRunningSumsInTicksAndWhichBoxesItFound)
{
    const SWalk walk = WalkFile(FileType() + Movie(Track(600, {{2, 20}, {1, 30}})));
    EXPECT_EQ(walk.m_nStatus, QM_OK);
    EXPECT_EQ(walk.m_vTimes, (Times{20, 40, 70}));
    EXPECT_EQ(walk.m_nTimescale, 600);
    EXPECT_TRUE(walk.m_bFoundMdhd);
    EXPECT_TRUE(walk.m_bFoundMinf);
    EXPECT_TRUE(walk.m_bFoundStts);
}

TEST(FrameTimes, MediaDataBeforeTheMovieIsSteppedOver)
{
    const std::string strMdat = Box("mdat", std::string(100'000, 'm'));
    const SRead read = ReadTimes(FileType() + strMdat + Movie(Track(1000, {{3, 40}})));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40, 80}));
}

TEST(FrameTimes, MediaDataAfterTheMovieIsNotReached)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{3, 40}})) + BoxOfSize(0, "mdat", "cut"));
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes, (Times{0, 40, 80}));
}

// Read from its second byte on, the header is a box of 0x016D bytes. After it, the media data reads as a box that is
// larger than the file, so the walk runs past the end and never meets a size of 0.
TEST(FrameTimes, A64BitBoxSizeIsNotUnderstoodAndTheWalkRunsPastTheEnd)
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

TEST(FrameTimes, AnAudioTrackBeforeTheVideoGivesItsOwnSampleTimes)
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

TEST(FrameTimes, AMovieWithoutMediaHeaderFailsThoughTheWalkReturnsZero)
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

// The sign is extended to 64 bits, which makes the divisor larger than any time.
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

TEST(FrameTimes, ATableCutAfterItsFirstEntryCountsUpToTheCut)
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
    EXPECT_EQ(without.m_nStatus, QM_OK);  // the status of the level below is dropped
    EXPECT_FALSE(without.m_bFoundStts);
}

// --- hostile files ---

TEST(FrameTimes, MoreSamplesThanTheFileHasBytesAreRefusedBeforeTheListGrows)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{0xFFFFFFFFU, 1}})));
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_LT(read.m_vTimes.capacity(), 1000U);
}

TEST(FrameTimes, ManyEntriesTogetherCannotClaimMoreSamplesThanTheFileHasBytes)
{
    const SRead read = ReadTimes(FileType() + Movie(Track(1000, {{200, 1}, {200, 1}, {200, 1}})));
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_LE(read.m_vTimes.size(), 401U);
}

TEST(FrameTimes, AFileOfTinyBoxesOnlyFails)
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
    strHeader.replace(0, 4, Word(0));  // so the step to its sibling leads back to it
    EXPECT_EQ(ReadTimes(FileType() + Movie(Track(strHeader + MediaInfo(SampleTable({{2, 40}}))))).m_nStatus,
              QM_ERR_FAIL);
}

// --- sparse files ---

// A file with a forged size: after its contents come zeros that aren't on the disk.
class CSparseFile
{
public:
    CSparseFile(const std::string& strContents, std::uint64_t uiSize) : m_file(strContents)
    {
        std::error_code error;
        std::filesystem::resize_file(m_file.Path(), uiSize, error);
        m_bMade = !error;
    }

    bool IsMade() const { return m_bMade; }

    SRead ReadTimes() const
    {
        SRead read = {};
        read.m_nStatus = ReadFrameTimes(m_file.Path().wstring().c_str(), read.m_vTimes);
        return read;
    }

private:
    const TemporaryFile m_file;
    bool m_bMade = false;
};

constexpr std::uint32_t g_uiManySamples = 20'000'000;
constexpr std::size_t g_uiMiB = std::size_t{1} << 20;

TEST(FrameTimesOfSparseFiles, MoreSamplesThanTheFileHoldsAreRefusedBeforeTheListGrows)
{
    const CSparseFile file(FileType() + Movie(Track(1000, {{g_uiManySamples, 40}})), std::uint64_t{1} << 30);
    if (!file.IsMade()) GTEST_SKIP() << "no sparse files here";
    const SRead read = file.ReadTimes();
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_LT(read.m_vTimes.capacity(), 1000U);
}

TEST(FrameTimesOfSparseFiles, ManyEntriesTogetherCannotClaimMoreSamplesThanTheFileHolds)
{
    const CSparseFile file(FileType() + Movie(Track(1000, {{500'000, 40}, {500'000, 40}, {500'000, 40}})),
                           std::uint64_t{1} << 30);
    if (!file.IsMade()) GTEST_SKIP() << "no sparse files here";
    const SRead read = file.ReadTimes();
    EXPECT_EQ(read.m_nStatus, QM_ERR_FAIL);
    EXPECT_LE(read.m_vTimes.size(), 1'000'001U);
}

// Ordinary files are read for their boxes only.
TEST(FrameTimesOfSparseFiles, AFewSamplesNeedNoProof)
{
    const CSparseFile file(FileType() + Movie(Track(1000, {{1'000'000, 40}})), std::uint64_t{1} << 30);
    if (!file.IsMade()) GTEST_SKIP() << "no sparse files here";
    const SRead read = file.ReadTimes();
    EXPECT_EQ(read.m_nStatus, QM_OK);
    EXPECT_EQ(read.m_vTimes.size(), 1'000'000U);
}

TEST(FrameTimesOfSparseFiles, EntriesWithoutSamplesAreReadAMillionTimesAtMost)
{
    const auto WithEntries = [](std::uint32_t uiEntries) {
        const std::string strTable = BoxOfSize(16, "stts", Word(0) + Word(uiEntries));
        return FileType() + Movie(Track(MediaHeader(1000) + MediaInfo(strTable)));
    };
    const CSparseFile few(WithEntries(1'000'000), std::uint64_t{64} << 20);
    const CSparseFile many(WithEntries(1'000'001), std::uint64_t{64} << 20);
    if (!few.IsMade() || !many.IsMade()) GTEST_SKIP() << "no sparse files here";
    EXPECT_EQ(few.ReadTimes().m_nStatus, QM_OK);
    EXPECT_EQ(many.ReadTimes().m_nStatus, QM_ERR_FAIL);
}

// What a file really holds counts wherever it lies. The walk goes on in the table where it left it for the count.
TEST(FrameTimesOfSparseFiles, ManySamplesAreBelievedOfAFileThatHoldsAByteFor16OfThem)
{
    const std::string strMovie = Movie(Track(1000, {{1'500'000, 10}, {0, 7}, {1'000'000, 20}, {1, 30}}));
    const std::string strMdat = Box("mdat", std::string(160'000, 'm'));
    const std::string strHole = Box("free", std::string(16 * g_uiMiB, '\0'));
    for (const std::string& strFile :
         {strMovie + strMdat + strHole, strMdat + strMovie + strHole, strHole + strMdat + strMovie})
    {
        const SRead read = ReadTimes(strFile);
        EXPECT_EQ(read.m_nStatus, QM_OK);
        ASSERT_EQ(read.m_vTimes.size(), 2'500'001U);
        EXPECT_EQ(read.m_vTimes[1'499'999], 14'999'990U);
        EXPECT_EQ(read.m_vTimes[1'500'001], 15'000'020U);
        EXPECT_EQ(read.m_vTimes[2'500'000], 35'000'000U);
    }
}

TEST(FrameTimesOfSparseFiles, OneByteLessIsTooFew)
{
    const auto WithMediaData = [](std::size_t uiBytes) {
        const std::string strMdat = Box("mdat", std::string(uiBytes, 'm') + std::string(2 * g_uiMiB, '\0'));
        return Movie(Track(1000, {{1'600'000, 40}})) + strMdat;
    };
    // Bytes that aren't zero, counted in another way than the walk does.
    const auto CountHeld = [](const std::string& strFile) {
        return strFile.size() - static_cast<std::size_t>(std::count(strFile.begin(), strFile.end(), '\0'));
    };
    const std::size_t uiOther = CountHeld(WithMediaData(90'000)) - 90'000;
    const std::string strEnough = WithMediaData(100'000 - uiOther);
    const std::string strTooFew = WithMediaData(99'999 - uiOther);
    ASSERT_EQ(CountHeld(strEnough), 100'000U);
    ASSERT_EQ(CountHeld(strTooFew), 99'999U);
    EXPECT_EQ(ReadTimes(strEnough).m_nStatus, QM_OK);
    EXPECT_EQ(ReadTimes(strTooFew).m_nStatus, QM_ERR_FAIL);
}

// The zeros of a terabyte would take minutes to read.
TEST(FrameTimesOfSparseFiles, ALongHoleIsNotReadToItsEnd)
{
    const CSparseFile file(FileType() + Movie(Track(1000, {{0xFFFFFFFF, 40}})), std::uint64_t{1} << 40);
    if (!file.IsMade()) GTEST_SKIP() << "no sparse files here";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(file.ReadTimes().m_nStatus, QM_ERR_FAIL);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

// --- without memory ---

bool IsOpenInThisProcess(const std::filesystem::path& path)
{
#ifdef _WIN32
    const HANDLE hFile = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return true;  // it can't be had alone
    CloseHandle(hFile);
    return false;
#else
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::any_of(begin(files), end(files), [&](const auto& file) {
        std::error_code error;  // the list has an entry of its own reading, which is gone already
        return std::filesystem::read_symlink(file, error) == path;
    });
#endif
}

TEST(FrameTimes, NoMemoryForTheListFailsAndLeavesNoFileOpen)
{
    const TemporaryFile file(FileType() + Movie(Track(1000, {{100, 40}, {50, 20}})));
    const std::wstring strPath = file.Path().wstring();
    {
        const std::ifstream open(file.Path());
        EXPECT_TRUE(IsOpenInThisProcess(file.Path()));
    }
    unsigned uiRefused = 1;
    for (unsigned uiRequest = 1; uiRefused != 0; ++uiRequest)
    {
        Times vTimes;
        QmStatus nStatus = QM_OK;
        {
            const CShortMemory memory(uiRequest);
            EXPECT_NO_THROW(nStatus = ReadFrameTimes(strPath.c_str(), vTimes)) << uiRequest;
            uiRefused = memory.GetRefused();
        }
        EXPECT_EQ(nStatus == QM_OK, uiRefused == 0) << uiRequest;
        EXPECT_FALSE(IsOpenInThisProcess(file.Path())) << uiRequest;
    }
}

}  // namespace
