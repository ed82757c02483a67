// YUY2 to 24-bit colour, as the reader uses it.
#include <gtest/gtest.h>

#include <algorithm>
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
// B, G, R of the first pixel of a pair.
std::vector<std::uint8_t> Convert(std::uint8_t bY, std::uint8_t bU, std::uint8_t bV)
{
    std::uint8_t abYuy2[32] = {bY, bU, 0, bV};
    std::uint8_t abBgr[8] = {};
    SQmPicBuf target{2, 1, 8, 8, 3, 8, abBgr};
    const SQmPicBuf source{2, 1, 32, 8, 2, 32, abYuy2};
    ConvertYuy2ToBgr(target, source);
    return {abBgr, abBgr + 3};
}

std::uint32_t SamplePitch(std::uint32_t uiWidth)
{
    return ((2 * uiWidth - 1) & ~31U) + 32;
}

void MakeTable()
{
    Convert(0, 0, 0);
}

enum class EFill
{
    Random,
    AllLow,
    AllHigh
};

// Converts a picture of the given shape between guarded blocks and compares every byte of the target's block. The
// bytes that the conversion must not write keep their values.
void ExpectPictureIsConverted(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch, std::size_t uiShift,
                              EFill eFill, std::mt19937& random)
{
    SCOPED_TRACE(testing::Message() << uiWidth << " x " << uiHeight << ", pitch " << uiPitch << ", shift " << uiShift);
    const std::uint32_t uiSourcePitch = SamplePitch(uiWidth);
    CGuardedBlock source(std::size_t{uiSourcePitch} * uiHeight, uiShift, random);
    if (eFill != EFill::Random)
    {
        std::fill_n(source.Data(), std::size_t{uiSourcePitch} * uiHeight, eFill == EFill::AllLow ? 0 : 255);
    }
    CGuardedBlock target(std::size_t{uiPitch} * uiHeight, uiShift, random);
    Bytes vExpected = target.Contents();
    const Bytes vSource = source.Contents();
    for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
    {
        for (std::uint32_t uiPixel = 0; uiPixel < uiWidth + (uiWidth & 1); ++uiPixel)
        {
            const std::uint8_t* pPair = vSource.data() + std::size_t{uiRow} * uiSourcePitch + uiPixel / 2 * 4;
            const SBgr bgr = DefinedBgr(pPair[uiPixel % 2 * 2], pPair[1], pPair[3]);
            const std::uint8_t abBgr[3] = {bgr.m_b, bgr.m_g, bgr.m_r};
            for (std::uint32_t uiByte = 0; uiByte < 3; ++uiByte)
            {
                const std::uint32_t uiInRow = uiPixel * 3 + uiByte;
                if (uiInRow < uiPitch) vExpected[std::size_t{uiRow} * uiPitch + uiInRow] = abBgr[uiByte];
            }
        }
    }

    SQmPicBuf targetPic{uiWidth, uiHeight, uiPitch, 8, 3, std::uint64_t{uiPitch} * uiHeight, target.Data()};
    SQmPicBuf sourcePic = targetPic;
    sourcePic.m_uiWidthBytes = uiSourcePitch;
    sourcePic.m_pData = source.Data();
    ConvertYuy2ToBgr(targetPic, sourcePic);

    EXPECT_EQ(target.Contents(), vExpected);
    EXPECT_EQ(source.Contents(), vSource);
    EXPECT_TRUE(target.GuardsAreUnchanged());
    EXPECT_TRUE(source.GuardsAreUnchanged());
}
}  // namespace

TEST(ConvertYuy2ToBgr, BlackAndWhiteOfTheStudioRange)
{
    EXPECT_EQ(Convert(16, 128, 128), (Bytes{0, 0, 0}));
    EXPECT_EQ(Convert(235, 128, 128), (Bytes{254, 254, 254})) << "254.9 is cut, not rounded";
}

TEST(ConvertYuy2ToBgr, LumaOutsideTheStudioRangeIsLimited)
{
    EXPECT_EQ(Convert(0, 128, 128), (Bytes{0, 0, 0}));
    EXPECT_EQ(Convert(255, 128, 128), (Bytes{255, 255, 255}));
}

TEST(ConvertYuy2ToBgr, BothPixelsOfAPairHaveTheSameChroma)
{
    std::uint8_t abYuy2[32] = {100, 90, 200, 170, 100, 166, 200, 86};
    std::uint8_t abBgr[12] = {};
    SQmPicBuf target{4, 1, 12, 8, 3, 12, abBgr};
    const SQmPicBuf source{4, 1, 32, 8, 2, 32, abYuy2};
    ConvertYuy2ToBgr(target, source);
    // y 97.776 and 214.176; u -38, v 42 in the first pair, u 38, v -42 in the second
    EXPECT_EQ(Bytes(abBgr, abBgr + 12), (Bytes{21, 78, 164, 137, 194, 255, 174, 117, 30, 255, 233, 147}));
}

TEST(ConvertYuy2ToBgr, AnOddWidthWritesIntoThePadding)
{
    std::mt19937 random(1);
    for (const std::uint32_t uiWidth : {1U, 3U, 5U, 15U, 17U, 31U, 33U, 641U})
    {
        const std::uint32_t uiRow = uiWidth * 3;
        for (const std::uint32_t uiPitch : {(uiRow + 3) & ~3U, uiRow + 3, uiRow + 8})
        {
            ExpectPictureIsConverted(uiWidth, 3, uiPitch, 0, EFill::Random, random);
        }
    }
}

TEST(ConvertYuy2ToBgr, AnOddWidthWithoutPaddingWritesNothingAfterTheBlock)
{
    std::mt19937 random(2);
    for (const std::uint32_t uiWidth : {1U, 3U, 15U, 17U, 33U})
    {
        for (const std::uint32_t uiPadding : {0U, 1U, 2U})
        {
            ExpectPictureIsConverted(uiWidth, 3, uiWidth * 3 + uiPadding, 0, EFill::Random, random);
        }
    }
}

TEST(ConvertYuy2ToBgr, AnyShapeAlignmentAndContent)
{
    std::mt19937 random(3);
    for (std::uint32_t uiWidth = 1; uiWidth <= 70; ++uiWidth)
    {
        const std::uint32_t uiPitch = uiWidth * 3 + random() % 9;
        const std::uint32_t uiHeight = 1 + random() % 4;
        ExpectPictureIsConverted(uiWidth, uiHeight, uiPitch, random() % 32, EFill::Random, random);
        ExpectPictureIsConverted(uiWidth, uiHeight, uiPitch, random() % 32, EFill::AllLow, random);
        ExpectPictureIsConverted(uiWidth, uiHeight, uiPitch, random() % 32, EFill::AllHigh, random);
    }
}

TEST(ConvertYuy2ToBgr, ReadsNoByteAfterTheLastPair)
{
    // The sample's last row may end with its last pair. The address sanitizer reports a read after it.
    const std::uint32_t uiWidth = 38;
    const std::uint32_t uiPitch = 80;
    const std::vector<std::uint8_t> vSource(uiPitch + uiWidth * 2, 128);
    std::vector<std::uint8_t> vTarget(2 * uiWidth * 3);
    SQmPicBuf target{uiWidth, 2, uiWidth * 3, 8, 3, vTarget.size(), vTarget.data()};
    SQmPicBuf source = target;
    source.m_uiWidthBytes = uiPitch;
    source.m_pData = const_cast<unsigned char*>(vSource.data());
    ConvertYuy2ToBgr(target, source);
    EXPECT_EQ(vTarget, Bytes(vTarget.size(), 130));  // (128 - 16) * 1.164 = 130.368
}

TEST(ConvertYuy2ToBgr, APictureThatIsTooSmallForItsRowsIsUnchanged)
{
    std::uint8_t abYuy2[64] = {};
    Bytes vTarget(64, 7);
    const SQmPicBuf source{4, 2, 32, 8, 2, 64, abYuy2};
    SQmPicBuf tooNarrow{4, 2, 11, 8, 3, 22, vTarget.data()};
    ConvertYuy2ToBgr(tooNarrow, source);
    SQmPicBuf target{5, 2, 16, 8, 3, 32, vTarget.data()};
    SQmPicBuf pairsCut = source;
    pairsCut.m_uiWidthBytes = 10;
    ConvertYuy2ToBgr(target, pairsCut);
    SQmPicBuf noSource = source;
    noSource.m_pData = nullptr;
    ConvertYuy2ToBgr(target, noSource);
    EXPECT_EQ(vTarget, Bytes(64, 7));

    SQmPicBuf noTarget{4, 2, 12, 8, 3, 24, nullptr};
    ConvertYuy2ToBgr(noTarget, source);
}

class Yuy2ToBgrKernel : public ColourKernelTest
{
};
INSTANTIATE_TEST_SUITE_P(Kernels, Yuy2ToBgrKernel, BothKernels(), KernelsName);

// Every triple once as a pair's first pixel and once as its second.
TEST_P(Yuy2ToBgrKernel, GivesTheDefinitionForEveryTriple)
{
    MakeTable();
    constexpr std::size_t uiPairs = 65536;
    Bytes vYuy2(uiPairs * 4);
    Bytes vBgr(uiPairs * 6);
    const auto matches = [](const std::uint8_t* pBgr, const SBgr& bgr) {
        return pBgr[0] == bgr.m_b && pBgr[1] == bgr.m_g && pBgr[2] == bgr.m_r;
    };
    // 255 is a multiple of the step.
    for (unsigned uiY = 0; uiY < 256; uiY += static_cast<unsigned>(test_support::StepBelowAQuarter(15)))
    {
        const unsigned uiOther = 255 - uiY;
        for (std::size_t ui = 0; ui < uiPairs; ++ui)
        {
            vYuy2[ui * 4] = static_cast<std::uint8_t>(uiY);
            vYuy2[ui * 4 + 1] = static_cast<std::uint8_t>(ui >> 8);
            vYuy2[ui * 4 + 2] = static_cast<std::uint8_t>(uiOther);
            vYuy2[ui * 4 + 3] = static_cast<std::uint8_t>(ui);
        }
        Kernels().m_pfnYuy2ToBgr(vBgr.data(), vYuy2.data(), uiPairs);
        std::size_t uiWrong = 0;
        for (unsigned ui = 0; ui < uiPairs; ++ui)
        {
            uiWrong += !matches(&vBgr[ui * 6], DefinedBgr(uiY, ui >> 8, ui & 0xFF));
            uiWrong += !matches(&vBgr[ui * 6 + 3], DefinedBgr(uiOther, ui >> 8, ui & 0xFF));
        }
        ASSERT_EQ(uiWrong, 0U) << "Y " << uiY << " and " << uiOther;
    }
}

TEST_P(Yuy2ToBgrKernel, WritesItsPixelsAndNothingElse)
{
    MakeTable();
    std::mt19937 random(4);
    for (std::size_t uiPairs = 0; uiPairs <= 40; ++uiPairs)
    {
        CGuardedBlock source(uiPairs * 4, random() % 32, random);
        CGuardedBlock target(uiPairs * 6, random() % 32, random);
        Kernels().m_pfnYuy2ToBgr(target.Data(), source.Data(), uiPairs);
        for (std::size_t ui = 0; ui < uiPairs * 2; ++ui)
        {
            const std::uint8_t* pPair = source.Data() + ui / 2 * 4;
            const SBgr bgr = DefinedBgr(pPair[ui % 2 * 2], pPair[1], pPair[3]);
            const std::uint8_t* pBgr = target.Data() + ui * 3;
            ASSERT_EQ(Bytes(pBgr, pBgr + 3), (Bytes{bgr.m_b, bgr.m_g, bgr.m_r})) << ui << " of " << uiPairs * 2;
        }
        ASSERT_TRUE(target.GuardsAreUnchanged()) << uiPairs;
    }
}

TEST(ColourKernels, AreThoseForAvx2WhereTheMachineHasIt)
{
    EXPECT_EQ(&ColourKernels(), MachineHasAvx2() ? &g_avx2ColourKernels : &g_scalarColourKernels);
}
