// Pictures to write, and what is recognised of them in a picture that was read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "support/writing_host.h"

namespace test_support
{

// A picture with a number below 4096 drawn into it: twelve bright or dark fields, four across and three down, the
// lowest bit at the top left.
HostPicture NumberedPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiNumber);

// The number in a picture that may have become a column and a row larger.
std::uint32_t NumberIn(const HostPicture& picture);

// A file's pictures in presentation order, as ffmpeg decodes them, whatever the profile.
std::vector<HostPicture> DecodedPictures(const std::filesystem::path& path, std::uint32_t uiWidth,
                                         std::uint32_t uiHeight);

// The numbers in them.
std::vector<std::uint32_t> NumbersIn(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight);

// The numbers from uiFirst to uiLast.
std::vector<std::uint32_t> Numbers(std::uint32_t uiFirst, std::uint32_t uiLast);

// A picture of nothing but noise, the same for the same number: the largest packets that its size can have.
HostPicture NoisyPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiNumber);

// Pictures with the statistics of filmed ones, made by ffmpeg: smooth shades and structure of every size down to single
// pixels (a fractal that is zoomed into, over moving gradients), with a sensor's noise. Where a picture's even size is
// larger than its size, the last column and row are repeated.
std::vector<HostPicture> FilmedPictures(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiCount);

// How near the written part of a picture that was read is to what was written, in decibels over all three channels.
double Psnr(const HostPicture& written, const HostPicture& read);

}  // namespace test_support
