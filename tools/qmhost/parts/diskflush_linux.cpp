#include <fcntl.h>
#include <unistd.h>

#include "parts/diskflush.h"

namespace qmhost
{

void FlushToDisk(const std::filesystem::path& path)
{
    const int nFile = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (nFile < 0) return;
    fsync(nFile);
    close(nFile);
}

}  // namespace qmhost
