// The code numbers that a stream's header says about display, by the names x264's options take.
#pragma once

#include <cstdint>

namespace nvencruntime
{

// Null for a number without a meaning.
const char* VideoFormatName(std::uint32_t uiCode);
const char* ColourPrimariesName(std::uint32_t uiCode);
const char* TransferName(std::uint32_t uiCode);
const char* ColourMatrixName(std::uint32_t uiCode);

}  // namespace nvencruntime
