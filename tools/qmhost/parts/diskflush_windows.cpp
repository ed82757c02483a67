#include <windows.h>

#include "parts/diskflush.h"

namespace qmhost
{

void FlushToDisk(const std::filesystem::path& path)
{
    const HANDLE hFile = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return;
    FlushFileBuffers(hFile);
    CloseHandle(hFile);
}

}  // namespace qmhost
