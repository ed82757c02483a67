// A muxed file as independent programs see it. Times are in ticks of 0.1 ms, the time base of these files.
//
// The file gives a tenth of the track's true length as the length of its edit, and as the track's duration. Programs
// that follow edits show that tenth and go on to the next key picture at most. WholeTrack reads the track without
// edits.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/ffmpeg.h"

namespace test_support
{

// The presentation times of frames at these times in milliseconds: the sums of the distances, each cut to a tick.
std::vector<std::int64_t> SumsOfDistances(const std::vector<double>& vTimesMs);

// What follows takes an input of ffmpeg: WholeTrack(path), or "-i" and a path.

// Presentation and decoding time of each packet, a line each.
std::string PacketTimes(const std::string& strInput);

// What PacketTimes gives for a file without reordering whose packets are at these times.
std::string PacketTimesOf(const std::vector<std::int64_t>& vTicks);

// For each packet, whether it begins with a key picture.
std::vector<bool> KeyPackets(const std::string& strInput);

// A checksum for each decoded picture.
std::vector<std::string> DecodedPictures(const std::string& strInput);

// Expects ffprobe and ffmpeg to see one track of this size and these packets, with and without the edit, and to decode
// it whole, all without a warning.
void ExpectReadByFfmpeg(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight,
                        const std::vector<double>& vTimesMs);

}  // namespace test_support
