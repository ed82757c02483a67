// Pictures to encode, and how near two pictures are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// B, G, R, rows without gaps.
struct BgrPicture
{
    std::uint32_t uiWidth = 0;
    std::uint32_t uiHeight = 0;
    std::vector<std::uint8_t> bytes;
};

// A view with the statistics of a photographed one, that pans and drifts in brightness with nFrame: detail that falls
// off with its size, channels that agree for the most part, hard edges, and the noise of a sensor.
BgrPicture NaturalPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, int nFrame);

// Into rows of B, G, R, A at that pitch in bytes; A is 255.
void PaintRows(std::uint8_t* pRows, std::ptrdiff_t nPitch, const BgrPicture& picture);

// Decibels over all three channels.
double Psnr(const BgrPicture& first, const BgrPicture& second);
