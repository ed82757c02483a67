// Real videos, made by ffmpeg when first asked for and shared by the tests of a program.
#pragma once

#include <cstdint>
#include <string>

struct VideoKind
{
    std::string m_strName;       // file name, UTF-8
    int m_nFrames;               // pictures that ffmpeg is asked for
    std::string m_strArguments;  // of ffmpeg's output: coding and times
};

inline constexpr std::uint32_t VIDEO_WIDTH = 66;  // rows of 198 bytes, so that padding exists
inline constexpr std::uint32_t VIDEO_HEIGHT = 48;
inline constexpr std::size_t VIDEO_FRAME_BYTES = std::size_t{3} * VIDEO_WIDTH * VIDEO_HEIGHT;

// The path of such a video, UTF-8. Every frame differs clearly from every other.
std::string MakeVideoFile(const VideoKind& kind);
