#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "parts/diskflush.h"
#include "parts/text.h"

namespace qmhost
{

void FlushToDisk(const std::filesystem::path& path)
{
    const int nFile = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (nFile < 0) return;
    const int nError = fsync(nFile) == 0 ? 0 : errno;
    close(nFile);
    if (nError == 0 || nError == EINVAL || nError == ENOSYS || nError == EROFS) return;
    throw std::runtime_error(Quoted(Utf8FromPath(path)) +
                             " can't be brought to the disk: " + std::generic_category().message(nError));
}

}  // namespace qmhost
