// The parts that reading is made of, each by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "platform/mediafoundation/reading/bit_reader.h"
#include "platform/mediafoundation/reading/h264_parameters.h"
#include "platform/mediafoundation/reading/nal_units.h"
#include "platform/mediafoundation/reading/presentation_order.h"
#include "platform/mediafoundation/reading/sample_table.h"
#include "platform/mediafoundation/reading/yuy2_rows.h"

namespace mediafoundation
{
namespace
{

// Bits of a parameter set, written the way a reader has to read them.
class BitWriter
{
public:
    BitWriter& U(std::uint32_t uiValue, int nBits)
    {
        for (int i = nBits - 1; i >= 0; --i)
        {
            m_bits.push_back((uiValue >> i & 1) != 0);
        }
        return *this;
    }
    BitWriter& Ue(std::uint32_t uiValue)
    {
        int nLength = 0;
        while ((std::uint64_t{uiValue} + 1) >> (nLength + 1) != 0)
        {
            ++nLength;
        }
        return U(0, nLength).U(uiValue + 1, nLength + 1);
    }
    BitWriter& Se(std::int32_t nValue)
    {
        return Ue(nValue > 0 ? 2 * static_cast<std::uint32_t>(nValue) - 1 : 2 * static_cast<std::uint32_t>(-nValue));
    }
    // With the stop bit, and emulation prevention.
    std::vector<std::uint8_t> Bytes() const
    {
        std::vector<bool> bits = m_bits;
        bits.push_back(true);
        bits.resize((bits.size() + 7) / 8 * 8);
        std::vector<std::uint8_t> bytes;
        int nZeros = 0;
        for (std::size_t i = 0; i < bits.size(); i += 8)
        {
            std::uint8_t uiByte = 0;
            for (std::size_t j = 0; j < 8; ++j)
            {
                uiByte = static_cast<std::uint8_t>(2 * uiByte + (bits[i + j] ? 1 : 0));
            }
            if (nZeros == 2 && uiByte <= 3)
            {
                bytes.push_back(3);
                nZeros = 0;
            }
            nZeros = uiByte == 0 ? nZeros + 1 : 0;
            bytes.push_back(uiByte);
        }
        return bytes;
    }

private:
    std::vector<bool> m_bits;
};

TEST(BitReader, ReadsWhatWasWritten)
{
    const auto bytes = BitWriter().U(5, 3).Ue(0).Ue(1).Ue(254).Ue(0xfffffffe - 1).Se(-7).Se(7).Se(0).U(0, 30).Bytes();
    BitReader bits(bytes.data(), bytes.size());
    EXPECT_EQ(bits.Bits(3), 5U);
    EXPECT_EQ(bits.Ue(), 0U);
    EXPECT_EQ(bits.Ue(), 1U);
    EXPECT_EQ(bits.Ue(), 254U);
    EXPECT_EQ(bits.Ue(), 0xfffffffdU);
    EXPECT_EQ(bits.Se(), -7);
    EXPECT_EQ(bits.Se(), 7);
    EXPECT_EQ(bits.Se(), 0);
    EXPECT_EQ(bits.Bits(30), 0U);
    EXPECT_FALSE(bits.HasOverrun());
}

TEST(BitReader, RemembersThatItRanPastTheEnd)
{
    const std::uint8_t aBytes[] = {0xff};
    BitReader bits(aBytes, 1);
    EXPECT_EQ(bits.Bits(8), 0xffU);
    EXPECT_FALSE(bits.HasOverrun());
    EXPECT_EQ(bits.Bit(), 0U);
    EXPECT_TRUE(bits.HasOverrun());
    const std::uint8_t aZeros[8] = {};
    BitReader zeros(aZeros, sizeof(aZeros));
    EXPECT_EQ(zeros.Ue(), 0U);
    EXPECT_TRUE(zeros.HasOverrun());
}

struct SpsRecipe
{
    std::uint32_t m_uiProfile = 100;
    std::uint32_t m_uiLevel = 40;
    std::uint32_t m_uiChroma = 1;
    bool m_bScalingMatrix = false;
    std::int32_t m_nFirstScale = 1;  // delta in the matrix
    std::uint32_t m_uiOrderType = 0;
    std::uint32_t m_uiColumns = 120;  // 1920
    std::uint32_t m_uiRows = 68;      // 1088
    bool m_bFramesOnly = true;
    std::uint32_t m_uiCropRight = 0;
    std::uint32_t m_uiCropBottom = 4;
    int m_nReorder = -1;  // none told
    bool m_bHrd = false;
};

std::vector<std::uint8_t> WriteSps(const SpsRecipe& recipe)
{
    BitWriter bits;
    bits.U(recipe.m_uiProfile, 8).U(0, 8).U(recipe.m_uiLevel, 8).Ue(0);
    if (recipe.m_uiProfile >= 100)
    {
        bits.Ue(recipe.m_uiChroma).Ue(0).Ue(0).U(0, 1).U(recipe.m_bScalingMatrix ? 1 : 0, 1);
        if (recipe.m_bScalingMatrix)
        {
            // The first list in full, the second ended by its first delta, the others absent.
            bits.U(1, 1).Se(recipe.m_nFirstScale);
            for (int i = 1; i < 16; ++i)
            {
                bits.Se(1);
            }
            bits.U(1, 1).Se(-8).U(0, 6);
        }
    }
    bits.Ue(0).Ue(recipe.m_uiOrderType);
    if (recipe.m_uiOrderType == 0) bits.Ue(2);
    if (recipe.m_uiOrderType == 1) bits.U(0, 1).Se(-3).Se(2).Ue(2).Se(5).Se(-5);
    bits.Ue(4).U(0, 1).Ue(recipe.m_uiColumns - 1).Ue(recipe.m_uiRows - 1).U(recipe.m_bFramesOnly ? 1 : 0, 1);
    if (!recipe.m_bFramesOnly) bits.U(1, 1);
    bits.U(1, 1);
    const bool bCrop = recipe.m_uiCropRight + recipe.m_uiCropBottom > 0;
    bits.U(bCrop ? 1 : 0, 1);
    if (bCrop) bits.Ue(0).Ue(recipe.m_uiCropRight).Ue(0).Ue(recipe.m_uiCropBottom);
    bits.U(recipe.m_nReorder >= 0 ? 1 : 0, 1);
    if (recipe.m_nReorder >= 0)
    {
        bits.U(1, 1).U(255, 8).U(4, 16).U(3, 16);              // aspect ratio
        bits.U(1, 1).U(0, 1);                                  // overscan
        bits.U(1, 1).U(5, 3).U(0, 1).U(1, 1).U(0x010101, 24);  // video signal type
        bits.U(0, 1);                                          // chroma location
        bits.U(1, 1).U(1, 32).U(50, 32).U(1, 1);               // timing
        bits.U(recipe.m_bHrd ? 1 : 0, 1);
        if (recipe.m_bHrd) bits.Ue(0).U(0, 8).Ue(1000).Ue(1000).U(0, 1).U(0, 20);
        bits.U(0, 1);
        if (recipe.m_bHrd) bits.U(0, 1);
        bits.U(0, 1).U(1, 1);
        bits.U(1, 1).Ue(0).Ue(0).Ue(10).Ue(10).Ue(static_cast<std::uint32_t>(recipe.m_nReorder)).Ue(4);
    }
    std::vector<std::uint8_t> nal = {0x67};
    const auto bytes = bits.Bytes();
    nal.insert(nal.end(), bytes.begin(), bytes.end());
    return nal;
}

std::optional<H264Parameters> Parse(const SpsRecipe& recipe)
{
    const auto sps = WriteSps(recipe);
    return ParseSequenceParameterSet(sps.data(), sps.size());
}

TEST(SequenceParameterSet, TellsProfileLevelAndCroppedSize)
{
    const auto parameters = Parse({});
    ASSERT_TRUE(parameters);
    EXPECT_EQ(parameters->m_uiProfile, 100U);
    EXPECT_EQ(parameters->m_uiLevel, 40U);
    EXPECT_EQ(parameters->m_uiWidth, 1920U);
    EXPECT_EQ(parameters->m_uiHeight, 1080U);
}

TEST(SequenceParameterSet, CropsInUnitsOfItsChroma)
{
    SpsRecipe recipe;
    recipe.m_uiColumns = 10;
    recipe.m_uiRows = 10;
    recipe.m_uiCropRight = 3;
    recipe.m_uiCropBottom = 5;
    EXPECT_EQ(Parse(recipe)->m_uiWidth, 154U);
    EXPECT_EQ(Parse(recipe)->m_uiHeight, 150U);
    recipe.m_uiProfile = 122;
    recipe.m_uiChroma = 2;
    EXPECT_EQ(Parse(recipe)->m_uiWidth, 154U);
    EXPECT_EQ(Parse(recipe)->m_uiHeight, 155U);
    recipe.m_uiProfile = 110;
    recipe.m_uiChroma = 0;
    EXPECT_EQ(Parse(recipe)->m_uiWidth, 157U);
    EXPECT_EQ(Parse(recipe)->m_uiHeight, 155U);
    recipe.m_uiProfile = 66;
    recipe.m_bFramesOnly = false;  // rows of pairs of macroblocks, and lines of two fields
    EXPECT_EQ(Parse(recipe)->m_uiWidth, 154U);
    EXPECT_EQ(Parse(recipe)->m_uiHeight, 300U);
}

TEST(SequenceParameterSet, TellsHowFarItReorders)
{
    SpsRecipe recipe;
    recipe.m_nReorder = 3;
    EXPECT_EQ(Parse(recipe)->m_nReorder, 3);
    recipe.m_bHrd = true;
    recipe.m_nReorder = 2;
    EXPECT_EQ(Parse(recipe)->m_nReorder, 2);
    recipe.m_bScalingMatrix = true;
    recipe.m_uiOrderType = 1;
    EXPECT_EQ(Parse(recipe)->m_nReorder, 2);
}

// Deltas are 8 bits wide. The sums of any others are taken modulo 256 as well: 8 + 2147483647 is 7, and the list goes
// on.
TEST(SequenceParameterSet, AScaleOutOfRangeIsPassedOver)
{
    SpsRecipe recipe;
    recipe.m_bScalingMatrix = true;
    for (const std::int32_t nScale :
         {std::numeric_limits<std::int32_t>::max(), -std::numeric_limits<std::int32_t>::max()})
    {
        recipe.m_nFirstScale = nScale;
        const auto parameters = Parse(recipe);
        ASSERT_TRUE(parameters) << nScale;
        EXPECT_EQ(parameters->m_uiWidth, 1920U);
    }
}

// Level 4 holds 32768 macroblocks, which is four pictures of 120 x 68.
TEST(SequenceParameterSet, WithoutWordOfItReorderingIsWhatTheBufferHolds)
{
    SpsRecipe recipe;
    EXPECT_EQ(Parse(recipe)->m_nReorder, 4);
    recipe.m_uiColumns = 10;
    recipe.m_uiRows = 10;
    EXPECT_EQ(Parse(recipe)->m_nReorder, 16);
    recipe.m_uiOrderType = 2;  // presented as decoded
    EXPECT_EQ(Parse(recipe)->m_nReorder, 0);
}

TEST(SequenceParameterSet, CutShortOrOutOfRangeItIsRefused)
{
    const auto sps = WriteSps({});
    for (std::size_t uiLength = 0; uiLength + 3 < sps.size(); ++uiLength)
    {
        EXPECT_FALSE(ParseSequenceParameterSet(sps.data(), uiLength)) << uiLength;
    }
    SpsRecipe recipe;
    recipe.m_uiColumns = 1025;
    EXPECT_FALSE(Parse(recipe));
    recipe.m_uiColumns = 1;
    recipe.m_uiCropRight = 8;
    EXPECT_FALSE(Parse(recipe));
    std::vector<std::uint8_t> other = sps;
    other[0] = 0x68;
    EXPECT_FALSE(ParseSequenceParameterSet(other.data(), other.size()));
}

TEST(SequenceParameterSet, IsFoundInBothKindsOfConfiguration)
{
    const std::vector<std::uint8_t> sps = WriteSps({});
    std::vector<std::uint8_t> avcc = {1, 100, 0, 40, 0xff, 0xe1, 0, static_cast<std::uint8_t>(sps.size())};
    avcc.insert(avcc.end(), sps.begin(), sps.end());
    EXPECT_EQ(FindSequenceParameterSet(avcc.data(), avcc.size()), sps);
    EXPECT_TRUE(FindSequenceParameterSet(avcc.data(), avcc.size() - 1).empty());

    std::vector<std::uint8_t> annexB = {0, 0, 0, 1, 0x09, 0x10, 0, 0, 1};
    annexB.insert(annexB.end(), sps.begin(), sps.end());
    EXPECT_EQ(FindSequenceParameterSet(annexB.data(), annexB.size()), sps);
    for (const std::uint8_t uiByte : {0, 0, 0, 1, 0x68, 1})
    {
        annexB.push_back(uiByte);
    }
    EXPECT_EQ(FindSequenceParameterSet(annexB.data(), annexB.size()), sps);
    EXPECT_TRUE(FindSequenceParameterSet(nullptr, 0).empty());
}

class Nal : public ::testing::Test
{
protected:
    static NalLayout Layout(AVCodecID codec, std::vector<std::uint8_t> configuration)
    {
        AVCodecParameters parameters = {};
        parameters.codec_id = codec;
        parameters.extradata = configuration.data();
        parameters.extradata_size = static_cast<int>(configuration.size());
        return NalLayout(parameters);
    }
    static NalLayout Avc(std::uint8_t uiLengthBytes)
    {
        return Layout(AV_CODEC_ID_H264, {1, 100, 0, 40, static_cast<std::uint8_t>(0xfc | (uiLengthBytes - 1)), 0, 0});
    }
    static std::vector<std::uint8_t> Sample(std::uint8_t uiLengthBytes, const std::vector<std::uint8_t>& headers)
    {
        std::vector<std::uint8_t> sample;
        for (const std::uint8_t uiHeader : headers)
        {
            sample.insert(sample.end(), uiLengthBytes - 1U, 0);
            sample.insert(sample.end(), {3, uiHeader, 0xaa, 0xbb});
        }
        return sample;
    }
    // Both forms: the whole sample, and reading it in parts.
    static bool IsFresh(const NalLayout& layout, const std::vector<std::uint8_t>& sample)
    {
        const bool bWhole = layout.IsFreshStart(sample.data(), sample.size());
        const auto read = [&](std::size_t uiOffset, std::uint8_t* pTarget, std::size_t uiSize) {
            if (uiOffset + uiSize > sample.size()) return false;
            std::copy_n(sample.begin() + static_cast<std::ptrdiff_t>(uiOffset), uiSize, pTarget);
            return true;
        };
        EXPECT_EQ(layout.IsFreshStart(read, sample.size()), bWhole);
        return bWhole;
    }
};

TEST_F(Nal, OnlyAnIdrPictureIsAFreshStart)
{
    for (const std::uint8_t uiLengthBytes : {1, 2, 4})
    {
        const NalLayout layout = Avc(uiLengthBytes);
        EXPECT_TRUE(IsFresh(layout, Sample(uiLengthBytes, {0x65})));
        EXPECT_TRUE(IsFresh(layout, Sample(uiLengthBytes, {0x09, 0x67, 0x68, 0x06, 0x25})));
        // A recovery point: parameter sets and a message, but a slice of the plain kind
        EXPECT_FALSE(IsFresh(layout, Sample(uiLengthBytes, {0x67, 0x68, 0x06, 0x41})));
        EXPECT_FALSE(IsFresh(layout, Sample(uiLengthBytes, {0x41, 0x65})));
        EXPECT_FALSE(IsFresh(layout, Sample(uiLengthBytes, {0x06})));
        EXPECT_FALSE(IsFresh(layout, {}));
    }
}

TEST_F(Nal, StartCodesAreFoundToo)
{
    const NalLayout layout = Layout(AV_CODEC_ID_H264, {});
    EXPECT_TRUE(IsFresh(layout, {0, 0, 0, 1, 0x09, 0x10, 0, 0, 1, 0x65, 0x88, 0x80}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 1, 0x41, 0x88, 0, 0, 1, 0x65, 0x88}));
}

TEST_F(Nal, StartCodesAreFoundWhereverTheyStand)
{
    const NalLayout layout = Layout(AV_CODEC_ID_H264, {});
    for (std::size_t uiPlace = 0; uiPlace < 9000; ++uiPlace)
    {
        std::vector<std::uint8_t> sample(uiPlace + 4, 0xaa);
        sample[uiPlace] = sample[uiPlace + 1] = 0;
        sample[uiPlace + 2] = 1;
        sample[uiPlace + 3] = 0x65;
        ASSERT_TRUE(IsFresh(layout, sample)) << uiPlace;
    }
}

// The size of a sample is what the file says, and the file may say anything.
TEST_F(Nal, ASampleOfUntrueSizeIsNotAskedForAtOnce)
{
    const NalLayout layout = Layout(AV_CODEC_ID_H264, {});
    constexpr std::size_t THERE = 100'000;
    std::size_t uiLargest = 0;
    const auto read = [&](std::size_t uiOffset, std::uint8_t* pTarget, std::size_t uiSize) {
        uiLargest = std::max(uiLargest, uiSize);
        if (uiOffset + uiSize > THERE) return false;
        std::fill_n(pTarget, uiSize, std::uint8_t{0xaa});
        return true;
    };
    EXPECT_FALSE(layout.IsFreshStart(read, 0x3fffffff));
    EXPECT_LE(uiLargest, THERE);
}

TEST_F(Nal, LengthsThatLieEndTheSearch)
{
    const NalLayout layout = Avc(4);
    EXPECT_FALSE(IsFresh(layout, {0xff, 0xff, 0xff, 0xff, 0x06, 0x65}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 0, 9, 0x06}));
    EXPECT_TRUE(IsFresh(layout, {0, 0, 0, 0, 0, 0, 0, 9, 0x65}));
}

TEST_F(Nal, HevcHasItsOwnKinds)
{
    const NalLayout layout = Layout(AV_CODEC_ID_HEVC, {});
    EXPECT_TRUE(IsFresh(layout, {0, 0, 1, 0x40, 1, 0, 0, 1, 19 << 1, 1, 0x80}));
    EXPECT_TRUE(IsFresh(layout, {0, 0, 1, 20 << 1, 1}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 1, 21 << 1, 1}));  // a clean random access picture has leading ones
}

TEST_F(Nal, DisposableIsWhatNothingRefersToAndHoldsNothingElse)
{
    const NalLayout layout = Avc(4);
    const auto isDisposable = [&](const std::vector<std::uint8_t>& headers) {
        const auto sample = Sample(4, headers);
        return layout.IsDisposable(sample.data(), sample.size());
    };
    EXPECT_TRUE(isDisposable({0x01}));
    EXPECT_TRUE(isDisposable({0x09, 0x06, 0x01, 0x01, 0x0c}));
    EXPECT_FALSE(isDisposable({0x41}));
    EXPECT_FALSE(isDisposable({0x01, 0x21}));
    EXPECT_FALSE(isDisposable({0x67, 0x01}));
    EXPECT_FALSE(isDisposable({0x68, 0x01}));
    EXPECT_FALSE(isDisposable({0x06}));
    EXPECT_FALSE(isDisposable({0x65}));
}

SampleTable MakeTable(const std::vector<std::int64_t>& times, AVRational timeBase, std::int64_t nLast)
{
    SampleTable table;
    for (const std::int64_t nTime : times)
    {
        Sample sample;
        sample.m_nDecodingTime = nTime;
        table.Append(sample);
    }
    table.Finish(timeBase, nLast);
    return table;
}

TEST(SampleTable, TimesAreRoundedDownAndSumUpWithoutDrift)
{
    const SampleTable table = MakeTable({0, 1001, 2002, 3003}, {1, 30000}, 1001);
    EXPECT_EQ(table.TimeOf(1), 333666);  // 333666.67
    EXPECT_EQ(table.TimeOf(3), 1001000);
    EXPECT_EQ(table.TimeOf(4), 1334666);
    std::int64_t nSum = 0;
    for (std::uint64_t k = 0; k < 4; ++k)
    {
        EXPECT_EQ(nSum, table.TimeOf(k));
        nSum += table.DurationOf(k);
    }
    EXPECT_EQ(table.MillisecondsOf(1), 33);
}

TEST(SampleTable, APositionInWholeMillisecondsIsThePictureThatItWasTakenFrom)
{
    const SampleTable table = MakeTable({0, 1001, 2002, 3003}, {1, 30000}, 1001);
    EXPECT_EQ(table.FirstAt(-1), 0U);
    EXPECT_EQ(table.FirstAt(0), 0U);
    EXPECT_EQ(table.FirstAt(9999), 0U);
    EXPECT_EQ(table.FirstAt(10000), 1U);
    EXPECT_EQ(table.FirstAt(330000), 1U);  // 33 of 33.37 ms
    EXPECT_EQ(table.FirstAt(339999), 1U);
    EXPECT_EQ(table.FirstAt(340000), 2U);
    EXPECT_EQ(table.FirstAt(1000000), 3U);
    EXPECT_EQ(table.FirstAt(1010000), 4U);
    EXPECT_EQ(table.FirstAt(std::numeric_limits<std::int64_t>::max()), 4U);
    EXPECT_EQ(table.FirstAt(std::numeric_limits<std::int64_t>::min()), 0U);
}

TEST(SampleTable, TimesCountFromTheFirstSampleAndNeverFall)
{
    const SampleTable table = MakeTable({500, 600, 550, 700, 400, 800}, {1, 1000}, 50);
    const std::int64_t aExpected[] = {0, 100, 100, 200, 200, 300, 350};
    for (std::uint64_t k = 0; k < 7; ++k)
    {
        EXPECT_EQ(table.TimeOf(k), aExpected[k] * 10000) << k;
    }
    EXPECT_EQ(table.FirstAt(100 * 10000), 1U);
}

TEST(SampleTable, WithoutTimesOfDecodingThoseOfPresentationMakeTheLine)
{
    SampleTable table;
    for (const std::int64_t nTime : {0, 120, 40, 80})
    {
        Sample sample;
        sample.m_nPresentationTime = nTime;
        table.Append(sample);
    }
    table.Finish({1, 1000}, 0);
    EXPECT_EQ(table.MillisecondsOf(1), 40);
    EXPECT_EQ(table.MillisecondsOf(3), 120);
    EXPECT_EQ(table.MillisecondsOf(4), 160);  // the last duration is that of the one before
}

TEST(SampleTable, HugeTimesStayInRange)
{
    constexpr std::int64_t LARGEST = std::numeric_limits<std::int64_t>::max();
    const SampleTable table = MakeTable({0, LARGEST / 2, LARGEST}, {1, 1}, LARGEST);
    EXPECT_EQ(table.TimeOf(1), LARGEST);
    EXPECT_EQ(table.TimeOf(3), LARGEST);
    EXPECT_EQ(table.FirstAt(1), 0U);
    EXPECT_EQ(table.FirstAt(LARGEST), 1U);
    EXPECT_EQ(MakeTable({}, {1, 25}, 0).FirstAt(0), 0U);
}

SampleTable TableWithPresentation(const std::vector<std::int64_t>& times)
{
    SampleTable table;
    for (std::size_t i = 0; i < times.size(); ++i)
    {
        Sample sample;
        sample.m_nDecodingTime = static_cast<std::int64_t>(i);
        sample.m_nPresentationTime = times[i];
        table.Append(sample);
    }
    table.Finish({1, 25}, 1);
    return table;
}

TEST(PresentationOrder, FindsThePictureBehindAStart)
{
    //                                          I  P  B  B  P  B  I  P  B
    const SampleTable table = TableWithPresentation({2, 5, 3, 4, 7, 6, 8, 10, 9});
    const std::uint64_t aSamples[] = {0, 2, 3, 1, 5, 4, 6, 8, 7};
    for (std::uint64_t k = 0; k < 9; ++k)
    {
        EXPECT_EQ(FindPicture(table, k < 6 ? 0 : 6, k, true), aSamples[k]) << k;
    }
}

TEST(PresentationOrder, SaysNothingWhereTheTimesCannotTell)
{
    EXPECT_FALSE(FindPicture(TableWithPresentation({2, 4, 4, 5}), 0, 1, true));
    EXPECT_FALSE(FindPicture(TableWithPresentation({2, 4, AV_NOPTS_VALUE, 5}), 0, 1, true));
    // Presented as decoded, in a stream that reorders: the container lost the difference. In others that is no sign.
    EXPECT_FALSE(FindPicture(TableWithPresentation({0, 1, 2, 3}), 0, 1, true));
    EXPECT_EQ(FindPicture(TableWithPresentation({0, 1, 2, 3}), 0, 1, false), 1U);
}

TEST(PresentationOrder, TheNextDuePictureIsTheEarliest)
{
    DueSamples due;
    due.Add(30, 0);
    due.Add(60, 1);
    due.Add(40, 2);
    EXPECT_FALSE(due.Take(2));
    EXPECT_TRUE(due.Take(0));
    EXPECT_TRUE(due.Take(2));
    due.Add(50, 3);
    due.DropBefore(60);
    EXPECT_TRUE(due.Take(1));
    EXPECT_TRUE(due.IsEmpty());
    EXPECT_FALSE(due.Take(1));
}

TEST(Yuy2Rows, PitchIsTwoBytesPerPixelRoundedUpTo32)
{
    EXPECT_EQ(Yuy2Pitch(1), 32U);
    EXPECT_EQ(Yuy2Pitch(16), 32U);
    EXPECT_EQ(Yuy2Pitch(17), 64U);
    EXPECT_EQ(Yuy2Pitch(1920), 3840U);
    EXPECT_EQ(Yuy2Pitch(1921), 3872U);
}

// Every width, with guard bytes: the fast form gives the bytes of the plain one and touches nothing behind them, and
// the plain one those of the definition.
TEST(Yuy2Rows, FastAndPlainGiveTheBytesOfTheDefinition)
{
    std::mt19937 random(7);
    const auto bytes = [&](std::size_t uiCount) {
        std::vector<std::uint8_t> row(uiCount);
        for (std::uint8_t& uiByte : row)
        {
            uiByte = static_cast<std::uint8_t>(random());
        }
        return row;
    };
    constexpr std::uint8_t GUARD = 0xa5;
    for (std::size_t uiWidth = 1; uiWidth <= 100; ++uiWidth)
    {
        const std::size_t uiPairs = (uiWidth + 1) / 2;
        const auto y = bytes(uiWidth);
        const auto u = bytes(uiPairs);
        const auto v = bytes(uiPairs);
        std::vector<std::uint8_t> expected;
        for (std::size_t i = 0; i < uiPairs; ++i)
        {
            expected.insert(expected.end(), {y[2 * i], u[i], y[std::min(2 * i + 1, uiWidth - 1)], v[i]});
        }
        expected.insert(expected.end(), 32, GUARD);
        std::vector<std::uint8_t> fast(expected.size(), GUARD);
        std::vector<std::uint8_t> plain(expected.size(), GUARD);
        InterleaveYuy2(fast.data(), y.data(), u.data(), v.data(), uiWidth);
        InterleaveYuy2Plain(plain.data(), y.data(), u.data(), v.data(), uiWidth);
        EXPECT_EQ(fast, expected) << uiWidth;
        EXPECT_EQ(plain, expected) << uiWidth;
    }
}

}  // namespace
}  // namespace mediafoundation
