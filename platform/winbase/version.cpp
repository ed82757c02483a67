#include <algorithm>
#include <iterator>

#include "winbase.h"

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW lpVersion)
{
    if (!lpVersion || lpVersion->dwOSVersionInfoSize != sizeof(OSVERSIONINFOW))
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    // The version that later systems, too, give to a program which doesn't say that it knows them.
    lpVersion->dwMajorVersion = 6;
    lpVersion->dwMinorVersion = 2;
    lpVersion->dwBuildNumber = 9200;
    lpVersion->dwPlatformId = VER_PLATFORM_WIN32_NT;
    std::fill(std::begin(lpVersion->szCSDVersion), std::end(lpVersion->szCSDVersion), L'\0');
    return TRUE;
}
