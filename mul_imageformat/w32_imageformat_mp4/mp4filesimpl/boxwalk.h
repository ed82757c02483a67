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

// Looks for the box uiTarget from nStart on, where the file stands already, and goes down from it: moov, trak, mdia,
// mdhd and minf, stbl, stts. A level isn't bounded by the box that it lies in.
//
// vTimes gets, behind what it holds, the running sums of the sample deltas in ticks of nTimescale: the end of each
// sample. The flags say which boxes were met; they are set and never cleared, but for a sample table whose counts the
// file can't hold, which isn't believed at all. 0, or QM_ERR_FAIL.
//
// What goes wrong below mdia isn't told by the status: only the three flags say whether the list is complete.
QmStatus WalkBoxes(QmFileHandle hFile, std::int64_t nStart, std::uint32_t uiTarget, std::vector<std::uint64_t>& vTimes,
                   std::int32_t& nTimescale, bool& bFoundMdhd, bool& bFoundMinf, bool& bFoundStts);

// Appends to vTimes the start of every frame of the file's first track in whole milliseconds, the first 0. 0,
// QM_ERR_FILEOPEN, or QM_ERR_FAIL when the boxes don't give a complete list; vTimes is then left as far as it came.
QmStatus ReadFrameTimes(const wchar_t* pwszPath, std::vector<std::uint64_t>& vTimes);
