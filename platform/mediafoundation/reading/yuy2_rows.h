// Rows of YUY2: Y0 U Y1 V for every two pixels.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mediafoundation
{

// The pitch of a YUY2 sample: two bytes per pixel, rounded up to 32 bytes.
constexpr std::size_t Yuy2Pitch(std::size_t uiWidth)
{
    return ((2 * uiWidth - 1) & ~std::size_t{31}) + 32;
}

// One row from a row of luma with uiWidth values and rows of chroma with half as many, rounded up. An odd width's last
// pair repeats the last luma. Writes 4 bytes for every pair and reads nothing past the rows' ends.
void InterleaveYuy2(std::uint8_t* pTarget, const std::uint8_t* pY, const std::uint8_t* pU, const std::uint8_t* pV,
                    std::size_t uiWidth);

// The definition of it, a pair at a time.
void InterleaveYuy2Plain(std::uint8_t* pTarget, const std::uint8_t* pY, const std::uint8_t* pU, const std::uint8_t* pV,
                         std::size_t uiWidth);

}  // namespace mediafoundation
