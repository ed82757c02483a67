// Files that stay when the power goes.
#pragma once

#include <filesystem>

namespace qmhost
{

// Waits until what was written to a file is on the disk. Whether the system can do that isn't examined: a file system
// without such a call loses nothing else.
void FlushToDisk(const std::filesystem::path& path);

}  // namespace qmhost
