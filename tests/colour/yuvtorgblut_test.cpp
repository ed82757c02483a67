// The look-up table from Y, U, V to R, G, B: when it is made, and every entry of it.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "colour/colourconversion.h"
#include "colour_definition.h"
#include "hostapi/hostpicbase.h"
#include "kernels_under_test.h"

namespace
{
constexpr std::size_t g_uiPlaneSize = std::size_t{3} << 16;

// Compares one luma's entries with the definition. Returns the number of different ones.
std::size_t CountWrongEntries(const std::uint8_t* pPlane, unsigned uiY)
{
    std::size_t uiWrong = 0;
    for (unsigned uiU = 0; uiU < 256; ++uiU)
    {
        for (unsigned uiV = 0; uiV < 256; ++uiV, pPlane += 3)
        {
            const SBgr bgr = DefinedBgr(uiY, uiU, uiV);
            uiWrong += pPlane[0] != bgr.m_r || pPlane[1] != bgr.m_g || pPlane[2] != bgr.m_b;
        }
    }
    return uiWrong;
}

void ConvertOnePair(std::uint8_t (&abBgr)[8], std::uint8_t bY, std::uint8_t bU, std::uint8_t bV)
{
    std::uint8_t abYuy2[32] = {bY, bU, bY, bV};
    SQmPicBuf target{2, 1, 8, 8, 3, 8, abBgr};
    const SQmPicBuf source{2, 1, 32, 8, 2, 32, abYuy2};
    ConvertYuy2ToBgr(target, source);
}
}  // namespace

// First in a program of its own: it must come before any conversion.
TEST(YuvToRgbLut, IsMadeOnceByTheFirstConversionsOnAnyNumberOfThreads)
{
    ASSERT_EQ(g_bYuvToRgbLutReady, 0);
    ASSERT_EQ(g_yuvToRgbLut[g_uiYuvToRgbLutSize - 1], 0) << "zero until it is made";

    constexpr int nThreads = 4;
    std::atomic<int> nWaiting{0};
    std::uint8_t aabBgr[nThreads][8] = {};
    std::vector<std::thread> vThreads;
    for (auto& abBgr : aabBgr)
    {
        vThreads.emplace_back([&abBgr, &nWaiting] {
            ++nWaiting;
            while (nWaiting != nThreads)
            {
                std::this_thread::yield();
            }
            ConvertOnePair(abBgr, 81, 90, 240);
        });
    }
    for (std::thread& thread : vThreads)
    {
        thread.join();
    }

    EXPECT_EQ(g_bYuvToRgbLutReady, 1);
    // y 75.66, u -38, v 112: R 254.412, G 75.66 - 91.056 + 14.896 = -0.5, B 75.66 - 76.646 = -0.986
    for (const auto& abBgr : aabBgr)
    {
        EXPECT_EQ(abBgr[0], 0);
        EXPECT_EQ(abBgr[1], 0);
        EXPECT_EQ(abBgr[2], 254);
    }
}

TEST(YuvToRgbLut, HoldsRedGreenBlueOfEveryTriple)
{
    std::uint8_t abBgr[8];
    ConvertOnePair(abBgr, 0, 0, 0);
    ASSERT_EQ(g_bYuvToRgbLutReady, 1);
    for (unsigned uiY = 0; uiY < 256; ++uiY)
    {
        ASSERT_EQ(CountWrongEntries(g_yuvToRgbLut + uiY * g_uiPlaneSize, uiY), 0U) << "Y " << uiY;
    }
}

class LutPlane : public ColourKernelTest
{
};
INSTANTIATE_TEST_SUITE_P(Kernels, LutPlane, BothKernels(), KernelsName);

TEST_P(LutPlane, IsTheDefinitionForEveryTripleAndWritesNothingElse)
{
    std::vector<std::uint8_t> vPlane(g_uiPlaneSize + 2, 0xA5);
    for (unsigned uiY = 0; uiY < 256; ++uiY)
    {
        Kernels().m_pfnFillLutPlane(vPlane.data() + 1, uiY);
        ASSERT_EQ(CountWrongEntries(vPlane.data() + 1, uiY), 0U) << "Y " << uiY;
    }
    EXPECT_EQ(vPlane.front(), 0xA5);
    EXPECT_EQ(vPlane.back(), 0xA5);
}
