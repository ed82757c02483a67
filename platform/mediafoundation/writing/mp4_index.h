// The index of an MP4 file with one H.264 track whose samples lie in a row.
#pragma once

#include <cstdint>
#include <vector>

#include "winerror.h"

namespace mediafoundation
{

struct TrackDescription
{
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;
    std::uint32_t m_uiTicksPerSecond = 0;
    std::uint32_t m_uiFirstByte = 0;            // the place of the first sample in the file
    std::vector<std::uint8_t> m_configuration;  // avcC
};

// In decoding order.
struct IndexedSample
{
    std::uint64_t m_uiTick = 0;  // of its presentation; the smallest is 0
    std::uint32_t m_uiDurationTicks = 0;
    std::uint32_t m_uiBytes = 0;
    bool m_bKey = false;
};

// The moov box. MF_E_INVALID_TIMESTAMP if a distance of times doesn't fit into its 32 bits. At least one sample.
HRESULT MakeIndex(const TrackDescription& track, const std::vector<IndexedSample>& samples,
                  std::vector<std::uint8_t>* pIndex);

}  // namespace mediafoundation
