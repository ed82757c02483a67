// Names of picture files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmhost
{

// "frame_000123.png": as many digits as the last of uiCount frames needs, at least six, so that names sort like frames.
std::string PictureName(std::uint32_t uiFrame, std::uint32_t uiCount, std::string_view extension);

}  // namespace qmhost
