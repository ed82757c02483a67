// Real videos, made by ffmpeg when first asked for and shared by the tests of a program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct VideoKind
{
    std::string m_strName;                  // file name, UTF-8
    int m_nFrames;                          // pictures that ffmpeg is asked for
    std::vector<std::string> m_vArguments;  // of ffmpeg's output: coding and times
};

inline constexpr std::uint32_t VIDEO_WIDTH = 66;  // rows of 198 bytes, so that padding exists
inline constexpr std::uint32_t VIDEO_HEIGHT = 48;
inline constexpr std::size_t VIDEO_FRAME_BYTES = std::size_t{3} * VIDEO_WIDTH * VIDEO_HEIGHT;

// The path of such a video, UTF-8. Every frame differs clearly from every other.
std::string MakeVideoFile(const VideoKind& kind);

// The file's frame times in whole milliseconds, worked out from the packets that ffprobe lists in decoding order.
std::vector<std::int64_t> TimesByFfprobe(const std::string& strPath);
