// What the encoder can do, by the numbers that a caller asks for.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "abi/nvenc/nvEncodeAPI.h"

namespace nvencruntime
{

inline constexpr std::uint32_t c_uiMaxEncodeSize = 4096;  // pixels, each way
inline constexpr std::int32_t c_nMaxBFrames = 4;          // between two references

// H.264 is the one codec; the profiles and input formats are those of this encoder and no more.
std::span<const GUID> EncodeGuids();
std::span<const GUID> ProfileGuids();
std::span<const NV_ENC_BUFFER_FORMAT> InputFormats();
bool IsInputFormat(NV_ENC_BUFFER_FORMAT eFormat);

// Nothing for a number that is no capability. A script may have set another value than the encoder's own.
std::optional<std::int32_t> AskCapability(NV_ENC_CAPS eCapability);

}  // namespace nvencruntime
