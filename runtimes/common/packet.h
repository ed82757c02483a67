// A picture on its way through an encoder: what kind of picture it is, what the caller says of it, and its packet.
#pragma once

#include <cstdint>
#include <vector>

namespace runtimes
{

enum class PictureKind
{
    Auto,  // P or B, as the encoder decides; of a packet: none of the others
    P,
    B,  // of a packet only
    I,
    Idr
};

// What a caller says of a picture, handed out with its packet.
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
    PictureKind eKind = PictureKind::Auto;
    PictureInfo info;
};

}  // namespace runtimes
