// The standard library gives whole seconds here.
#include <windows.h>

#include "parts/filetime.h"

namespace qmhost
{

std::int64_t LastWriteTime(const std::filesystem::path& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
    ULARGE_INTEGER time{};
    time.LowPart = data.ftLastWriteTime.dwLowDateTime;
    time.HighPart = data.ftLastWriteTime.dwHighDateTime;
    return static_cast<std::int64_t>(time.QuadPart);
}

}  // namespace qmhost
