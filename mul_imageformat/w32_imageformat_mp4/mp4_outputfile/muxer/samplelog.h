// The file as the back ends without a container writer of their own make it: `ftyp`, `free`, `mdat`, `moov`.
//
// Acquisitions last for hours, so no picture waits in memory: a packet is written when it comes, as an Annex B stream,
// and a few numbers are remembered of it. Closing goes through the file once more, puts a length in the place of every
// start code, which is as long, and appends `moov`. A file whose writer never got there keeps a size of 1A BE CE DA in
// front of "mdat", by which it can be told.
//
// Offsets into `mdat` count from its first payload byte. No function here looks at the results of file calls: a file
// that can't be written has no better end than the one it gets. One thread at a time may use a log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostapi/hostcore.h"
#include "hostapi/hostplatform.h"
#include "common/growingarray.h"

inline constexpr std::uint32_t g_uiMdatPayloadOffset = 48;     // in the file
inline constexpr std::uint32_t g_uiNoPpsOffset = 0xFFFFFFFFU;  // no PPS was seen

// Offset, in the first packet, of the low two bytes of the SPS's length. It stands for the packet's layout as well.
inline constexpr std::uint32_t g_uiNvencSpsLengthOffset = 2;  // the packet begins with the SPS
inline constexpr std::uint32_t g_uiAmfSpsLengthOffset = 8;    // an access unit delimiter of 6 bytes comes before it

// One NAL in `mdat`, to be patched.
struct SNalPatch
{
    std::uint64_t m_nOffset;    // of its four start-code bytes
    std::uint32_t m_nLengthBE;  // the NAL's bytes without the start code, in big-endian order as it goes to the file
};
static_assert(sizeof(SNalPatch) == 16, "a long file has millions of them");

// What one open file remembers of its NALs until their lengths are written.
struct SNalLog
{
    CGrowingArray<SNalPatch> m_vecNalPatches;
    std::uint64_t m_nLastNalStart = 0;  // the newest NAL's start code
};

// What one open file remembers of its samples until `moov` is written.
struct SSampleLog
{
    QmFileHandle m_hFile = nullptr;                 // null when opening failed; nothing is written then
    CGrowingArray<std::uint32_t> m_vecSampleSizes;  // bytes as written, one for each packet
    CGrowingArray<std::uint32_t> m_vecKeySamples;   // for `stss`, in the order found
    std::uint32_t m_nPpsOffset = g_uiNoPpsOffset;   // of the newest PPS's start code, within its own packet
    std::uint64_t m_nMdatBytes = 0;                 // written to `mdat` so far
    CQmByteArray m_baFirstPacket;                   // the same patches are applied to it as to the file
};

// Writes the 48 bytes before the first sample.
void WriteMp4Preamble(QmFileHandle hFile);

// The two loggers throw std::bad_alloc with nothing logged and nothing written: the file is whole without that packet,
// and the next one can be logged.
//
// Logs a packet of NVENC, with start codes of 3 and 4 bytes, and writes it with 4 bytes each. An empty packet leaves no
// trace. Every NAL that begins with 65 marks the sample as a key, so that an IDR picture of several slices is listed
// once for each; samples count from 0.
void LogNvencPacket(SSampleLog& log, SNalLog& nals, const std::vector<std::uint8_t>& packet);

// Logs a packet of AMF and writes it as it is. Start codes have 4 bytes there and are seen only if 3 bytes or more of a
// NAL follow them. A packet that begins with the delimiter 09 10 is a key; uiFrameNumber, from 1, is what gets listed.
void LogAmfPacket(SSampleLog& log, SNalLog& nals, const std::uint8_t* pPacket, std::size_t uiSize,
                  std::uint32_t uiFrameNumber);

// First half of the close: writes every NAL's length over its start code, in the file and in the first packet. nals is
// empty afterwards, so that its memory serves for `moov`.
void WriteNalLengths(SSampleLog& log, SNalLog& nals);

// Second half: writes the size of `mdat` (its low 32 bits: there is no 64-bit header), appends `moov` and closes the
// file. vecFrameTimes are in milliseconds, one for each frame. Of width and height the low 16 bits count. The log has
// no file and no samples afterwards.
void FinishMp4File(SSampleLog& log, const CGrowingArray<double>& vecFrameTimes, std::uint32_t uiWidth,
                   std::uint32_t uiHeight, std::uint32_t uiSpsLengthOffset);
