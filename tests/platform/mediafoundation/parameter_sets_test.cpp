// What a sequence parameter set says, read bit by bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/mediafoundation/reading/bit_reader.h"
#include "platform/mediafoundation/reading/h264_parameters.h"

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
    int m_nReorder = -1;  // not in the set
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

TEST(SequenceParameterSet, HasProfileLevelAndCroppedSize)
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

TEST(SequenceParameterSet, SaysHowFarItReorders)
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

}  // namespace
}  // namespace mediafoundation
