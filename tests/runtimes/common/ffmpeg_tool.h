// ffmpeg as a judge: an independent decoder of the runtime's streams, and a peer with the same encoder inside.
#pragma once

#include <string>
#include <vector>

#include "pictures.h"

// Decodes a byte stream into pictures in the order they are shown. Anything that ffmpeg complains about is a failure
// of the test.
std::vector<BgrPicture> DecodeWithFfmpeg(const std::vector<std::uint8_t>& stream, std::uint32_t uiWidth,
                                         std::uint32_t uiHeight);

// NV12 pictures without gaps, one after the other, encoded by ffmpeg's libx264 with these arguments into a byte stream.
std::vector<std::uint8_t> EncodeWithFfmpeg(const std::vector<std::uint8_t>& pictures, std::uint32_t uiWidth,
                                           std::uint32_t uiHeight, const std::string& arguments);
