// The pictures in the media data of a file that was never finished.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "parts/bytesource.h"

namespace qmhost
{

// Enough for 15 days at 50 pictures a second, and few enough to be listed in memory.
inline constexpr std::size_t MOST_PICTURES = std::size_t{1} << 26;

// Which encoder's file it is. AMF1 begins each picture with a delimiter (a NAL of type 9).
enum class EMuxer
{
    Nvenc,
    Amf
};

struct SplitPictures
{
    EMuxer m_eMuxer = EMuxer::Nvenc;
    std::vector<std::uint32_t> m_vSizes;       // bytes of each picture, with four in front of each NAL
    std::vector<std::uint32_t> m_vKeys;        // numbers, from 1 on, of those that decoding can start at
    std::vector<std::string> m_vSequenceSets;  // different ones, as NALs; of them the first few
    std::vector<std::string> m_vPictureSets;
    std::uint64_t m_uiEnd = 0;               // position after the last whole picture
    std::uint64_t m_uiCut = 0;               // bytes after it that begin a picture which is cut short; 0 for none
    bool m_bLastUnproven = false;            // nothing shows whether the last picture in the list is whole
    std::optional<std::uint64_t> m_uiIndex;  // position of `moov`, whole or not
    bool m_bReordered = false;               // there are B pictures: their order isn't that of their times

    // Where the data is damaged first. Pictures in the list from there on may be broken, two of them may be one, and
    // before them others may be missing.
    std::optional<std::uint64_t> m_uiDamage;
    std::size_t m_uiSure = 0;       // pictures before the damage; all without one
    std::uint64_t m_uiSureEnd = 0;  // position after them

    // Takes the pictures from the damage on out of the list.
    void KeepSure();
};

// Goes through the media data from uiBegin to the end of the source. Takes memory for numbers of each picture only.
//
// A last picture counts as cut short when a length reaches past the end, when zeros follow up to the end, or, in data
// with start codes, when a slice is missing that other pictures have. Data with start codes that was cut elsewhere
// doesn't differ from a whole picture.
//
// What comes after MOST_PICTURES counts as damage. Throws std::runtime_error when the source can't be read.
SplitPictures FindPictures(ByteSource& source, std::uint64_t uiBegin);

}  // namespace qmhost
