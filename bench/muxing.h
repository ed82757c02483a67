// Muxing with an encoder that costs nothing, beside `ffmpeg -c copy` of the same packets to MP4: CPU time of each, and
// the memory that the log takes.
#pragma once

#include <cstddef>
#include <filesystem>

namespace bench
{

// Prints the figures for uiPackets packets of 2 KiB. Needs room for three files of them in the directory, and removes
// them. Throws std::runtime_error when a file can't be written or ffmpeg fails.
void MeasureMuxing(std::size_t uiPackets, const std::filesystem::path& directory);

}  // namespace bench
