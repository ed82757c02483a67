// The kernel from B, G, R to YUY2, for every input that can change a byte.
//
// A pair's luma bytes depend on one pixel each. Its chroma bytes depend on the first pixel through one float and on
// the second through one integer, of which there are far fewer than pixels. So three things together cover all pairs:
// every pixel as the first one, every pixel as the second one, and every such float with every such integer.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <unordered_map>
#include <vector>

#include "colour_definition.h"
#include "guarded_block.h"
#include "kernels_under_test.h"
#include "support/repetitions.h"

namespace
{
using test_support::StepBelowAQuarter;
using test_support::Stride;

SPixelTerms TermsOf(std::uint32_t uiPixel)
{
    return {uiPixel & 0xFF, uiPixel >> 8 & 0xFF, uiPixel >> 16};
}

void PutPixel(std::uint8_t* pBgr, std::uint32_t uiPixel)
{
    pBgr[0] = static_cast<std::uint8_t>(uiPixel);
    pBgr[1] = static_cast<std::uint8_t>(uiPixel >> 8);
    pBgr[2] = static_cast<std::uint8_t>(uiPixel >> 16);
}

bool IsDefinedPair(const std::uint8_t* pYuy2, const SPixelTerms& first, const SPixelTerms& second)
{
    return pYuy2[0] == first.m_bY && pYuy2[1] == DefinedMean(first.m_fU, second.m_fU) && pYuy2[2] == second.m_bY &&
           pYuy2[3] == DefinedMean(first.m_fV, second.m_fV);
}

constexpr std::uint32_t g_uiPixels = 1U << 24;
constexpr std::uint32_t g_uiRow = 4096;
// The least chroma, the greatest, and something between.
constexpr std::uint32_t g_auiPartners[] = {0x00FFFF, 0x0000FF, 0x7B3F01};

// Converts every pixel at one place of the pair, with each partner at the other, and returns the number of pairs that
// differ from the definition.
std::size_t CountWrongPairs(const SColourKernels& kernels, bool bAsFirst)
{
    Bytes vBgr(g_uiRow * 6);
    Bytes vYuy2(g_uiRow * 4);
    std::size_t uiWrong = 0;
    std::vector<SPixelTerms> vTerms;
    for (std::uint32_t uiStart = 0; uiStart < g_uiPixels; uiStart += g_uiRow * Stride(16))
    {
        vTerms.clear();
        for (std::uint32_t ui = 0; ui < g_uiRow; ++ui)
        {
            vTerms.push_back(TermsOf(uiStart + ui));
            PutPixel(&vBgr[ui * 6 + (bAsFirst ? 0 : 3)], uiStart + ui);
        }
        for (const std::uint32_t uiPartner : g_auiPartners)
        {
            const SPixelTerms partner = TermsOf(uiPartner);
            for (std::uint32_t ui = 0; ui < g_uiRow; ++ui)
            {
                PutPixel(&vBgr[ui * 6 + (bAsFirst ? 3 : 0)], uiPartner);
            }
            kernels.m_pfnBgrToYuy2(vYuy2.data(), vBgr.data(), g_uiRow);
            for (std::uint32_t ui = 0; ui < g_uiRow; ++ui)
            {
                const SPixelTerms& first = bAsFirst ? vTerms[ui] : partner;
                const SPixelTerms& second = bAsFirst ? partner : vTerms[ui];
                uiWrong += !IsDefinedPair(&vYuy2[ui * 4], first, second);
            }
        }
    }
    return uiWrong;
}

// One pixel for every value that a pixel's chroma term takes.
struct SRepresentatives
{
    std::vector<std::uint32_t> m_vFirst;   // for every float
    std::vector<std::uint32_t> m_vSecond;  // for every integer
};

SRepresentatives FindRepresentatives(float SPixelTerms::*pTerm)
{
    // The least and the greatest value of each channel are multiples of the step.
    const auto uiStep = static_cast<std::uint32_t>(StepBelowAQuarter(51));
    std::unordered_map<std::uint32_t, std::uint32_t> mapFloats;
    std::unordered_map<int, std::uint32_t> mapIntegers;
    mapFloats.reserve(1U << 19);
    for (std::uint32_t uiPixel = 0; uiPixel < g_uiPixels; uiPixel += uiStep)
    {
        const float fTerm = TermsOf(uiPixel).*pTerm;
        std::uint32_t uiBits = 0;
        std::memcpy(&uiBits, &fTerm, sizeof uiBits);
        if (mapFloats.emplace(uiBits, uiPixel).second) mapIntegers.emplace(static_cast<int>(fTerm), uiPixel);
    }
    SRepresentatives found;
    for (const auto& [uiBits, uiPixel] : mapFloats)
    {
        found.m_vFirst.push_back(uiPixel);
    }
    for (const auto& [nInteger, uiPixel] : mapIntegers)
    {
        found.m_vSecond.push_back(uiPixel);
    }
    return found;
}

std::size_t CountWrongMeans(const SColourKernels& kernels, float SPixelTerms::*pTerm, std::size_t uiByte)
{
    const SRepresentatives found = FindRepresentatives(pTerm);
    EXPECT_GE(found.m_vSecond.size(), 220U);
    EXPECT_LE(found.m_vSecond.size(), 225U) << "integers from 16 to 240";
    const std::size_t uiPairs = found.m_vFirst.size();
    Bytes vBgr(uiPairs * 6);
    Bytes vYuy2(uiPairs * 4);
    std::vector<float> vTerms;
    for (std::size_t ui = 0; ui < uiPairs; ++ui)
    {
        vTerms.push_back(TermsOf(found.m_vFirst[ui]).*pTerm);
        PutPixel(&vBgr[ui * 6], found.m_vFirst[ui]);
    }
    std::size_t uiWrong = 0;
    for (std::size_t uiAt = 0; uiAt < found.m_vSecond.size(); uiAt += Stride(16))
    {
        const std::uint32_t uiSecond = found.m_vSecond[uiAt];
        const float fSecond = TermsOf(uiSecond).*pTerm;
        for (std::size_t ui = 0; ui < uiPairs; ++ui)
        {
            PutPixel(&vBgr[ui * 6 + 3], uiSecond);
        }
        kernels.m_pfnBgrToYuy2(vYuy2.data(), vBgr.data(), uiPairs);
        for (std::size_t ui = 0; ui < uiPairs; ++ui)
        {
            uiWrong += vYuy2[ui * 4 + uiByte] != DefinedMean(vTerms[ui], fSecond);
        }
    }
    return uiWrong;
}
}  // namespace

class BgrToYuy2Kernel : public ColourKernelTest
{
};
INSTANTIATE_TEST_SUITE_P(Kernels, BgrToYuy2Kernel, BothKernels(), KernelsName);

TEST_P(BgrToYuy2Kernel, GivesTheDefinitionForEveryFirstPixel)
{
    EXPECT_EQ(CountWrongPairs(Kernels(), true), 0U);
}

TEST_P(BgrToYuy2Kernel, GivesTheDefinitionForEverySecondPixel)
{
    EXPECT_EQ(CountWrongPairs(Kernels(), false), 0U);
}

TEST_P(BgrToYuy2Kernel, GivesTheDefinitionForEveryMeanOfU)
{
    EXPECT_EQ(CountWrongMeans(Kernels(), &SPixelTerms::m_fU, 1), 0U);
}

TEST_P(BgrToYuy2Kernel, GivesTheDefinitionForEveryMeanOfV)
{
    EXPECT_EQ(CountWrongMeans(Kernels(), &SPixelTerms::m_fV, 3), 0U);
}

TEST_P(BgrToYuy2Kernel, GivesTheDefinitionForRandomPairsAndWritesNothingElse)
{
    std::mt19937 random(7);
    for (std::size_t uiPairs = 0; uiPairs <= 300; ++uiPairs)
    {
        CGuardedBlock source(uiPairs * 6, random() % 32, random);
        CGuardedBlock target(uiPairs * 4, random() % 32, random);
        Kernels().m_pfnBgrToYuy2(target.Data(), source.Data(), uiPairs);
        for (std::size_t ui = 0; ui < uiPairs; ++ui)
        {
            const std::uint8_t* p = source.Data() + ui * 6;
            const SPixelTerms first(p[0], p[1], p[2]);
            const SPixelTerms second(p[3], p[4], p[5]);
            ASSERT_TRUE(IsDefinedPair(target.Data() + ui * 4, first, second)) << ui << " of " << uiPairs;
        }
        ASSERT_TRUE(target.GuardsAreUnchanged()) << uiPairs;
    }
}
