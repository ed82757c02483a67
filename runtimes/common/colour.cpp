#include "runtimes/common/colour.h"

#include <cstring>

#include "runtimes/common/colour_weights.h"

namespace runtimes
{
namespace
{

std::uint8_t Luma(const std::uint8_t* pPixel)
{
    const int nSum = c_nLumaB * pPixel[0] + c_nLumaG * pPixel[1] + c_nLumaR * pPixel[2];
    return static_cast<std::uint8_t>((nSum + c_nLumaBias) >> c_nWeightShift);
}

std::uint8_t Chroma(int nB, int nG, int nR, int nWeightB, int nWeightG, int nWeightR)
{
    return static_cast<std::uint8_t>((nWeightB * nB + nWeightG * nG + nWeightR * nR + c_nChromaBias) >> c_nChromaShift);
}

}  // namespace

void ConvertRowPairScalar(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                          std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth)
{
    for (std::uint32_t x = 0; x + 1 < uiWidth; x += 2)
    {
        const std::uint8_t* p = pUpper + 4 * std::size_t{x};
        const std::uint8_t* q = pLower + 4 * std::size_t{x};
        pUpperLuma[x] = Luma(p);
        pUpperLuma[x + 1] = Luma(p + 4);
        pLowerLuma[x] = Luma(q);
        pLowerLuma[x + 1] = Luma(q + 4);

        const int nB = p[0] + p[4] + q[0] + q[4];
        const int nG = p[1] + p[5] + q[1] + q[5];
        const int nR = p[2] + p[6] + q[2] + q[6];
        pChroma[x] = Chroma(nB, nG, nR, c_nCbB, c_nCbG, c_nCbR);
        pChroma[x + 1] = Chroma(nB, nG, nR, c_nCrB, c_nCrG, c_nCrR);
    }
}

RowPairConverter BestRowPairConverter()
{
    static const RowPairConverter s_best = __builtin_cpu_supports("avx2") ? ConvertRowPairAvx2 : ConvertRowPairSse2;
    return s_best;
}

void ConvertBgraToNv12(const std::uint8_t* pSource, std::ptrdiff_t nPitch, std::uint32_t uiWidth,
                       std::uint32_t uiHeight, const Nv12View& target)
{
    const RowPairConverter convert = BestRowPairConverter();
    for (std::uint32_t y = 0; y + 1 < uiHeight; y += 2)
    {
        const std::uint8_t* pUpper = pSource + nPitch * static_cast<std::ptrdiff_t>(y);
        std::uint8_t* pLuma = target.pLuma + target.uiLumaPitch * y;
        convert(pUpper, pUpper + nPitch, pLuma, pLuma + target.uiLumaPitch,
                target.pChroma + target.uiChromaPitch * (y / 2), uiWidth);
    }
}

void CopyNv12(const std::uint8_t* pLuma, const std::uint8_t* pChroma, std::ptrdiff_t nPitch, std::uint32_t uiWidth,
              std::uint32_t uiHeight, const Nv12View& target)
{
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        std::memcpy(target.pLuma + target.uiLumaPitch * y, pLuma + nPitch * static_cast<std::ptrdiff_t>(y), uiWidth);
    }
    for (std::uint32_t y = 0; y < uiHeight / 2; ++y)
    {
        std::memcpy(target.pChroma + target.uiChromaPitch * y, pChroma + nPitch * static_cast<std::ptrdiff_t>(y),
                    uiWidth);
    }
}

}  // namespace runtimes
