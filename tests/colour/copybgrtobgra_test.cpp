// 24-bit rows to 32-bit ones, for the encoders' surfaces.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "colour/colourconversion.h"
#include "guarded_block.h"
#include "kernels_under_test.h"

TEST(CopyBgrToBgra, CopiesThreeBytesAndSetsTheFourthTo255)
{
    const Bytes vSource = {1, 2, 3, 4, 5, 6, 99, 99, 7, 8, 9, 10, 11, 12, 99, 99};
    Bytes vTarget(24, 77);
    CopyBgrToBgra(vTarget.data(), 12, vSource.data(), 8, 2, 2);
    EXPECT_EQ(vTarget, (Bytes{1, 2, 3, 255, 4,  5,  6,  255, 77, 77, 77, 77,  //
                              7, 8, 9, 255, 10, 11, 12, 255, 77, 77, 77, 77}));
}

TEST(CopyBgrToBgra, AnyShapeAndAlignment)
{
    std::mt19937 random(8);
    for (std::uint32_t uiWidth = 1; uiWidth <= 70; ++uiWidth)
    {
        const std::uint32_t uiHeight = 1 + random() % 4;
        const std::uint32_t uiSourcePitch = uiWidth * 3 + random() % 5;
        const std::uint32_t uiTargetPitch = uiWidth * 4 + random() % 9;
        CGuardedBlock source(std::size_t{uiSourcePitch} * uiHeight, random() % 32, random);
        CGuardedBlock target(std::size_t{uiTargetPitch} * uiHeight, random() % 32, random);
        Bytes vExpected = target.Contents();
        for (std::size_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        {
            for (std::size_t ui = 0; ui < uiWidth * std::size_t{4}; ++ui)
            {
                const std::uint8_t* pPixel = source.Data() + uiRow * uiSourcePitch + ui / 4 * 3;
                vExpected[uiRow * uiTargetPitch + ui] = ui % 4 == 3 ? 255 : pPixel[ui % 4];
            }
        }
        CopyBgrToBgra(target.Data(), uiTargetPitch, source.Data(), uiSourcePitch, uiWidth, uiHeight);
        EXPECT_EQ(target.Contents(), vExpected);
        EXPECT_TRUE(target.GuardsAreUnchanged());
    }
}

TEST(CopyBgrToBgra, AnUpwardSurfaceHasANegativePitch)
{
    const Bytes vSource = {1, 2, 3, 4, 5, 6};
    Bytes vTarget(8);
    CopyBgrToBgra(vTarget.data() + 4, -4, vSource.data(), 3, 1, 2);
    EXPECT_EQ(vTarget, (Bytes{4, 5, 6, 255, 1, 2, 3, 255}));
}

TEST(CopyBgrToBgra, ARowsOffsetIsAProductOf32Bits)
{
    // Row 2 is at 2 * 0x80000001, of which 32 bits are 2. The pages in between are never accessed.
    constexpr std::uint32_t uiPitch = 0x80000001U;
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> pSource(
        static_cast<std::uint8_t*>(std::malloc(std::size_t{uiPitch} + 3)), &std::free);
    if (pSource == nullptr) GTEST_SKIP() << "no address space for a row so long";
    for (int n = 0; n < 5; ++n)
    {
        pSource.get()[n] = static_cast<std::uint8_t>(n + 1);
    }
    for (int n = 0; n < 3; ++n)
    {
        pSource.get()[uiPitch + n] = static_cast<std::uint8_t>(n + 9);
    }
    Bytes vTarget(12);
    CopyBgrToBgra(vTarget.data(), 4, pSource.get(), uiPitch, 1, 3);
    EXPECT_EQ(vTarget, (Bytes{1, 2, 3, 255, 9, 10, 11, 255, 3, 4, 5, 255}));
}

class BgrToBgraKernel : public ColourKernelTest
{
};
INSTANTIATE_TEST_SUITE_P(Kernels, BgrToBgraKernel, BothKernels(), KernelsName);

TEST_P(BgrToBgraKernel, WritesItsPixelsAndNothingElse)
{
    std::mt19937 random(9);
    for (std::size_t uiPixels = 0; uiPixels <= 100; ++uiPixels)
    {
        // A block of the exact size: the address sanitizer reports a read after it.
        Bytes vSource(uiPixels * 3);
        for (std::uint8_t& b : vSource)
        {
            b = static_cast<std::uint8_t>(random());
        }
        CGuardedBlock target(uiPixels * 4, random() % 32, random);
        Kernels().m_pfnBgrToBgra(target.Data(), vSource.data(), uiPixels);
        for (std::size_t ui = 0; ui < uiPixels * 4; ++ui)
        {
            ASSERT_EQ(target.Data()[ui], ui % 4 == 3 ? 255 : vSource[ui / 4 * 3 + ui % 4]) << ui << " of " << uiPixels;
        }
        ASSERT_TRUE(target.GuardsAreUnchanged()) << uiPixels;
    }
}
