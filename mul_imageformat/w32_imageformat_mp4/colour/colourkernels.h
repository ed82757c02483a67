// The inner loops of the colour conversions, in plain C++ and for AVX2. Both give the same bytes for every input. The
// plain ones are the definition, and are used for rows that are too short for a vector and on processors without AVX2.
#pragma once

#include <cstddef>
#include <cstdint>

// Sources and targets never overlap and need no alignment. Every kernel reads and writes exactly the bytes of its
// pixels.
struct SColourKernels
{
    // Fills the 65536 table entries of one luma value, R, G, B each, chroma U in the outer and V in the inner order.
    void (*m_pfnFillLutPlane)(std::uint8_t* pPlane, std::uint32_t uiLuma);
    // Turns uiPairs x 4 bytes of YUY2 into uiPairs x 6 bytes of B, G, R. The look-up table must be complete.
    void (*m_pfnYuy2ToBgr)(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs);
    // Turns uiPairs x 6 bytes of B, G, R into uiPairs x 4 bytes of YUY2.
    void (*m_pfnBgrToYuy2)(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs);
    // Turns uiPixels x 3 bytes of B, G, R into uiPixels x 4 bytes of B, G, R, 255.
    void (*m_pfnBgrToBgra)(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPixels);
};

extern const SColourKernels g_scalarColourKernels;
extern const SColourKernels g_avx2ColourKernels;  // only for processors that have AVX2

// The fastest kernels that this processor and system can run. Chosen at the first call.
const SColourKernels& ColourKernels();
