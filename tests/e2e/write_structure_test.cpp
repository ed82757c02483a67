// Written files as they lie on disk: every box field by field, the encoded data unit by unit, and what ffprobe and
// ffmpeg make of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/ffmpeg_judge.h"
#include "support/muxed_file.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

using Numbers = std::vector<std::uint32_t>;

// What stands before the first sample, with the size of the samples where XX is.
const Bytes g_vPreamble = {0,   0,   0,   0x20, 'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0,   0,   2,   0,
                           'i', 's', 'o', 'm',  'i', 's', 'o', '2', 'a', 'v', 'c', '1', 'm', 'p', '4', '1',
                           0,   0,   0,   8,    'f', 'r', 'e', 'e', 'X', 'X', 'X', 'X', 'm', 'd', 'a', 't'};

// The units of one sample, each after its length in 4 bytes, which must fill it.
std::vector<Bytes> UnitsOf(const Bytes& vMdat, std::size_t uiBegin, std::size_t uiSize)
{
    std::vector<Bytes> vUnits;
    const std::size_t uiEnd = uiBegin + uiSize;
    while (uiBegin + 4 <= uiEnd && uiEnd <= vMdat.size())
    {
        const std::size_t uiLength = WordAt(vMdat, uiBegin);
        if (uiLength > uiEnd - uiBegin - 4) break;
        const auto first = vMdat.begin() + static_cast<std::ptrdiff_t>(uiBegin + 4);
        vUnits.emplace_back(first, first + static_cast<std::ptrdiff_t>(uiLength));
        uiBegin += 4 + uiLength;
    }
    EXPECT_EQ(uiBegin, uiEnd) << "the units don't fill the sample";
    return vUnits;
}

// The samples follow one another. The first has the parameter sets and the only key picture of the list, since the
// encoder's group of pictures has no end. The numbers of key samples count from 0.
void ExpectSamples(const SMuxedFile& file, std::size_t uiFrames)
{
    ASSERT_EQ(file.m_moov.m_vSizes.size(), uiFrames);
    std::size_t uiOffset = 0;
    Numbers vKeys;
    for (std::uint32_t ui = 0; ui < uiFrames; ++ui)
    {
        const std::vector<Bytes> vUnits = UnitsOf(file.m_vMdat, uiOffset, file.m_moov.m_vSizes[ui]);
        uiOffset += file.m_moov.m_vSizes[ui];
        for (const Bytes& vUnit : vUnits)
        {
            ASSERT_FALSE(vUnit.empty());
            if (vUnit[0] == 0x65) vKeys.push_back(ui);
        }
        if (ui != 0) continue;
        ASSERT_GE(vUnits.size(), 3U);
        EXPECT_EQ(vUnits[2][0], 0x65);
        ASSERT_GE(vUnits[0].size(), 4U);
        EXPECT_EQ(vUnits[0][0], 0x67);
        EXPECT_EQ(file.m_moov.m_vSps, vUnits[0]);
        EXPECT_EQ(file.m_moov.m_vProfile, Bytes(vUnits[0].begin() + 1, vUnits[0].begin() + 4));
        EXPECT_EQ(vUnits[1][0], 0x68);
        EXPECT_EQ(file.m_moov.m_uiPpsLength, vUnits[1].size() + 1);
        EXPECT_EQ(file.m_moov.m_vPps, Join({vUnits[1], {0}}));
        EXPECT_EQ(file.m_moov.m_uiAvcCSize, vUnits[0].size() + vUnits[1].size() + 20);
    }
    EXPECT_EQ(uiOffset, file.m_vMdat.size());
    EXPECT_EQ(vKeys, Numbers{0});
    EXPECT_EQ(file.m_moov.m_vKeySamples, vKeys);
}

// Distances in ticks, each cut by itself; the last frame lasts as long as the one before, a single one a millisecond.
Numbers DeltasOf(const std::vector<double>& vTimesMs)
{
    if (vTimesMs.size() == 1) return {10};
    Numbers vDeltas;
    for (std::size_t ui = 1; ui < vTimesMs.size(); ++ui)
    {
        const double dTicks = std::trunc((vTimesMs[ui] - vTimesMs[ui - 1]) * 10000.0 / 1000.0);
        vDeltas.push_back(static_cast<std::uint32_t>(static_cast<std::int64_t>(dTicks)));
    }
    vDeltas.push_back(vDeltas.back());
    return vDeltas;
}

// Everything that such frames make of a file. The reader expects the fields that never vary by itself.
void ExpectFile(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight,
                const std::vector<double>& vTimesMs)
{
    const Bytes vFile = ReadBytes(path);
    const SMuxedFile file = ReadMuxedFile(vFile);
    const Bytes vSize = Bytes32(static_cast<std::uint32_t>(file.m_vMdat.size() + 8));
    Bytes vPreamble = g_vPreamble;
    std::copy(vSize.begin(), vSize.end(), vPreamble.begin() + 40);
    ASSERT_EQ(Bytes(vFile.begin(), vFile.begin() + 48), vPreamble);

    const SMuxedMoov& moov = file.m_moov;
    const double dLast = vTimesMs.back();
    EXPECT_EQ(moov.m_uiMovieDuration, static_cast<std::uint32_t>(dLast * 10000.0 / 1000.0));
    // The other three are in milliseconds, a tenth of what their timescale would have.
    EXPECT_EQ(moov.m_uiTrackDuration, static_cast<std::uint32_t>(dLast));
    EXPECT_EQ(moov.m_uiEditDuration, static_cast<std::uint32_t>(dLast));
    EXPECT_EQ(moov.m_uiMediaDuration, static_cast<std::uint32_t>(dLast));
    EXPECT_EQ(moov.m_uiTrackWidth, uiWidth << 16);
    EXPECT_EQ(moov.m_uiTrackHeight, uiHeight << 16);
    EXPECT_EQ(moov.m_uiWidth, uiWidth);
    EXPECT_EQ(moov.m_uiHeight, uiHeight);
    EXPECT_EQ(moov.m_vDeltas, DeltasOf(vTimesMs));
    EXPECT_EQ(moov.m_uiSamplesInChunk, vTimesMs.size());
    ExpectSamples(file, vTimesMs.size());
}

class WrittenFile : public testing::Test
{
protected:
    WrittenFile() { ChooseCodec(m_host, L"NVENC1"); }

    // Writes filmed pictures and expects everything of the file. Times start at 0.
    void ExpectGoodFile(std::uint32_t uiWidth, std::uint32_t uiHeight, const std::vector<double>& vTimesMs) const
    {
        const std::vector<HostPicture> vPictures =
            FilmedPictures(uiWidth, uiHeight, static_cast<std::uint32_t>(vTimesMs.size()));
        const std::filesystem::path path = m_dir / "written.mp4";
        WriteFile(m_host, path, vTimesMs, [&](std::uint32_t ui) { return vPictures[ui]; });
        const std::uint32_t uiEvenWidth = (uiWidth + 1) / 2 * 2;
        const std::uint32_t uiEvenHeight = (uiHeight + 1) / 2 * 2;
        ExpectFile(path, uiEvenWidth, uiEvenHeight, vTimesMs);
        ExpectReadByFfmpeg(path, uiEvenWidth, uiEvenHeight, vTimesMs);
    }

    const TemporaryFolder m_dir;
    const ModuleHost m_host;
};

TEST_F(WrittenFile, OfIrregularTimesIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(320, 240, {0.0, 33.4, 66.7, 100.05, 1000.9, 3601000.9, 3601020.93, 10801020.0, 10801060.0});
}

TEST_F(WrittenFile, OfRegularTimesIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(320, 240, EvenTimes(60, 40.0));
}

TEST_F(WrittenFile, OfTimesThatNoTickHitsIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(160, 120, EvenTimes(50, 1000.0 / 30.0));
}

TEST_F(WrittenFile, OfOddSizeIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(321, 239, EvenTimes(8, 33.35));
}

TEST_F(WrittenFile, OfOneFrameIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(320, 240, {0.0});
}

TEST_F(WrittenFile, OfTwoFramesIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(320, 240, {0.0, 12.34});
}

TEST_F(WrittenFile, OfAThousandFramesIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(64, 64, EvenTimes(1000, 16.7));
}

TEST_F(WrittenFile, OfFullHdPicturesIsAsLaidDownAndReadByFfmpeg)
{
    ExpectGoodFile(1920, 1080, EvenTimes(5, 20.0));
}

// Programs have no use for negative distances and say so; what is stored is the distance in 32 bits all the same.
TEST_F(WrittenFile, OfTimesThatRunBackwardsHoldsNegativeDistances)
{
    const std::filesystem::path path = m_dir / "written.mp4";
    const std::vector<double> vTimes = {0.0, 100.0, 50.0, 150.0, 149.9};
    WriteFile(m_host, path, vTimes, [](std::uint32_t ui) { return NumberedPicture(64, 48, ui); });
    ExpectFile(path, 64, 48, vTimes);
    EXPECT_EQ(ReadMuxedFile(ReadBytes(path)).m_moov.m_vDeltas.at(1), 0xFFFFFE0CU);  // -500
}

TEST_F(WrittenFile, OfEqualTimesHoldsDistancesOfZero)
{
    const std::filesystem::path path = m_dir / "written.mp4";
    const std::vector<double> vTimes = {0.0, 0.0, 0.0, 0.0, 0.0};
    WriteFile(m_host, path, vTimes, [](std::uint32_t ui) { return NumberedPicture(64, 48, ui); });
    ExpectFile(path, 64, 48, vTimes);
}

// Nothing in a file depends on the clock.
TEST_F(WrittenFile, OfTheSamePicturesAndTimesHasTheSameBytes)
{
    const auto fnPicture = [](std::uint32_t ui) { return NumberedPicture(64, 48, ui); };
    WriteFile(m_host, m_dir / "first.mp4", EvenTimes(6), fnPicture);
    WriteFile(m_host, m_dir / "second.mp4", EvenTimes(6), fnPicture);
    EXPECT_EQ(ReadBytes(m_dir / "first.mp4"), ReadBytes(m_dir / "second.mp4"));
}

}  // namespace
