#include <stdexcept>
#include <system_error>

#include <windows.h>

#include "parts/diskflush.h"
#include "parts/text.h"

namespace qmhost
{

void FlushToDisk(const std::filesystem::path& path)
{
    const HANDLE hFile = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return;
    const DWORD dwError = FlushFileBuffers(hFile) ? ERROR_SUCCESS : GetLastError();
    CloseHandle(hFile);
    if (dwError == ERROR_SUCCESS || dwError == ERROR_INVALID_FUNCTION || dwError == ERROR_NOT_SUPPORTED) return;
    throw std::runtime_error(Quoted(Utf8FromPath(path)) + " can't be brought to the disk: " +
                             std::system_category().message(static_cast<int>(dwError)));
}

}  // namespace qmhost
