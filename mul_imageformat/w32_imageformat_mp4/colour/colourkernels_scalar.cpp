// The colour conversions in plain C++. They are the definition to which the vector code is compared. Every operation is
// one 32-bit floating-point operation, in the order written. A fused or reordered one would change pixels.
#include "colour/colourconversion.h"
#include "colour/colourkernels.h"

namespace
{
// No rounding term: 254.9 is 254.
std::uint8_t ToByte(float fValue)
{
    if (fValue < 0.0F) return 0;
    if (fValue > 255.0F) return 255;
    return static_cast<std::uint8_t>(fValue);
}

void FillLutPlane(std::uint8_t* pPlane, std::uint32_t uiLuma)
{
    const float fY = (static_cast<float>(uiLuma) - 16.0F) * 1.164F;
    for (int nU = 0; nU < 256; ++nU)
    {
        const float fU = static_cast<float>(nU) - 128.0F;
        const std::uint8_t bBlue = ToByte(fU * 2.017F + fY);
        for (int nV = 0; nV < 256; ++nV)
        {
            const float fV = static_cast<float>(nV) - 128.0F;
            pPlane[0] = ToByte(fV * 1.596F + fY);
            pPlane[1] = ToByte(fY - fV * 0.813F - fU * 0.392F);
            pPlane[2] = bBlue;
            pPlane += 3;
        }
    }
}

void StoreBgr(std::uint8_t* pTarget, std::uint32_t uiY, std::uint32_t uiU, std::uint32_t uiV)
{
    const std::uint8_t* pEntry = g_yuvToRgbLut + (std::size_t{uiY} << 16 | uiU << 8 | uiV) * 3;
    pTarget[0] = pEntry[2];
    pTarget[1] = pEntry[1];
    pTarget[2] = pEntry[0];
}

void Yuy2ToBgr(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs)
{
    for (; uiPairs != 0; --uiPairs, pTarget += 6, pSource += 4)
    {
        StoreBgr(pTarget, pSource[0], pSource[1], pSource[3]);
        StoreBgr(pTarget + 3, pSource[2], pSource[1], pSource[3]);
    }
}

// The second pixel's part of a pair's chroma is truncated to an integer, the first pixel's isn't.
float ThroughByte(float fValue)
{
    return static_cast<float>(static_cast<std::uint8_t>(static_cast<int>(fValue)));
}

void BgrToYuy2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs)
{
    for (; uiPairs != 0; --uiPairs, pTarget += 4, pSource += 6)
    {
        const float fB0 = pSource[0];
        const float fG0 = pSource[1];
        const float fR0 = pSource[2];
        const float fB1 = pSource[3];
        const float fG1 = pSource[4];
        const float fR1 = pSource[5];
        const float fUa = fR0 * -0.148F - fG0 * 0.291F + fB0 * 0.439F + 128.0F;
        const float fUb = ThroughByte(fR1 * -0.148F - fG1 * 0.291F + fB1 * 0.439F + 128.0F);
        const float fVa = fR0 * 0.439F - fG0 * 0.368F - fB0 * 0.071F + 128.0F;
        const float fVb = ThroughByte(fR1 * 0.439F - fG1 * 0.368F - fB1 * 0.071F + 128.0F);
        pTarget[0] = ToByte(fG0 * 0.504F + fR0 * 0.257F + fB0 * 0.098F + 16.0F);
        pTarget[1] = ToByte((fUb + fUa) * 0.5F);
        pTarget[2] = ToByte(fG1 * 0.504F + fR1 * 0.257F + fB1 * 0.098F + 16.0F);
        pTarget[3] = ToByte((fVb + fVa) * 0.5F);
    }
}

void BgrToBgra(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPixels)
{
    for (; uiPixels != 0; --uiPixels, pTarget += 4, pSource += 3)
    {
        pTarget[0] = pSource[0];
        pTarget[1] = pSource[1];
        pTarget[2] = pSource[2];
        pTarget[3] = 255;
    }
}
}  // namespace

const SColourKernels g_scalarColourKernels = {FillLutPlane, Yuy2ToBgr, BgrToYuy2, BgrToBgra};
