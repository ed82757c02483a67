// Video files for tests, made by the ffmpeg program, and what their pictures are.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/ffmpeg.h"
#include "support/temporary_folder.h"

namespace mftest
{

using namespace test_support;

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

// A yuv420p picture as YUY2, worked out pixel by pixel.
std::string ToYuy2(const std::string& picture, Size size, bool bInterlaced = false);

// Makes all times of an MP4 file's first track smaller by writing a larger timescale into it.
void MultiplyTimescale(const std::string& path, std::uint32_t uiFactor);

// Sets the durations of samples of an MP4 file to 0. Each has to have an entry of its own in the table of durations.
void ClearDurations(const std::string& path, std::size_t uiFirst, std::size_t uiCount);

}  // namespace mftest
