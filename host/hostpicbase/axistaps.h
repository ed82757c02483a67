// Resampling along one axis: which source pixels a target pixel is made of, and with which weights.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

enum class EResampling
{
    Nearest,  // the source pixel under the middle of the target pixel
    Linear,   // between the two source pixels whose middles are on either side of the target pixel's
    Area      // all that the target pixel covers, each weighted by the covered part
};

struct SAxisTaps
{
    // The source pixels of one target pixel, side by side, and where their weights begin.
    struct SPixel
    {
        std::uint32_t m_uiFirst;
        std::uint32_t m_uiCount;
        std::size_t m_uiWeights;
    };

    std::vector<SPixel> m_vPixels;   // one for each target pixel
    std::vector<double> m_vWeights;  // whole numbers
    double m_dTotal;                 // the sum of each target pixel's weights, a whole number too
};

// Both sizes are 1 to 2^31-1 pixels. Throws std::bad_alloc when there is no memory.
SAxisTaps MakeAxisTaps(std::uint32_t uiSource, std::uint32_t uiTarget, EResampling eResampling);
