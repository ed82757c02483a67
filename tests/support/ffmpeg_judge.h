// A muxed file as independent programs see it. Times are in ticks of 0.1 ms, the time base of these files.
//
// Of the track's edit the file says a tenth of its true length, as it does of the track's duration. Programs that keep
// to edits show that tenth and go on to the next key picture at most; the whole track is seen without edits. What
// follows looks at the whole track unless it says otherwise.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test_support
{

// What a command prints, to both outputs. It must succeed.
std::string RunAndListen(const std::string& strCommand);

// How ffmpeg and ffprobe are told to read an MP4 file as a whole.
std::string WholeTrack(const std::string& strFile);

// The presentation times of frames at these times in milliseconds: the sums of the distances, each cut to a tick.
std::vector<std::int64_t> SumsOfDistances(const std::vector<double>& vTimesMs);

// Presentation and decoding time of each packet, a line each. strInput are arguments, such as WholeTrack.
std::string PacketTimes(const std::string& strInput);

// What PacketTimes gives for a file without reordering whose packets are at these times.
std::string PacketTimesOf(const std::vector<std::int64_t>& vTicks);

// K for each packet that begins with a key picture, _ for the others, a line each.
std::string KeyPackets(const std::string& strInput);

// A checksum for each decoded picture, a line each.
std::string DecodedPictures(const std::string& strInput);

// Expects ffprobe and ffmpeg to see one track of this size and these packets, with and without the edit, and to decode
// it whole, all without a warning.
void ExpectReadByFfmpeg(const std::string& strFile, std::uint32_t uiWidth, std::uint32_t uiHeight,
                        const std::vector<double>& vTimesMs);

}  // namespace test_support
