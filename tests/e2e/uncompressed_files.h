// Files that are the same on every system, byte for byte: their pictures and times are made of whole numbers, and the
// software runtimes don't compress them.
#pragma once

#include "support/amf_script.h"
#include "support/encoder_script.h"
#include "support/writing_host.h"

namespace test_support
{

// As long as it lives, both software runtimes are loaded and encode without compression.
class UncompressedRuntimes
{
public:
    UncompressedRuntimes()
    {
        m_nvenc->EncodeUncompressed(1);
        m_amf->EncodeUncompressed(1);
    }

    const EncoderScript& Nvenc() const { return m_nvenc; }
    const AmfScript& Amf() const { return m_amf; }

private:
    EncoderScript m_nvenc;
    AmfScript m_amf;
};

// Macroblocks at the right and at the bottom lie partly outside.
inline constexpr std::uint32_t g_uiUncompressedWidth = 70;
inline constexpr std::uint32_t g_uiUncompressedHeight = 46;

// Eight pictures; distances of half a millisecond and of more than a second are among them.
inline std::vector<double> UncompressedTimes()
{
    return {0.0, 33.5, 100.0, 100.5, 101.0, 2000.0, 2040.0, 2080.5};
}

// Slopes in each channel, of another steepness in each picture, and a row of all colours from dark to bright.
inline HostPicture UncompressedPicture(std::uint32_t uiNumber)
{
    HostPicture picture(g_uiUncompressedWidth, g_uiUncompressedHeight);
    for (std::uint32_t y = 0; y < g_uiUncompressedHeight; ++y)
    {
        for (std::uint32_t x = 0; x < g_uiUncompressedWidth; ++x)
        {
            std::uint8_t* const p = picture.Pixel(x, y);
            p[0] = static_cast<std::uint8_t>(x * (uiNumber + 1) + y);
            p[1] = static_cast<std::uint8_t>(y * 5 + uiNumber * 31);
            p[2] = static_cast<std::uint8_t>(255 - x * 3 + y * uiNumber);
            if (y == uiNumber) p[0] = p[1] = p[2] = static_cast<std::uint8_t>(x * 255 / (g_uiUncompressedWidth - 1));
        }
    }
    return picture;
}

}  // namespace test_support
