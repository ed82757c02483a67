#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "runtimes/common/colour.h"
#include "support/repetitions.h"

namespace
{

using runtimes::ConvertRowPairAvx2;
using runtimes::ConvertRowPairScalar;
using runtimes::ConvertRowPairSse2;
using runtimes::RowPairConverter;

struct Yuv
{
    double dY;
    double dCb;
    double dCr;
};

// The definition, unrounded. Channels 0 to 255.
Yuv Define(double dB, double dG, double dR)
{
    return {16 + (24.966 * dB + 128.553 * dG + 65.481 * dR) / 255, 128 + (112.0 * dB - 74.203 * dG - 37.797 * dR) / 255,
            128 + (-18.214 * dB - 93.786 * dG + 112.0 * dR) / 255};
}

std::vector<std::pair<const char*, RowPairConverter>> Converters()
{
    std::vector<std::pair<const char*, RowPairConverter>> converters = {{"scalar", ConvertRowPairScalar},
                                                                        {"sse2", ConvertRowPairSse2}};
    if (__builtin_cpu_supports("avx2"))
    {
        converters.emplace_back("avx2", ConvertRowPairAvx2);
    }
    return converters;
}

}  // namespace

// Half a step is what rounding costs; the weights, as integers, may add no more than a hundredth of one.
TEST(NvencColour, EveryColourIsRoundedToTheNearest)
{
    double dWorst = 0;
    std::vector<std::uint8_t> upper(4 * 512);
    std::uint8_t luma[512];
    std::uint8_t chroma[512];
    // 255 is a multiple of the step.
    for (int nG = 0; nG < 256; nG += test_support::StepBelowAQuarter(17))
    {
        for (int nR = 0; nR < 256; ++nR)
        {
            // Blocks of one colour: two pixels of each blue.
            for (std::size_t x = 0; x < 512; ++x)
            {
                upper[4 * x] = static_cast<std::uint8_t>(x / 2);
                upper[4 * x + 1] = static_cast<std::uint8_t>(nG);
                upper[4 * x + 2] = static_cast<std::uint8_t>(nR);
            }
            runtimes::BestRowPairConverter()(upper.data(), upper.data(), luma, luma, chroma, 512);
            for (int nB = 0; nB < 256; ++nB)
            {
                const Yuv yuv = Define(nB, nG, nR);
                dWorst = std::max({dWorst, std::abs(luma[2 * nB] - yuv.dY), std::abs(chroma[2 * nB] - yuv.dCb),
                                   std::abs(chroma[2 * nB + 1] - yuv.dCr)});
            }
        }
    }
    EXPECT_LT(dWorst, 0.51);
}

TEST(NvencColour, ChromaIsThatOfTheMeanOfFourPixels)
{
    std::mt19937 random(7);
    std::vector<std::uint8_t> rows[2] = {std::vector<std::uint8_t>(4 * 64), std::vector<std::uint8_t>(4 * 64)};
    for (int nRound = 0; nRound < 200; ++nRound)
    {
        for (auto& row : rows)
        {
            for (std::uint8_t& byte : row)
            {
                byte = static_cast<std::uint8_t>(random());
            }
        }
        std::uint8_t luma[2][64];
        std::uint8_t chroma[64];
        runtimes::BestRowPairConverter()(rows[0].data(), rows[1].data(), luma[0], luma[1], chroma, 64);
        for (std::size_t x = 0; x < 64; x += 2)
        {
            double means[3] = {};
            for (std::size_t i = 0; i < 3; ++i)
            {
                for (const auto& row : rows)
                {
                    means[i] += (row[4 * x + i] + row[4 * x + 4 + i]) / 4.0;
                }
            }
            const Yuv yuv = Define(means[0], means[1], means[2]);
            ASSERT_NEAR(chroma[x], yuv.dCb, 0.51);
            ASSERT_NEAR(chroma[x + 1], yuv.dCr, 0.51);
            ASSERT_NEAR(luma[1][x + 1], Define(rows[1][4 * x + 4], rows[1][4 * x + 5], rows[1][4 * x + 6]).dY, 0.51);
        }
    }
}

TEST(NvencColour, GreysHaveNoColourAndReachBothEnds)
{
    for (int nGrey = 0; nGrey < 256; ++nGrey)
    {
        const std::vector<std::uint8_t> row(8, static_cast<std::uint8_t>(nGrey));
        std::uint8_t luma[2];
        std::uint8_t chroma[2];
        ConvertRowPairScalar(row.data(), row.data(), luma, luma, chroma, 2);
        EXPECT_EQ(luma[0], std::lround(16 + nGrey * 219 / 255.0));
        EXPECT_EQ(chroma[0], 128);
        EXPECT_EQ(chroma[1], 128);
    }
}

// Any width, with fences around what may be written, and rows that begin anywhere.
TEST(NvencColour, EveryVersionGivesTheSameBytesAndWritesNothingElse)
{
    std::mt19937 random(11);
    for (std::uint32_t uiWidth = 2; uiWidth <= 70; uiWidth += 2)
    {
        std::vector<std::uint8_t> upper(4 * uiWidth + 1);
        std::vector<std::uint8_t> lower(4 * uiWidth + 1);
        for (std::size_t i = 0; i < upper.size(); ++i)
        {
            // Extremes as often as anything between.
            const auto draw = [&] { return static_cast<std::uint8_t>(random() % 3 ? random() : (random() % 2) * 255); };
            upper[i] = draw();
            lower[i] = draw();
        }
        std::vector<std::vector<std::uint8_t>> results;
        for (const auto& [pszName, convert] : Converters())
        {
            constexpr std::size_t c_uiFence = 40;
            const std::size_t uiRow = uiWidth + c_uiFence;
            std::vector<std::uint8_t> result(3 * uiRow + c_uiFence, 0xEE);
            std::uint8_t* const p = result.data() + c_uiFence;
            convert(upper.data() + 1, lower.data() + 1, p, p + uiRow, p + 2 * uiRow, uiWidth);
            for (std::size_t i = 0; i < result.size(); ++i)
            {
                const bool bFence = i < c_uiFence || (i - c_uiFence) % uiRow >= uiWidth;
                ASSERT_TRUE(!bFence || result[i] == 0xEE) << pszName << ", width " << uiWidth << ", byte " << i;
            }
            results.push_back(result);
            ASSERT_EQ(results.back(), results.front()) << pszName << ", width " << uiWidth;
        }
    }
}

TEST(NvencColour, PicturesAreConvertedRowByRowWhateverTheirPitches)
{
    constexpr std::uint32_t c_uiWidth = 6;
    constexpr std::uint32_t c_uiHeight = 4;
    constexpr std::size_t c_uiPitch = 4 * c_uiWidth + 12;
    std::vector<std::uint8_t> source(c_uiPitch * c_uiHeight, 0x77);
    for (std::uint32_t y = 0; y < c_uiHeight; ++y)
    {
        std::fill_n(source.begin() + static_cast<std::ptrdiff_t>(y * c_uiPitch), 4 * c_uiWidth,
                    static_cast<std::uint8_t>(y * 60));
    }
    std::vector<std::uint8_t> luma(9 * c_uiHeight, 0xEE);
    std::vector<std::uint8_t> chroma(11 * c_uiHeight / 2, 0xEE);
    runtimes::ConvertBgraToNv12(source.data(), c_uiPitch, c_uiWidth, c_uiHeight, {luma.data(), chroma.data(), 9, 11});
    for (std::size_t i = 0; i < luma.size(); ++i)
    {
        EXPECT_EQ(luma[i], i % 9 < c_uiWidth ? std::lround(16 + static_cast<double>(i / 9 * 60) * 219 / 255) : 0xEE);
    }
    for (std::size_t i = 0; i < chroma.size(); ++i)
    {
        EXPECT_EQ(chroma[i], i % 11 < c_uiWidth ? 128 : 0xEE);
    }
}
