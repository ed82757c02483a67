// The file as the encoders without a container writer of their own need it: `ftyp`, `free`, `mdat`, `moov`.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "common/criticalsection.h"
#include "common/growingarray.h"
#include "hostapi/hostcore.h"
#include "mp4_outputfile/muxer/samplelog.h"
#include "mp4_outputfile/muxer/targetfile.h"

// A packet is written when it comes, as an Annex B stream. The close goes through the file once more, puts a length in
// the place of every start code, which is as long, and appends `moov`. A file that didn't get that far keeps a size of
// 1A BE CE DA in front of "mdat": the mark of an unfinished file.
//
// One thread at a time. An encoder with an output thread may log and write the lengths there, and finish elsewhere when
// that thread has ended. Abandon, IsAbandoned and IsOpen may be called by any thread at any time.
class CMp4FileWriter
{
public:
    // Takes memory for the samples and NALs of an hour of video. May throw std::bad_alloc.
    CMp4FileWriter();

    CMp4FileWriter(const CMp4FileWriter&) = delete;
    CMp4FileWriter& operator=(const CMp4FileWriter&) = delete;

    // Once: an object writes one file. Replaces the file and writes what comes before the first sample. A file that
    // can't be opened is no failure: its packets are logged and nothing is written. Of width and height, in pixels as
    // encoded, the low 16 bits count.
    void Open(const CQmStringW& strPath, EPacketLayout eLayout, std::uint32_t uiWidth, std::uint32_t uiHeight);
    bool IsOpen() const;

    // Logs a packet of the encoder and writes it. An empty packet of NVENC leaves no trace.
    //
    // False when there is no memory for it, and for every later packet: a file that lacks one in the middle would show
    // the pictures after it at wrong times. It is closed as far as it has got, unfinished. A failed write is not
    // reported here; the file takes nothing more after it and stays unfinished too.
    bool LogPacket(std::span<const std::uint8_t> packet);

    // Ends the file as it is, unfinished. A write that another thread is in the middle of comes to its end first.
    void Abandon();
    bool IsAbandoned() const { return m_bAbandoned; }

    // First half of the close: writes every NAL's length over its start code, in the file and in the first packet. The
    // memory of the NALs is free afterwards, for `moov`. Nothing without an open file.
    void WriteNalLengths();

    // Second half: appends `moov`, writes the size of `mdat` (its low 32 bits: there is no 64-bit header) and closes
    // the file. vecFrameTimes are in milliseconds, one for each frame. The log has no samples afterwards.
    //
    // The size comes after `moov`, since it takes the mark of an unfinished file away: whether `moov` is in the file is
    // known by then, also where the host's library holds written bytes back.
    void Finish(const CGrowingArray<double>& vecFrameTimes);

    const SSampleLog& GetLog() const { return m_log; }

protected:
    EPacketLayout m_eLayout = EPacketLayout::Nvenc;
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;

    // Guards the file and the log: a thread that logs doesn't know when another abandons the file.
    mutable CCriticalSection m_csFile;
    CTargetFile m_file;
    SSampleLog m_log;
    std::atomic<bool> m_bAbandoned = false;
};

// Writes the 48 bytes before the first sample.
void WriteMp4Preamble(CTargetFile& file);
