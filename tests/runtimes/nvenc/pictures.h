// Pictures to encode, and how near two pictures are.
#pragma once

#include <cstdint>
#include <vector>

#include "fake_surface.h"

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

void Paint(FakeSurface& surface, const BgrPicture& picture);

// Decibels over all three channels.
double Psnr(const BgrPicture& first, const BgrPicture& second);
