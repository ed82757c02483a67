// The kinds of video that every reading test goes through.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace e2e
{

// Of most videos.
inline constexpr std::uint32_t g_uiWidth = 96;
inline constexpr std::uint32_t g_uiHeight = 64;

struct VideoCase
{
    std::string m_strName;
    std::string m_strInput;    // ffmpeg's input and filters
    std::string m_strOptions;  // ffmpeg's encoder and container options
    // The finished file's timescale is multiplied by this: 1000 squeezes 25 frames a second into 25 a millisecond.
    std::uint32_t m_uiTimescaleFactor = 1;
    std::uint32_t m_uiWidth = g_uiWidth;
    std::uint32_t m_uiHeight = g_uiHeight;
};

// High-profile files: constant 25 and 30000/1001, irregular times, with and without B pictures, key frame every 1, 12
// and 250, mdat before and after moov, a second audio track, one frame, a timescale of 1 and of 90000, and several
// frames that share one millisecond.
const std::vector<VideoCase>& HighProfileCases();

// Makes the video of a case.
void MakeVideo(const VideoCase& video, const std::filesystem::path& path);

inline std::ostream& operator<<(std::ostream& stream, const VideoCase& video)
{
    return stream << video.m_strName;
}

}  // namespace e2e
