// Whose times the list of a file's frames holds.
//
// The module takes the list from the index of the file's first track, whatever that track holds, and doesn't look at
// fragments after a complete index. Nothing in the host's interfaces reports this. With a list that isn't the video's,
// frame k isn't picture k: in order and at random the module gives different pictures for the same index.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "parts/bytesource.h"

namespace qmhost
{

enum class ETimesOrigin
{
    Video,        // nothing speaks against it
    OtherTrack,   // the first track isn't the video, and the list isn't the video's
    PartOfVideo,  // the video has more pictures than the list has entries
    Unknown       // the boxes don't lead to a video track, or there are too many of them
};

struct TimesOrigin
{
    ETimesOrigin m_eOrigin = ETimesOrigin::Unknown;
    std::string m_strFirstTrack;     // handler of the first track, such as "soun"; unprintable bytes as '?'
    std::uint64_t m_uiListed = 0;    // entries of the list
    std::uint64_t m_uiPictures = 0;  // of the video; at least so many when m_bFragments
    bool m_bFragments = false;       // the index of the file isn't all: pictures follow in fragments

    bool IsForeign() const;
    // What is wrong with the list, for a message; "" when nothing is known to be.
    // strFile is the file's name.
    std::string Problem(const std::string& strFile) const;
};

// Compares the module's list of times with the file's tracks and fragments. Reads a bounded number of boxes and of
// table entries: some for the file, and some for each entry of the list.
TimesOrigin FindTimesOrigin(ByteSource& source, std::span<const double> vTimesMs);

}  // namespace qmhost
