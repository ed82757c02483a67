// From YUY2, two pixels in four bytes, to the planes that an encoder takes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mediafoundation
{

struct Planes
{
    std::uint8_t* m_apPlane[3];   // Y, U, V, the latter two of half the width and half the height
    std::ptrdiff_t m_anPitch[3];  // bytes from row to row
};

// Width and height are even; rows of YUY2 follow each other without gaps. Brightness is copied. Colour is the mean of
// two rows, with halves rounded up.
void Yuy2ToPlanes(const std::uint8_t* pYuy2, std::uint32_t uiWidth, std::uint32_t uiHeight, const Planes& planes);

}  // namespace mediafoundation
