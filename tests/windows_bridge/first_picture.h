// How many samples the system's H.264 decoder takes before its first picture.
#pragma once

#include <filesystem>

namespace windows_bridge
{

// How many samples of a video the decoder takes until it gives the first picture. One, for a video without B pictures
// from a decoder that decodes one picture after the other. What fails throws std::runtime_error with the name of the
// step. Precondition: COM and Media Foundation are started.
int SamplesUntilThePicture(const std::filesystem::path& path);

}  // namespace windows_bridge
