// An MP4 box reader of the tests' own: a proper tree, every box bounded by its parent, 32- and 64-bit sizes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test_support
{

struct Mp4Box
{
    std::string m_strType;
    std::size_t m_uiHeader = 0;   // file offset of the box
    std::size_t m_uiPayload = 0;  // file offset of its payload
    std::size_t m_uiEnd = 0;      // file offset behind it
};

// The boxes that stand in the bytes from uiBegin up to uiEnd, one after the other.
std::vector<Mp4Box> ListBoxes(const std::vector<std::uint8_t>& vFile, std::size_t uiBegin, std::size_t uiEnd);

// The first box at a path such as "moov/trak/mdia"; throws std::runtime_error when there is none.
Mp4Box FindBox(const std::vector<std::uint8_t>& vFile, const std::string& strPath);

std::uint32_t ReadBE32(const std::vector<std::uint8_t>& vFile, std::size_t uiOffset);
void WriteBE32(std::vector<std::uint8_t>& vFile, std::size_t uiOffset, std::uint32_t uiValue);

// The frame times of the first track in whole milliseconds: the running sums of the stts deltas, truncated.
std::vector<std::uint64_t> ListTimesMs(const std::vector<std::uint8_t>& vFile);

}  // namespace test_support
