// What a picture has to look like, worked out from its definition one pixel at a time.
#pragma once

#include <cstdint>
#include <vector>

namespace test_support
{

// Bytes from row to row of a 24-bit picture as the module's frame store holds it.
std::size_t FrameRowBytes(std::size_t uiWidth);

// A planar 4:2:0 picture as the module delivers it: chroma rows serve the two lines that they were sampled for, every
// pair of pixels shares its chroma, BT.601 studio range in 32-bit floats, truncated. Rows at FrameRowBytes, with zero
// bytes after the pixels.
std::vector<std::uint8_t> DeliveredPicture(const std::vector<std::uint8_t>& vPlanar, std::size_t uiWidth,
                                           std::size_t uiHeight);

}  // namespace test_support
