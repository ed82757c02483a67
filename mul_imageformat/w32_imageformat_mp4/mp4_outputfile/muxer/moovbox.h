// `moov`, the index of a file with one video track whose samples lie in one chunk.
#pragma once

#include <cstdint>

#include "common/growingarray.h"
#include "hostapi/hostcore.h"
#include "mp4_outputfile/muxer/samplelog.h"

class CTargetFile;

// What an index is made from. The tables are the caller's.
struct SMovie
{
    const CGrowingArray<double>& m_vecTimes;              // one for each frame, in milliseconds since the first
    const CGrowingArray<std::uint32_t>& m_vecSizes;       // one for each sample
    const CGrowingArray<std::uint32_t>& m_vecKeySamples;  // listed as they stand
    std::uint16_t m_uiWidth;                              // in pixels
    std::uint16_t m_uiHeight;                             //
    const CQmByteArray& m_baFirstPacket;                  // with its NAL lengths in place
    EPacketLayout m_eLayout;                              // of the first packet
    std::uint32_t m_uiPpsOffset;                          // of a PPS's length in it, or g_uiNoPpsOffset

    double LastTime() const { return m_vecTimes.empty() ? 0.0 : m_vecTimes.back(); }
    std::uint32_t FrameCount() const { return static_cast<std::uint32_t>(m_vecTimes.size()); }
};

// Builds `moov` and writes it at once, where the file stands. The same movie gives the same bytes: no clock is read.
// Times and sizes are not compared. Without any frame the tables of times are empty and all durations 0.
//
// False when memory runs out, with nothing written, and when the write fails.
bool WriteMoovBox(CTargetFile& file, const SMovie& movie);
