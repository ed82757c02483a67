// What a muxed file remembers of its packets until its index is written.
//
// Acquisitions last for hours, so no picture waits in memory. A packet is in the file as soon as it comes; the log
// keeps its size, the places of its NALs and whether it is a key. Offsets into `mdat` count from its first payload
// byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "common/growingarray.h"
#include "hostapi/hostcore.h"

inline constexpr std::uint32_t g_uiMdatPayloadOffset = 48;     // in the file
inline constexpr std::uint32_t g_uiNoPpsOffset = 0xFFFFFFFFU;  // no PPS was seen

// Which encoder made the packets of a file. The two differ on purpose:
//
//                      Nvenc                                    Amf
// first NAL            the SPS                                  an access unit delimiter of 6 bytes, then the SPS
// start codes          3 or 4 bytes, rewritten to 4             4 bytes, data untouched
// sign of a key        any NAL that begins with 65              the first NAL is the delimiter 09 10
// number of a key      samples count from 0; once for each 65   samples count from 1
enum class EPacketLayout
{
    Nvenc,
    Amf
};

// One NAL in `mdat`, to be patched.
struct SNalPatch
{
    std::uint64_t m_nOffset;    // of its four start-code bytes
    std::uint32_t m_nLengthBE;  // the NAL's bytes without the start code, in big-endian order as it goes to the file
};
static_assert(sizeof(SNalPatch) == 16, "a long file has millions of them");

struct SSampleLog
{
    CGrowingArray<std::uint32_t> m_vecSampleSizes;  // bytes as written, one for each packet
    CGrowingArray<std::uint32_t> m_vecKeySamples;   // for `stss`, in the order found
    std::uint32_t m_nPpsOffset = g_uiNoPpsOffset;   // of the newest PPS's start code, within its own packet
    std::uint64_t m_nMdatBytes = 0;                 // written to `mdat` so far
    CQmByteArray m_baFirstPacket;                   // the same patches are applied to it as to the file
    CGrowingArray<SNalPatch> m_vecNalPatches;       // the last one's length isn't known yet
    std::uint64_t m_nLastNalStart = 0;              // the newest NAL's start code
};

// Logs a packet in the form in which it goes to the file; nalOffsets are the places of its start codes. Throws
// std::bad_alloc with nothing logged.
void LogPacket(SSampleLog& log, EPacketLayout eLayout, std::span<const std::uint8_t> packet,
               const std::vector<std::size_t>& nalOffsets);
