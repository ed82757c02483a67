#include "platform/mediafoundation/writing/yuy2_planes.h"

namespace mediafoundation
{
namespace
{

// Loops of one simple statement, so that the compiler makes vector code of them.
void CopyBrightness(const std::uint8_t* __restrict pYuy2, std::size_t uiPixels, std::uint8_t* __restrict pY)
{
    for (std::size_t i = 0; i < uiPixels; ++i)
    {
        pY[i] = pYuy2[2 * i];
    }
}

std::uint8_t Mean(unsigned uiUpper, unsigned uiLower)
{
    return static_cast<std::uint8_t>((uiUpper + uiLower + 1) / 2);
}

void AverageColour(const std::uint8_t* __restrict pUpper, const std::uint8_t* __restrict pLower, std::size_t uiPairs,
                   std::uint8_t* __restrict pU, std::uint8_t* __restrict pV)
{
    for (std::size_t i = 0; i < uiPairs; ++i)
    {
        pU[i] = Mean(pUpper[4 * i + 1], pLower[4 * i + 1]);
        pV[i] = Mean(pUpper[4 * i + 3], pLower[4 * i + 3]);
    }
}

}  // namespace

void Yuy2ToPlanes(const std::uint8_t* pYuy2, std::uint32_t uiWidth, std::uint32_t uiHeight, const Planes& planes)
{
    const std::size_t uiPitch = std::size_t{2} * uiWidth;
    std::uint8_t* pY = planes.m_apPlane[0];
    std::uint8_t* pU = planes.m_apPlane[1];
    std::uint8_t* pV = planes.m_apPlane[2];
    for (std::uint32_t y = 0; y + 1 < uiHeight; y += 2)
    {
        const std::uint8_t* pUpper = pYuy2 + y * uiPitch;
        const std::uint8_t* pLower = pUpper + uiPitch;
        CopyBrightness(pUpper, uiWidth, pY);
        CopyBrightness(pLower, uiWidth, pY + planes.m_anPitch[0]);
        AverageColour(pUpper, pLower, uiWidth / 2, pU, pV);
        pY += 2 * planes.m_anPitch[0];
        pU += planes.m_anPitch[1];
        pV += planes.m_anPitch[2];
    }
}

}  // namespace mediafoundation
