// The times of a video's frames, read from the boxes of an MP4 file.
//
// The list that comes out is the backbone of all reading: its length is the number of frames, and entry k is both the
// time of frame k and the position from which frame k is played.
#pragma once

#include <cstdint>
#include <vector>

#include "hostapi/hostplatform.h"

// A box type as it stands in the file, compared as a plain word: the first letter is the low byte.
constexpr std::uint32_t BoxType(const char (&szType)[5])
{
    std::uint32_t uiType = 0;
    for (int i = 3; i >= 0; --i)
        uiType = uiType << 8 | static_cast<unsigned char>(szType[i]);
    return uiType;
}

// Looks for the box uiTarget from nStart on, which must be the file's position, and goes down from it: moov, trak,
// mdia, mdhd and minf, stbl, stts. A level isn't bounded by its parent box.
//
// Appends to vTimes the running sums of the sample deltas in ticks of nTimescale: the end of each sample. The flags say
// which boxes were found. They are set and never cleared, with one exception: bFoundStts is cleared when the entries of
// the table aren't believed or their times find no memory. Returns 0 or QM_ERR_FAIL.
//
// The status doesn't report what goes wrong below mdia: only the three flags say whether the list is complete.
//
// A forged count costs little: the file must have a byte for each sample, and above a million samples a byte that isn't
// zero for every 16 of them. So the times are at most 8 MB, or 128 bytes for each byte that the file really holds.
// While the list grows it takes up to three times as much.
QmStatus WalkBoxes(QmFileHandle hFile, std::int64_t nStart, std::uint32_t uiTarget, std::vector<std::uint64_t>& vTimes,
                   std::int32_t& nTimescale, bool& bFoundMdhd, bool& bFoundMinf, bool& bFoundStts);

// Appends to vTimes the start of every frame of the file's first track in whole milliseconds, the first 0. Returns 0,
// QM_ERR_FILEOPEN, or QM_ERR_FAIL when the boxes don't give a complete list; vTimes then holds an unfinished one.
QmStatus ReadFrameTimes(const wchar_t* pwszPath, std::vector<std::uint64_t>& vTimes);
