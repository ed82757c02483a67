// Files that the user names for reading.
#pragma once

#include <filesystem>

namespace qmhost
{

// Throws std::runtime_error in plain words for a path that is missing, a directory or no file, or that the system
// doesn't let this program read.
void RequireReadableFile(const std::filesystem::path& path);

}  // namespace qmhost
