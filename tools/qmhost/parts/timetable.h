// Lists of frame times as text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmhost
{

// A frame's time as the module gives it. A negative time means not known.
struct FrameTime
{
    std::uint32_t m_uiFrame;
    double m_dTimeMs;
};

// A header line "frame,time_ms", then a line for each entry with whole milliseconds. Lines end in a single \n on every
// system.
std::string TimesAsCsv(const std::vector<FrameTime>& vTimes);

// Columns for reading: frame, time as h:mm:ss.mmm, distance from the line above in milliseconds.
std::string TimesAsTable(const std::vector<FrameTime>& vTimes);

}  // namespace qmhost
