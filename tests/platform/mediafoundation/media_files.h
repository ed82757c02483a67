// Video files for tests, made by the ffmpeg program, and what that program says about them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mftest
{

// A directory of its own that goes with the object.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// Runs a command line and gives what it wrote to its standard output. Throws std::runtime_error if it fails.
std::string Run(const std::string& command);

// A video of moving test pictures.
struct Recipe
{
    int m_nWidth = 96;
    int m_nHeight = 64;
    std::string m_rate = "25";
    int m_nFrames = 60;
    std::string m_encoder = "-c:v libx264 -profile:v high -preset veryfast";
    std::string m_filter = {};  // of the pictures, "" for none
    std::string m_output = {};  // further options of the output
    std::string m_input = {};   // a second input
};
void MakeVideo(const std::string& path, const Recipe& recipe);

struct Size
{
    int m_nWidth = 0;
    int m_nHeight = 0;
};

// All pictures of a plain decode, as planes of yuv420p without padding.
std::vector<std::string> PlainDecode(const std::string& path, Size size);

// The running sums of the container's sample durations, truncated to milliseconds: entry k is the time that a caller
// keeps for picture k.
std::vector<std::int64_t> FrameTimes(const std::string& path);

// A yuv420p picture as YUY2, worked out pixel by pixel.
std::string ToYuy2(const std::string& picture, Size size, bool bInterlaced = false);

// A 32-bit big-endian word of a file's contents.
std::uint32_t WordAt(const std::string& file, std::size_t uiAt);
void SetWordAt(std::string& file, std::size_t uiAt, std::uint32_t uiValue);

// Makes all times of an MP4 file's first track smaller by writing a larger timescale into it.
void MultiplyTimescale(const std::string& path, std::uint32_t uiFactor);

// Sets the durations of samples of an MP4 file to 0. Each has to have an entry of its own in the table of durations.
void ClearDurations(const std::string& path, std::size_t uiFirst, std::size_t uiCount);

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& contents);

}  // namespace mftest
