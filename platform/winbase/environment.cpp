#include "platform/winbase/environment.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <mutex>

#include "platform/winbase/last_error.h"
#include "platform/winbase/text.h"

namespace
{

// The C library's environment may be read by many threads or changed by one.
std::mutex& EnvironmentMutex()
{
    static std::mutex& s_mutex = *new std::mutex;
    return s_mutex;
}

}  // namespace

namespace winbase
{

std::optional<std::string> EnvironmentVariable(const char* pszName)
{
    const std::lock_guard lock(EnvironmentMutex());
    const char* const pszValue = std::getenv(pszName);
    return pszValue ? std::optional<std::string>(pszValue) : std::nullopt;
}

}  // namespace winbase

using namespace winbase;

DWORD WINAPI GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize)
{
    return WithoutExceptions<DWORD>(0, [&]() -> DWORD {
        const auto narrow = lpName ? EnvironmentVariable(Utf8FromWide(lpName).c_str()) : std::nullopt;
        if (!narrow)
        {
            SetLastError(ERROR_ENVVAR_NOT_FOUND);
            return 0;
        }
        const std::wstring value = WideFromUtf8(*narrow);
        const auto nLength = static_cast<DWORD>(value.size());
        if (nLength >= nSize || !lpBuffer)
        {
            return nLength + 1;
        }
        std::copy_n(value.c_str(), nLength + 1, lpBuffer);
        // An empty value also gives 0. Only the last error differs from that of a missing one.
        SetLastError(ERROR_SUCCESS);
        return nLength;
    });
}

BOOL WINAPI SetEnvironmentVariableW(LPCWSTR lpName, LPCWSTR lpValue)
{
    if (!lpName || !*lpName || std::wcschr(lpName, L'='))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return WithoutExceptions<BOOL>(FALSE, [&] {
        const std::string name = Utf8FromWide(lpName);
        const std::lock_guard lock(EnvironmentMutex());
        const int nFailed = lpValue ? setenv(name.c_str(), Utf8FromWide(lpValue).c_str(), 1) : unsetenv(name.c_str());
        if (nFailed)
        {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        }
        return nFailed ? FALSE : TRUE;
    });
}
