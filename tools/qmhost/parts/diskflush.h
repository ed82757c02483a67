// Files that stay when the power goes.
#pragma once

#include <filesystem>

namespace qmhost
{

// Waits until what was written to a file is on the disk. On a file system that knows no such call it does nothing.
// Throws std::runtime_error when the disk reports that it couldn't.
void FlushToDisk(const std::filesystem::path& path);

}  // namespace qmhost
