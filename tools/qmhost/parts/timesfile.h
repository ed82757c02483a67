// Files of frame times, as the program itself writes them.
#pragma once

#include <filesystem>
#include <istream>
#include <vector>

namespace qmhost
{

// Reads what TimesAsCsv writes: the header "frame,time_ms", then lines of a frame's number and its time in
// milliseconds, from 0 on, fractions allowed. The numbers rise, with gaps where a choice of frames was written; an
// entry stands for the picture of its place, not of its number. Lines may end as on Windows; blank ones at the end are
// ignored.
//
// Gives the times in order. Throws std::runtime_error that names the line.
std::vector<double> ReadTimesCsv(std::istream& in);

// The same from a file; the error names the file too, and why it can't be read.
std::vector<double> ReadTimesFile(const std::filesystem::path& path);

}  // namespace qmhost
