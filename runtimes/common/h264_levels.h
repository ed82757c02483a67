// The levels of H.264, Annex A, as far as they bound what a stream of frames may be.
#pragma once

#include <cstdint>
#include <span>

namespace runtimes
{

struct H264Level
{
    std::uint8_t uiLevel;                   // ten times its number, 9 for 1b
    std::uint32_t uiMacroblocksPerSecond;   // decoded
    std::uint32_t uiMacroblocksPerPicture;  // and no side longer than the root of eight times that
    std::uint32_t uiBitRate;                // in units that depend on the profile: 1250 bits a second in High
    std::uint32_t uiBuffer;                 // of coded pictures, in the same units of bits
    std::uint32_t uiMinCompression;         // a picture has at most its samples' bytes divided by this
};

// From the lowest to the highest.
std::span<const H264Level> H264Levels();

// Null if there is no such level.
const H264Level* FindH264Level(std::uint32_t uiLevel);

struct StreamBounds
{
    std::uint32_t uiColumns;  // of macroblocks
    std::uint32_t uiRows;
    std::uint32_t uiFrameRateNum;
    std::uint32_t uiFrameRateDen;
    std::uint64_t ui64PictureBytes;  // of the largest coded picture
};

// The lowest level that admits all pictures of a stream in High profile; the highest if none does.
const H264Level& LowestH264Level(const StreamBounds& bounds);

}  // namespace runtimes
