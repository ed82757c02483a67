// An MP4 box reader of the tests' own: a proper tree, every box bounded by its parent, 32- and 64-bit sizes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace test_support
{

struct Mp4Box
{
    std::string m_strType;
    std::size_t m_uiHeader = 0;   // file offset of the box
    std::size_t m_uiPayload = 0;  // file offset of its payload
    std::size_t m_uiEnd = 0;      // file offset after it
};

// The boxes that stand in the bytes from uiBegin up to uiEnd, in a row.
std::vector<Mp4Box> ListBoxes(const Bytes& vFile, std::size_t uiBegin, std::size_t uiEnd);

// The first box at a path such as "moov/trak/mdia"; throws std::runtime_error when there is none.
Mp4Box FindBox(const Bytes& vFile, const std::string& strPath);

// The frame times of the first track in whole milliseconds: the running sums of the stts deltas, truncated.
std::vector<std::uint64_t> ListTimesMs(const Bytes& vFile);

}  // namespace test_support
