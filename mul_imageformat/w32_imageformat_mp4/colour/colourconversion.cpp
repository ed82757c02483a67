#include "colour/colourconversion.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "colour/colourkernels.h"
#include "hostapi/hostpicbase.h"

std::uint8_t g_yuvToRgbLut[g_uiYuvToRgbLutSize];
std::atomic<std::uint8_t> g_bYuvToRgbLutReady{0};

namespace
{
// Two decoders may get here at the same time with the flag still 0. Filling the table twice would give the same bytes,
// but two threads that write one byte are a data race in C++. So the first one fills it and the others wait.
void MakeYuvToRgbLutReady()
{
    if (g_bYuvToRgbLutReady.load(std::memory_order_acquire) != 0) return;
    static std::once_flag s_once;
    std::call_once(s_once, [] {
        constexpr std::size_t uiPlaneSize = g_uiYuvToRgbLutSize / 256;
        for (std::uint32_t uiLuma = 0; uiLuma < 256; ++uiLuma)
        {
            ColourKernels().m_pfnFillLutPlane(g_yuvToRgbLut + uiLuma * uiPlaneSize, uiLuma);
        }
        g_bYuvToRgbLutReady.store(1, std::memory_order_release);
    });
}
}  // namespace

void ConvertYuy2ToBgr(SQmPicBuf& target, const SQmPicBuf& source)
{
    MakeYuvToRgbLutReady();

    const std::size_t uiWidth = target.m_uiWidth;
    const std::size_t uiPairs = uiWidth / 2;
    const bool bOdd = (uiWidth & 1) != 0;
    if (target.m_pData == nullptr || source.m_pData == nullptr) return;
    if (target.m_uiWidthBytes < uiWidth * 3 || source.m_uiWidthBytes < (uiPairs + bOdd) * 4) return;

    const std::size_t uiLast = bOdd ? std::min<std::size_t>(6, target.m_uiWidthBytes - uiPairs * 6) : 0;
    std::uint8_t* pTarget = target.m_pData;
    const std::uint8_t* pSource = source.m_pData;
    for (std::uint32_t uiRow = 0; uiRow < target.m_uiHeight; ++uiRow)
    {
        ColourKernels().m_pfnYuy2ToBgr(pTarget, pSource, uiPairs);
        if (bOdd)
        {
            std::uint8_t abPair[6];
            g_scalarColourKernels.m_pfnYuy2ToBgr(abPair, pSource + uiPairs * 4, 1);
            std::memcpy(pTarget + uiPairs * 6, abPair, uiLast);
        }
        pTarget += target.m_uiWidthBytes;
        pSource += source.m_uiWidthBytes;
    }
}

void ConvertBgrToYuy2(SQmPicBuf& target, const SQmPicBuf& source)
{
    const std::size_t uiWidth = source.m_uiWidth;
    const std::size_t uiPairs = uiWidth / 2;
    const bool bOdd = (uiWidth & 1) != 0;
    if (target.m_pData == nullptr || source.m_pData == nullptr || target.m_uiHeight < source.m_uiHeight) return;
    if (target.m_uiWidthBytes < uiWidth * 2 || source.m_uiWidthBytes < uiWidth * 3) return;

    const std::size_t uiLast = bOdd ? std::min<std::size_t>(4, target.m_uiWidthBytes - uiPairs * 4) : 0;
    std::uint8_t* pTarget = target.m_pData;
    const std::uint8_t* pSource = source.m_pData;
    for (std::uint32_t uiRow = 0; uiRow < source.m_uiHeight; ++uiRow)
    {
        ColourKernels().m_pfnBgrToYuy2(pTarget, pSource, uiPairs);
        if (bOdd)
        {
            std::uint8_t abPixels[6];
            std::uint8_t abPair[4];
            std::memcpy(abPixels, pSource + uiPairs * 6, 3);
            std::memcpy(abPixels + 3, pSource + uiPairs * 6, 3);
            g_scalarColourKernels.m_pfnBgrToYuy2(abPair, abPixels, 1);
            std::memcpy(pTarget + uiPairs * 4, abPair, uiLast);
        }
        pTarget += target.m_uiWidthBytes;
        pSource += source.m_uiWidthBytes;
    }
}

void CopyBgrToBgra(void* pTarget, std::ptrdiff_t nTargetPitch, const void* pSource, std::uint32_t uiSourcePitch,
                   std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    std::uint8_t* pTargetRow = static_cast<std::uint8_t*>(pTarget);
    const std::uint8_t* pPixels = static_cast<const std::uint8_t*>(pSource);
    for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
    {
        ColourKernels().m_pfnBgrToBgra(pTargetRow, pPixels + std::uint32_t{uiRow * uiSourcePitch}, uiWidth);
        pTargetRow += nTargetPitch;
    }
}
