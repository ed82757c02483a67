// One encoded picture as it goes into an output buffer.
#pragma once

#include <cstdint>
#include <vector>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/nvenc/x264_library.h"

namespace nvencruntime
{

// What a caller says of a picture and gets back with its packet.
struct PictureInfo
{
    std::uint32_t uiFrameIndex = 0;
    std::uint64_t ui64TimeStamp = 0;
    std::uint64_t ui64Duration = 0;
    bool bWithHeaders = false;  // parameter sets before it, whatever kind of picture it becomes
};

struct Packet
{
    std::vector<std::uint8_t> bytes;  // Annex B, every start code of four bytes
    std::vector<std::uint32_t> sliceOffsets;
    NV_ENC_PIC_TYPE eType = NV_ENC_PIC_TYPE_UNKNOWN;
    std::uint32_t uiAverageQp = 0;  // known with constant quantisers only, else 0
    PictureInfo info;
};

// Appends a NAL unit of x264's behind a start code of four bytes, whichever x264 put there.
void AppendNal(std::vector<std::uint8_t>& bytes, const x264_nal_t& nal);

// x264 signs its first picture with a message about itself. A caller asked for the stream.
bool IsSignature(const x264_nal_t& nal);

}  // namespace nvencruntime
