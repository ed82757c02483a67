// Resampling of a block of pixels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/hostpicbase/axistaps.h"

// Pixels to read. Steps may be negative, for a mirrored picture that begins at its other end.
struct SPixelSource
{
    const unsigned char* m_pFirst;
    std::ptrdiff_t m_nPixelStep;  // bytes
    std::ptrdiff_t m_nRowStep;    // bytes
};

// Pixels to write.
struct SPixelTarget
{
    unsigned char* m_pFirst;
    std::size_t m_uiRowStep;  // bytes
    std::uint32_t m_uiBits;
    std::uint32_t m_uiComponents;
};

// Fills as many rows and columns as the taps have pixels. Every component is the exact weighted mean, halves rounded
// up, as long as its weighted sum fits the 53 bits that a double counts exactly. It does for every usual picture, and
// beyond that the result is still the same on every machine. Throws std::bad_alloc when there is no memory.
void ResamplePixels(const SPixelTarget& target, const SPixelSource& source, const SAxisTaps& columns,
                    const SAxisTaps& rows);
