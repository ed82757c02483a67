// SPS and PPS of a stream of intra pictures in High profile.
#pragma once

#include <vector>

#include "runtimes/common/stream_settings.h"

namespace runtimes
{

// What the slices of such a stream rely on: the number of bits of frame_num in their headers. Pictures are shown in the
// order in which they are decoded, which a slice doesn't repeat.
inline constexpr int c_nFrameNumberBits = 8;

// A picture's size in macroblocks: the last of a row or column may lie partly outside.
constexpr std::uint32_t Macroblocks(std::uint32_t uiSize)
{
    return (uiSize + 15) / 16;
}

// Both units in Annex B. uiLevel as H264Level has it.
std::vector<std::uint8_t> MakeParameterSets(const StreamSettings& settings, std::uint8_t uiLevel);

}  // namespace runtimes
