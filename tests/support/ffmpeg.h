// The programs ffmpeg and ffprobe: they make the videos of the tests, and say what is in a file without the code under
// test.
//
// Arguments stand in one text, separated by blanks; "..." and '...' keep blanks, as in a shell. Nothing else of a shell
// is there. Every function throws std::runtime_error when the program fails, with what it wrote to standard error.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace test_support
{

// What a program may complain of on standard error when it succeeds.
enum class Complaints
{
    Any,
    Warnings,
    None
};

// What the program writes to standard output.
std::string RunFfmpeg(const std::string& strArguments, Complaints allowed = Complaints::Any);
std::string RunFfprobe(const std::string& strArguments, Complaints allowed = Complaints::Any);

// Lets ffmpeg make the file at path. strArguments are all but the path, and name no other file: the pictures and the
// sound are ffmpeg's own. Where the environment variable QM_MADE_FILES names a folder by its absolute path, the file is
// made once for all programs that use that folder, and copied from there. Another ffmpeg needs another folder.
void MakeWithFfmpeg(const std::string& strArguments, const std::filesystem::path& path);

// A path as one argument.
std::string Quoted(const std::filesystem::path& path);

// The argument that makes the programs read an MP4 file as a whole, whatever its edit list says, in front of the
// path as one argument after "-i".
std::string WholeTrack(const std::filesystem::path& path);

// A plain decode of the file's first video stream: every picture of the track, in presentation order, as ffmpeg's raw
// video. strOptions says in which form, "-pix_fmt bgr24" for one; a picture then takes uiPictureBytes.
std::vector<Bytes> DecodePlain(const std::filesystem::path& path, const std::string& strOptions,
                               std::size_t uiPictureBytes, Complaints allowed = Complaints::Any);

// The same as planes of yuv420p without padding. A row or column of chroma belongs to two of luma, the last to one
// where the size is odd.
std::vector<Bytes> DecodePlain(const std::filesystem::path& path, std::size_t uiWidth, std::size_t uiHeight);

// A value for every packet of the file's first video stream, in decoding order: "dts", "size" and so on.
std::vector<std::int64_t> PacketValues(const std::filesystem::path& path, const std::string& strEntry);

// The same for every decoded picture, in presentation order: "pkt_pos", where its packet begins in the file, and so on.
std::vector<std::int64_t> PictureValues(const std::filesystem::path& path, const std::string& strEntry);

// The times that a caller is to get for the file's frames: the running sums of the sample durations, cut to whole
// milliseconds.
std::vector<std::int64_t> FrameTimes(const std::filesystem::path& path);

}  // namespace test_support
