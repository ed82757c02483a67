#include "support/picture_definition.h"

namespace test_support
{

namespace
{

std::uint8_t Limited(float fValue)
{
    if (fValue < 0.0f) return 0;
    if (fValue > 255.0f) return 255;
    return static_cast<std::uint8_t>(fValue);
}

}  // namespace

std::size_t FrameRowBytes(std::size_t uiWidth)
{
    return (uiWidth * 3 + 3) / 4 * 4;
}

std::vector<std::uint8_t> DeliveredPicture(const std::vector<std::uint8_t>& vPlanar, std::size_t uiWidth,
                                           std::size_t uiHeight)
{
    const std::uint8_t* const pY = vPlanar.data();
    const std::uint8_t* const pU = pY + uiWidth * uiHeight;
    const std::uint8_t* const pV = pU + uiWidth / 2 * (uiHeight / 2);
    std::vector<std::uint8_t> vPicture(FrameRowBytes(uiWidth) * uiHeight);
    for (std::size_t uiRow = 0; uiRow < uiHeight; ++uiRow)
    {
        std::uint8_t* pPixel = vPicture.data() + uiRow * FrameRowBytes(uiWidth);
        for (std::size_t uiColumn = 0; uiColumn < uiWidth; ++uiColumn, pPixel += 3)
        {
            const std::size_t uiChroma = uiRow / 2 * (uiWidth / 2) + uiColumn / 2;
            const float y = static_cast<float>(pY[uiRow * uiWidth + uiColumn] - 16) * 1.164f;
            const float u = static_cast<float>(pU[uiChroma] - 128);
            const float v = static_cast<float>(pV[uiChroma] - 128);
            const float fGreenLessRed = y - v * 0.813f;
            pPixel[0] = Limited(u * 2.017f + y);
            pPixel[1] = Limited(fGreenLessRed - u * 0.392f);
            pPixel[2] = Limited(v * 1.596f + y);
        }
    }
    return vPicture;
}

}  // namespace test_support
