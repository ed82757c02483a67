// The NAL units that x264 gives.
#pragma once

#include <cstdint>
#include <vector>

#include "runtimes/common/x264_library.h"

namespace runtimes
{

// Appends a NAL unit with a start code of four bytes, whichever start code x264 gave it.
void AppendNal(std::vector<std::uint8_t>& bytes, const x264_nal_t& nal);

// Whether this is the message about itself that x264 puts before its first picture.
bool IsSignature(const x264_nal_t& nal);

}  // namespace runtimes
