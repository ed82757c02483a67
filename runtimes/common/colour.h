// From the caller's pictures to the encoder's: B, G, R, A to NV12, in BT.601 at studio range.
//
//   Y  = 16  +  65.481 R + 128.553 G +  24.966 B
//   Cb = 128 -  37.797 R -  74.203 G + 112.000 B     with R, G, B from 0 to 1; Cb and Cr of the mean of 2 x 2 pixels
//   Cr = 128 + 112.000 R -  93.786 G -  18.214 B
//
// each rounded once, to the nearest. A is not looked at.
#pragma once

#include <cstddef>
#include <cstdint>

namespace runtimes
{

// An NV12 picture in memory: rows of Y, and half as many rows of Cb, Cr in turn. Pitches in bytes.
struct Nv12View
{
    std::uint8_t* pLuma;
    std::uint8_t* pChroma;
    std::size_t uiLumaPitch;
    std::size_t uiChromaPitch;
};

// Converts two rows of uiWidth pixels, an even number, into two rows of Y and one of Cb, Cr.
using RowPairConverter = void (*)(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                                  std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth);

// All three give the same bytes. The last needs a processor with AVX2.
void ConvertRowPairScalar(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                          std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth);
void ConvertRowPairSse2(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                        std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth);
void ConvertRowPairAvx2(const std::uint8_t* pUpper, const std::uint8_t* pLower, std::uint8_t* pUpperLuma,
                        std::uint8_t* pLowerLuma, std::uint8_t* pChroma, std::uint32_t uiWidth);

// The fastest that this processor can run.
RowPairConverter BestRowPairConverter();

// Whole pictures of even width and height. nPitch is the distance of the source's rows in bytes.
void ConvertBgraToNv12(const std::uint8_t* pSource, std::ptrdiff_t nPitch, std::uint32_t uiWidth,
                       std::uint32_t uiHeight, const Nv12View& target);
void CopyNv12(const std::uint8_t* pLuma, const std::uint8_t* pChroma, std::ptrdiff_t nPitch, std::uint32_t uiWidth,
              std::uint32_t uiHeight, const Nv12View& target);

}  // namespace runtimes
