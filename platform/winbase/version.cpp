#include <atomic>
#include <cstdint>
#include <cstring>

#include "platform/winbase/version_script.h"
#include "winbase.h"

namespace
{

// The version that later systems, too, give to a program which doesn't say that it knows them.
constexpr DWORD MAJOR = 6;
constexpr DWORD MINOR = 2;
constexpr DWORD BUILD = 9200;

// Windows' size of the record, whose text has 16-bit characters there.
constexpr DWORD SIZE_ON_WINDOWS = 276;

std::uint64_t Pack(DWORD dwMajor, DWORD dwMinor)
{
    return std::uint64_t{dwMajor} << 32 | dwMinor;
}

std::atomic<std::uint64_t>& Version()
{
    static std::atomic<std::uint64_t> s_uiVersion{Pack(MAJOR, MINOR)};
    return s_uiVersion;
}

}  // namespace

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW lpVersion)
{
    const DWORD dwSize = lpVersion ? lpVersion->dwOSVersionInfoSize : 0;
    if (dwSize != SIZE_ON_WINDOWS && dwSize != sizeof(OSVERSIONINFOW))
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    // Only the bytes that the caller's size covers are written.
    const std::uint64_t uiVersion = Version();
    std::memset(static_cast<void*>(lpVersion), 0, dwSize);
    lpVersion->dwOSVersionInfoSize = dwSize;
    lpVersion->dwMajorVersion = static_cast<DWORD>(uiVersion >> 32);
    lpVersion->dwMinorVersion = static_cast<DWORD>(uiVersion);
    lpVersion->dwBuildNumber = BUILD;
    lpVersion->dwPlatformId = VER_PLATFORM_WIN32_NT;
    return TRUE;
}

void VersionScript_Set(DWORD dwMajorVersion, DWORD dwMinorVersion)
{
    Version() = Pack(dwMajorVersion, dwMinorVersion);
}

void VersionScript_Reset()
{
    Version() = Pack(MAJOR, MINOR);
}
