// Pictures that carry a number: YUY2 samples as a decoder would deliver them, and the number read back from the 24-bit
// picture that comes of one.
#pragma once

#include <cstdint>
#include <vector>

// Neutral chroma; the brightness of the first two pixels is the number's digits to base 200.
inline std::vector<unsigned char> MakeNumberedSample(std::uint32_t uiWidth, std::uint32_t uiHeight,
                                                     std::uint32_t uiNumber)
{
    const std::uint32_t uiPitch = (uiWidth * 2 + 31) / 32 * 32;
    std::vector<unsigned char> vSample(static_cast<std::size_t>(uiPitch) * uiHeight, 128);
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        unsigned char* pRow = vSample.data() + static_cast<std::size_t>(y) * uiPitch;
        for (std::uint32_t x = 0; x < uiWidth; ++x)
            pRow[2 * x] = static_cast<unsigned char>(16 + y);
        pRow[0] = static_cast<unsigned char>(16 + uiNumber % 200);
        pRow[2] = static_cast<unsigned char>(16 + uiNumber / 200 % 200);
    }
    return vSample;
}

// The value that brightness uiLuma with neutral chroma becomes: 1.164 per step above 16, cut off.
inline unsigned GreyOf(unsigned uiLuma)
{
    return (uiLuma - 16) * 1164 / 1000;
}

// -1 for pixels that no number makes.
inline int NumberInPicture(const unsigned char* pPixels)
{
    int nNumber = 0;
    for (const int nPixel : {1, 0})
    {
        int nDigit = 199;
        while (nDigit >= 0 && GreyOf(16 + static_cast<unsigned>(nDigit)) != pPixels[3 * nPixel])
            --nDigit;
        if (nDigit < 0 || pPixels[3 * nPixel + 1] != pPixels[3 * nPixel]) return -1;
        nNumber = nNumber * 200 + nDigit;
    }
    return nNumber;
}
