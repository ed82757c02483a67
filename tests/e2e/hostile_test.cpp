// Files from untrusted sources: the open ends with a status, soon and in little memory, and so does every read.
#include <gtest/gtest.h>

#include <chrono>
#include <system_error>

#include "peak_memory.h"
#include "support/ffmpeg.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/repetitions.h"
#include "support/temporary_folder.h"
#include "video_cases.h"

namespace
{

using namespace test_support;

using Clock = std::chrono::steady_clock;

// An ordinary open takes a few milliseconds; this is far above it and far below anything that hangs.
constexpr std::chrono::seconds g_limit{QM_SANITIZED ? 60 : 10};

// Far above what a picture of 32 x 32 needs, and far below what a file that is believed would take. The decoder's
// libraries are part of it.
constexpr std::uint64_t g_uiMemoryLimit = 300u << 20;

// Opens, asks for everything and reads some frames. Every answer may be a failure; none may take long, and the
// object must go afterwards.
void UseWhole(const ModuleHost& host, const std::filesystem::path& path, const std::string& strWhat)
{
    const auto begin = Clock::now();
    {
        const InputFile file = host.OpenInput(path);
        SQmImageAttributes attributes;
        const QmStatus nOpened = file->GetImageAttributes(&attributes);
        EXPECT_TRUE(nOpened == QM_OK || nOpened == QM_ERR_FAIL) << strWhat << " gives " << nOpened;
        if (nOpened == QM_OK)
        {
            SQmExperiment experiment;
            EXPECT_EQ(QM_OK, file->GetExperiment(experiment)) << strWhat;
            const std::uint64_t uiBytes = std::uint64_t{attributes.m_uiWidthBytes} * attributes.m_uiHeight;
            if (uiBytes != 0 && uiBytes <= 64u << 20)
            {
                std::vector<unsigned char> vBuffer(uiBytes);
                const std::uint32_t uiCount = attributes.m_uiSequenceCount;
                for (const std::uint32_t uiFrame : {0u, 1u, 2u, uiCount - 1, uiCount / 2, uiCount, 0u})
                {
                    const QmStatus nRead = file->ReadFrame(uiFrame, vBuffer.data(), nullptr, nullptr);
                    EXPECT_TRUE(nRead == QM_OK || nRead == QM_ERR_FAIL) << strWhat << " gives " << nRead;
                }
            }
        }
    }
    EXPECT_LT(Clock::now() - begin, g_limit) << strWhat;
}

class HostileFiles : public testing::Test
{
protected:
    void TearDown() override
    {
        const std::optional<std::uint64_t> peak = PeakMemory();
        if (QM_SANITIZED || !peak) return;
        // Not a difference: the system counts pages for each processor, and the sum may fall by some.
        EXPECT_LT(*peak, *m_peakBefore + g_uiMemoryLimit);
    }

    // About 2 KB: three pictures with reordering, moov after mdat.
    Bytes SmallVideo(const std::string& strOptions = "")
    {
        const auto path = m_dir / "small.mp4";
        MakeWithFfmpeg(
            "-f lavfi -i testsrc2=size=32x32:rate=25 -frames:v 3 -c:v libx264 -preset veryfast -profile:v high "
            "-pix_fmt yuv420p -bsf:v filter_units=remove_types=6 -fflags +bitexact " +
                strOptions,
            path);
        return ReadBytes(path);
    }

    // A file of its own: the system may hold the one before for a moment after the module has closed it.
    std::filesystem::path NextFile(const Bytes& vFile)
    {
        const auto path = m_dir / (std::to_string(++m_nFiles) + ".mp4");
        WriteBytes(path, vFile);
        return path;
    }

    void Use(const Bytes& vFile, const std::string& strWhat)
    {
        const auto path = NextFile(vFile);
        UseWhole(m_host, path, strWhat);
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }

    void UseTruncations(const Bytes& vFile)
    {
        ASSERT_LT(vFile.size(), 4096u);
        for (std::size_t ui = 0; ui < vFile.size(); ui += Stride(5))
            Use(Bytes(vFile.begin(), vFile.begin() + static_cast<std::ptrdiff_t>(ui)), "cut at " + std::to_string(ui));
    }

    void Refused(const Bytes& vFile)
    {
        const auto path = NextFile(vFile);
        const InputFile file = m_host.OpenInput(path);
        SQmImageAttributes attributes;
        EXPECT_EQ(QM_ERR_FAIL, file->GetImageAttributes(&attributes));
    }

    TemporaryFolder m_dir;
    ModuleHost m_host;
    const std::optional<std::uint64_t> m_peakBefore = PeakMemory();
    int m_nFiles = 0;
};

TEST_F(HostileFiles, ADirectoryIsRefused)
{
    const InputFile file = m_host.OpenInput(m_dir.Path());
    SQmImageAttributes attributes;
    EXPECT_EQ(QM_ERR_FAIL, file->GetImageAttributes(&attributes));
    SQmPictureMetadata metadata;
    EXPECT_EQ(QM_ERR_FILEOPEN, file->GetPictureMetadata(0, metadata, 0));
}

TEST_F(HostileFiles, AnEmptyFileIsRefused)
{
    Refused({});
}

TEST_F(HostileFiles, ATextFileIsRefused)
{
    const std::string strText = "frame,time_ms\n0,0\n1,40\n2,80\n";
    Refused(Bytes(strText.begin(), strText.end()));
}

TEST_F(HostileFiles, RandomBytesAreRefused)
{
    Bytes vFile(100000);
    std::uint32_t uiState = 12345;
    for (std::uint8_t& ui : vFile)
    {
        uiState = uiState * 1664525 + 1013904223;
        ui = static_cast<std::uint8_t>(uiState >> 24);
    }
    Refused(vFile);
}

TEST_F(HostileFiles, EveryTruncationOfASmallFileEndsWithAStatus)
{
    UseTruncations(SmallVideo());
}

TEST_F(HostileFiles, EveryTruncationOfASmallFileWithItsTablesFirstEndsWithAStatus)
{
    UseTruncations(SmallVideo("-movflags +faststart"));
}

TEST_F(HostileFiles, EveryReplacedWordOfMoovEndsWithAStatus)
{
    const Bytes vFile = SmallVideo();
    const Mp4Box moov = FindBox(vFile, "moov");
    for (std::size_t uiAt = moov.m_uiHeader; uiAt + 4 <= moov.m_uiEnd; uiAt += 4 * Stride(3))
    {
        for (const std::uint32_t uiWord : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        {
            Bytes vReplaced = vFile;
            SetWordAt(vReplaced, uiAt, uiWord);
            Use(vReplaced, "word " + std::to_string(uiWord) + " at moov + " + std::to_string(uiAt - moov.m_uiHeader));
        }
    }
}

// The word at every place, not only at multiples of four: fields of moov aren't aligned.
TEST_F(HostileFiles, EveryReplacedWordOfTheTimingBoxesEndsWithAStatus)
{
    const Bytes vFile = SmallVideo();
    for (const char* const pszBox : {"moov/trak/mdia/mdhd", "moov/trak/mdia/minf/stbl/stts",
                                     "moov/trak/mdia/minf/stbl/stsz", "moov/trak/mdia/minf/stbl/stsc"})
    {
        const Mp4Box box = FindBox(vFile, pszBox);
        for (std::size_t uiAt = box.m_uiHeader; uiAt + 4 <= box.m_uiEnd; uiAt += Stride(3))
        {
            for (const std::uint32_t uiWord : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu})
            {
                Bytes vReplaced = vFile;
                SetWordAt(vReplaced, uiAt, uiWord);
                Use(vReplaced, std::string(pszBox) + " word " + std::to_string(uiWord) + " at " +
                                   std::to_string(uiAt - box.m_uiHeader));
            }
        }
    }
}

// Refused by the walk, that is: the file opens by counting the samples that are there.
TEST_F(HostileFiles, ASampleCountThatTheFileCantHoldIsNotBelieved)
{
    Bytes vFile = SmallVideo();
    const Mp4Box stts = FindBox(vFile, "moov/trak/mdia/minf/stbl/stts");
    SetWordAt(vFile, stts.m_uiPayload + 8, 0xFFFFFFFFu);
    const auto path = m_dir / "counts.mp4";
    WriteBytes(path, vFile);
    UseWhole(m_host, path, "four thousand million samples");

    const InputFile file = m_host.OpenInput(path);
    SQmImageAttributes attributes;
    ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
    EXPECT_EQ(3u, attributes.m_uiSequenceCount);
    EXPECT_EQ(3u, CachedTimes(file.Get()).size());
}

// --- sparse files: their size is forged too ---

// Fields of a table box, counted from its payload.
constexpr std::size_t g_uiEntryCount = 4;
constexpr std::size_t g_uiFirstEntry = 8;
constexpr std::size_t g_uiSampleSize = 4;  // of stsz
constexpr std::size_t g_uiSampleCount = 8;

constexpr std::uint32_t g_uiManySamples = 20'000'000;  // an index of them takes 480 MB
constexpr std::uint32_t g_uiManyTimes = 60'000'000;    // a list of them does
constexpr std::uint64_t g_uiForgedSize = std::uint64_t{1} << 40;

class SparseFiles : public HostileFiles
{
protected:
    // Opens and reads the file with g_uiForgedSize bytes.
    void UseSparse(const Bytes& vFile, const std::string& strWhat)
    {
        const auto path = m_dir / "sparse.mp4";
        WriteBytes(path, vFile);
        std::error_code error;
        std::filesystem::resize_file(path, g_uiForgedSize, error);
        if (error) GTEST_SKIP() << "no sparse files here";
        UseWhole(m_host, path, strWhat);
    }

    static std::size_t Payload(const Bytes& vFile, const std::string& strTable)
    {
        return FindBox(vFile, "moov/trak/mdia/minf/stbl/" + strTable).m_uiPayload;
    }

    // One entry of the table of durations counts the samples.
    static void ForgeDurations(Bytes& vFile)
    {
        const std::size_t uiTable = Payload(vFile, "stts");
        SetWordAt(vFile, uiTable + g_uiEntryCount, 1);
        SetWordAt(vFile, uiTable + g_uiFirstEntry, g_uiManyTimes);
    }
};

TEST_F(SparseFiles, ForgedDurationsTakeLittleTimeAndMemory)
{
    Bytes vFile = SmallVideo();
    ForgeDurations(vFile);
    UseSparse(vFile, "durations");
}

TEST_F(SparseFiles, ForgedSamplesOfOneSizeTakeLittleTimeAndMemory)
{
    Bytes vFile = SmallVideo();
    ForgeDurations(vFile);
    SetWordAt(vFile, Payload(vFile, "stsz") + g_uiSampleSize, 1);
    SetWordAt(vFile, Payload(vFile, "stsz") + g_uiSampleCount, g_uiManySamples);
    SetWordAt(vFile, Payload(vFile, "stsc") + g_uiFirstEntry + 4, g_uiManySamples);  // samples in each chunk
    UseSparse(vFile, "samples of one size");
}

// The box and its parents are made to reach into the empty part of the file, where a table of zeros can be read.
TEST_F(SparseFiles, TablesInTheEmptyPartOfTheFileTakeLittleTimeAndMemory)
{
    for (const char* const pszTable : {"stts", "ctts", "stsz", "stsc", "stss", "stco"})
    {
        Bytes vFile = SmallVideo();
        const std::string strTable = std::string("moov/trak/mdia/minf/stbl/") + pszTable;
        const Mp4Box table = FindBox(vFile, strTable);
        std::vector<std::size_t> vHeaders = {table.m_uiHeader};
        for (std::size_t uiEnd = strTable.rfind('/'); uiEnd != std::string::npos;
             uiEnd = strTable.rfind('/', uiEnd - 1))
        {
            vHeaders.push_back(FindBox(vFile, strTable.substr(0, uiEnd)).m_uiHeader);
        }
        vFile.resize(table.m_uiEnd);
        for (const std::size_t uiHeader : vHeaders)
            SetWordAt(vFile, uiHeader, 0x7FFFFFFF);
        const bool bSizes = strTable.ends_with("stsz");
        SetWordAt(vFile, table.m_uiPayload + (bSizes ? g_uiSampleCount : g_uiEntryCount), 60'000'000);
        UseSparse(vFile, pszTable);
    }
}

}  // namespace
