// 24-bit colour to YUY2, as the Media Foundation back end uses it.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "colour/colourconversion.h"
#include "colour_definition.h"
#include "guarded_block.h"
#include "hostapi/hostpicbase.h"
#include "kernels_under_test.h"
#include "support/repetitions.h"

namespace
{

// Y0, U, Y1, V of two pixels, each 0xRRGGBB.
Bytes Convert(std::uint32_t uiFirst, std::uint32_t uiSecond)
{
    Bytes vBgr = {static_cast<std::uint8_t>(uiFirst),       static_cast<std::uint8_t>(uiFirst >> 8),
                  static_cast<std::uint8_t>(uiFirst >> 16), static_cast<std::uint8_t>(uiSecond),
                  static_cast<std::uint8_t>(uiSecond >> 8), static_cast<std::uint8_t>(uiSecond >> 16)};
    Bytes vYuy2(4);
    SQmPicBuf target{2, 1, 4, 8, 2, 4, vYuy2.data()};
    const SQmPicBuf source{2, 1, 6, 8, 3, 6, vBgr.data()};
    ConvertBgrToYuy2(target, source);
    return vYuy2;
}

SPixelTerms TermsAt(const std::uint8_t* pBgr)
{
    return {pBgr[0], pBgr[1], pBgr[2]};
}

Bytes DefinedPair(const SPixelTerms& first, const SPixelTerms& second)
{
    return {first.m_bY, DefinedMean(first.m_fU, second.m_fU), second.m_bY, DefinedMean(first.m_fV, second.m_fV)};
}

enum class EFill
{
    Random,
    AllLow,
    AllHigh
};

void ExpectPictureIsConverted(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiTargetPitch,
                              std::uint32_t uiSourcePitch, std::size_t uiShift, EFill eFill, std::mt19937& random)
{
    SCOPED_TRACE(testing::Message() << uiWidth << " x " << uiHeight << ", pitch " << uiTargetPitch << " from "
                                    << uiSourcePitch << ", shift " << uiShift);
    CGuardedBlock source(std::size_t{uiSourcePitch} * uiHeight, uiShift, random);
    if (eFill != EFill::Random)
    {
        std::fill_n(source.Data(), std::size_t{uiSourcePitch} * uiHeight, eFill == EFill::AllLow ? 0 : 255);
    }
    CGuardedBlock target(std::size_t{uiTargetPitch} * uiHeight, uiShift, random);
    Bytes vExpected = target.Contents();
    const Bytes vSource = source.Contents();
    for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
    {
        for (std::uint32_t uiPixel = 0; uiPixel < uiWidth; uiPixel += 2)
        {
            const std::uint8_t* pFirst = vSource.data() + std::size_t{uiRow} * uiSourcePitch + uiPixel * 3;
            const bool bAlone = uiPixel + 1 == uiWidth;
            const Bytes vPair = DefinedPair(TermsAt(pFirst), TermsAt(bAlone ? pFirst : pFirst + 3));
            for (std::uint32_t uiByte = 0; uiByte < 4; ++uiByte)
            {
                const std::uint32_t uiInRow = uiPixel * 2 + uiByte;
                if (uiInRow < uiTargetPitch) vExpected[std::size_t{uiRow} * uiTargetPitch + uiInRow] = vPair[uiByte];
            }
        }
    }

    SQmPicBuf targetPic{uiWidth, uiHeight, uiTargetPitch, 8, 2, std::uint64_t{uiTargetPitch} * uiHeight, target.Data()};
    const SQmPicBuf sourcePic{uiWidth,      uiHeight, uiSourcePitch, 8, 3, std::uint64_t{uiSourcePitch} * uiHeight,
                              source.Data()};
    ConvertBgrToYuy2(targetPic, sourcePic);

    EXPECT_EQ(target.Contents(), vExpected);
    EXPECT_EQ(source.Contents(), vSource);
    EXPECT_TRUE(target.GuardsAreUnchanged());
    EXPECT_TRUE(source.GuardsAreUnchanged());
}
}  // namespace

TEST(ConvertBgrToYuy2, PureWhiteGivesLuma235)
{
    EXPECT_EQ(Convert(0xFFFFFF, 0xFFFFFF)[0], 235);
    EXPECT_EQ(Convert(0xFFFFFF, 0xFFFFFF)[2], 235);
}

TEST(ConvertBgrToYuy2, ChromaIsTheMeanOfBothPixels)
{
    // Blue: Y 40.99, U 239.945, V 109.895. Red: Y 81.535, U 90.26, V 239.945.
    EXPECT_EQ(Convert(0x0000FF, 0xFF0000), (Bytes{40, 164, 81, 174}));  // U (90 + 239.945) / 2, V (239 + 109.895) / 2
}

TEST(ConvertBgrToYuy2, TheSecondPixelsChromaGoesThroughAnInteger)
{
    // Red 46: U 121.192, V 148.194. Red 46 and blue 4: U 122.948, V 147.91.
    EXPECT_EQ(Convert(0x2E0004, 0x2E0000)[1], 121);  // (121 + 122.948) / 2 = 121.974, of the exact values 122.07
    EXPECT_EQ(Convert(0x2E0000, 0x2E0004)[1], 121);  // (122 + 121.192) / 2 = 121.596, of the exact values 122.07
    EXPECT_EQ(Convert(0x2E0004, 0x2E0000)[3], 147);  // (148 + 147.91) / 2 = 147.955, of the exact values 148.052
}

TEST(ConvertBgrToYuy2, TheSecondPixelsChromaNeverWraps)
{
    // The first pixel is black, with chroma 128. Wrapped chroma of the second would give a value outside of the means
    // of 128 and 16 to 240.
    Bytes vBgr(256 * 6);
    Bytes vYuy2(256 * 4);
    SQmPicBuf target{512, 1, 1024, 8, 2, 1024, vYuy2.data()};
    const SQmPicBuf source{512, 1, 1536, 8, 3, 1536, vBgr.data()};
    for (unsigned uiRedGreen = 0; uiRedGreen < 65536; uiRedGreen += test_support::Stride(16))
    {
        for (std::size_t uiB = 0; uiB < 256; ++uiB)
        {
            vBgr[uiB * 6 + 3] = static_cast<std::uint8_t>(uiB);
            vBgr[uiB * 6 + 4] = static_cast<std::uint8_t>(uiRedGreen);
            vBgr[uiB * 6 + 5] = static_cast<std::uint8_t>(uiRedGreen >> 8);
        }
        ConvertBgrToYuy2(target, source);
        for (std::size_t uiPair = 0; uiPair < 256; ++uiPair)
        {
            const std::uint8_t bU = vYuy2[uiPair * 4 + 1];
            const std::uint8_t bV = vYuy2[uiPair * 4 + 3];
            ASSERT_TRUE(bU >= 72 && bU <= 184 && bV >= 72 && bV <= 184) << uiRedGreen << " " << uiPair;
        }
    }
}

TEST(ConvertBgrToYuy2, AnEvenWidthNeverStraddlesARowEnd)
{
    // Rows of one colour each: a pair that took pixels of two rows would show a mean.
    const std::uint32_t uiWidth = 6;
    Bytes vBgr;
    for (const std::uint8_t b : {0, 255, 0})
    {
        vBgr.insert(vBgr.end(), uiWidth * 3, b);
    }
    Bytes vYuy2(uiWidth * 2 * 3);
    SQmPicBuf target{uiWidth, 3, uiWidth * 2, 8, 2, vYuy2.size(), vYuy2.data()};
    const SQmPicBuf source{uiWidth, 3, uiWidth * 3, 8, 3, vBgr.size(), vBgr.data()};
    ConvertBgrToYuy2(target, source);
    for (std::size_t ui = 0; ui < vYuy2.size(); ++ui)
    {
        const bool bLuma = ui % 2 == 0;
        const bool bWhite = ui / (uiWidth * 2) == 1;
        // White's chroma: 128 plus the rounding error of the float sums.
        EXPECT_NEAR(vYuy2[ui], bLuma ? (bWhite ? 235 : 16) : 128, bLuma ? 0 : 1) << ui;
    }
}

TEST(ConvertBgrToYuy2, AnOddWidthPairsItsLastPixelWithItselfAndStaysInTheRow)
{
    std::mt19937 random(5);
    for (const std::uint32_t uiWidth : {1U, 3U, 15U, 17U, 33U, 641U})
    {
        for (const std::uint32_t uiPadding : {0U, 1U, 2U, 5U})
        {
            ExpectPictureIsConverted(uiWidth, 3, uiWidth * 2 + uiPadding, uiWidth * 3, 0, EFill::Random, random);
        }
    }
}

TEST(ConvertBgrToYuy2, AnyShapeAlignmentAndContent)
{
    std::mt19937 random(6);
    for (std::uint32_t uiWidth = 1; uiWidth <= 70; ++uiWidth)
    {
        const std::uint32_t uiTargetPitch = uiWidth * 2 + random() % 9;
        const std::uint32_t uiSourcePitch = uiWidth * 3 + random() % 9;
        const std::uint32_t uiHeight = 1 + random() % 4;
        for (const EFill eFill : {EFill::Random, EFill::AllLow, EFill::AllHigh})
        {
            ExpectPictureIsConverted(uiWidth, uiHeight, uiTargetPitch, uiSourcePitch, random() % 32, eFill, random);
        }
    }
}

TEST(ConvertBgrToYuy2, ReadsNoByteAfterTheLastPixel)
{
    // Blocks of the exact size, for an even width and an odd one: the address sanitizer reports a read after them.
    for (const std::uint32_t uiWidth : {38U, 39U})
    {
        const Bytes vSource(uiWidth * 3 * 2, 0);
        Bytes vTarget((uiWidth + 1) * 2 * 2);
        SQmPicBuf target{uiWidth, 2, (uiWidth + 1) & ~1U, 8, 2, vTarget.size(), vTarget.data()};
        target.m_uiWidthBytes *= 2;
        const SQmPicBuf source{
            uiWidth, 2, uiWidth * 3, 8, 3, vSource.size(), const_cast<unsigned char*>(vSource.data())};
        ConvertBgrToYuy2(target, source);
        EXPECT_EQ(vTarget[target.m_uiWidthBytes * 2 - 4], 16);
        EXPECT_EQ(vTarget[target.m_uiWidthBytes * 2 - 1], 128);
    }
}

TEST(ConvertBgrToYuy2, APictureThatIsTooSmallForItsRowsIsUnchanged)
{
    Bytes vBgr(64);
    Bytes vTarget(64, 7);
    const SQmPicBuf source{4, 2, 12, 8, 3, 24, vBgr.data()};
    SQmPicBuf tooNarrow{4, 2, 7, 8, 2, 14, vTarget.data()};
    ConvertBgrToYuy2(tooNarrow, source);
    SQmPicBuf tooLow{4, 1, 8, 8, 2, 8, vTarget.data()};
    ConvertBgrToYuy2(tooLow, source);
    SQmPicBuf target{4, 2, 8, 8, 2, 16, vTarget.data()};
    SQmPicBuf rowsCut = source;
    rowsCut.m_uiWidthBytes = 11;
    ConvertBgrToYuy2(target, rowsCut);
    SQmPicBuf noSource = source;
    noSource.m_pData = nullptr;
    ConvertBgrToYuy2(target, noSource);
    EXPECT_EQ(vTarget, Bytes(64, 7));

    SQmPicBuf noTarget{4, 2, 8, 8, 2, 16, nullptr};
    ConvertBgrToYuy2(noTarget, source);
}
