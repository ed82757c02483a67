// When a file was last written.
#pragma once

#include <cstdint>
#include <filesystem>

namespace qmhost
{

// In the finest unit that the system keeps: a comparison shows two writes within one second. 0 where there is no file.
std::int64_t LastWriteTime(const std::filesystem::path& path);

}  // namespace qmhost
