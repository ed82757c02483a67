// The rest of the base: handles, last error, clocks, environment, text, versions, processor, diagnostics.
#pragma once

#include "libloaderapi.h"
#include "processthreadsapi.h"
#include "winerror.h"

#define INVALID_HANDLE_VALUE reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1))

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001U
#define MB_ERR_INVALID_CHARS 0x00000008U
#define WC_ERR_INVALID_CHARS 0x00000080U

struct OSVERSIONINFOW
{
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
};
using POSVERSIONINFOW = OSVERSIONINFOW*;
using LPOSVERSIONINFOW = OSVERSIONINFOW*;
#define VER_PLATFORM_WIN32_NT 2

extern "C"
{
    // Gives the handle up; the object lives on as long as another handle or a wait holds it.
    WINBASEAPI BOOL WINAPI CloseHandle(HANDLE hObject);

    // The calling thread's last failure. A call that succeeds usually leaves it as it is.
    WINBASEAPI DWORD WINAPI GetLastError();
    WINBASEAPI void WINAPI SetLastError(DWORD dwError);

    // Ten million counts a second, from some fixed moment, never backwards.
    WINBASEAPI BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* lpCount);
    WINBASEAPI BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* lpFrequency);
    // Milliseconds since the system's start; the 32-bit count starts again at 0 after 49.7 days.
    WINBASEAPI DWORD WINAPI GetTickCount();
    WINBASEAPI ULONGLONG WINAPI GetTickCount64();
    WINBASEAPI void WINAPI GetSystemTimeAsFileTime(LPFILETIME lpTime);
    WINBASEAPI void WINAPI GetSystemTimePreciseAsFileTime(LPFILETIME lpTime);

    // The length without the nul; if the buffer of nSize characters is too small, the size it should have, nul
    // included. No such variable: 0 with ERROR_ENVVAR_NOT_FOUND. Setting null removes the variable.
    WINBASEAPI DWORD WINAPI GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize);
    WINBASEAPI BOOL WINAPI SetEnvironmentVariableW(LPCWSTR lpName, LPCWSTR lpValue);

    // Between UTF-8 (CP_UTF8; CP_ACP is the same here) and wide text. A count of -1 means up to and with the nul; a
    // target count of 0 asks for the needed size. Gives the characters or bytes written; 0 with
    // ERROR_INVALID_PARAMETER, ERROR_INSUFFICIENT_BUFFER, or ERROR_NO_UNICODE_TRANSLATION for malformed text under
    // *_ERR_INVALID_CHARS, which is otherwise turned into U+FFFD. The default character of the reverse way isn't for
    // UTF-8: both its arguments are null.
    WINBASEAPI int WINAPI MultiByteToWideChar(UINT uiCodePage, DWORD dwFlags, LPCCH lpSource, int cbSource,
                                              LPWSTR lpTarget, int cchTarget);
    WINBASEAPI int WINAPI WideCharToMultiByte(UINT uiCodePage, DWORD dwFlags, LPCWCH lpSource, int cchSource,
                                              LPSTR lpTarget, int cbTarget, LPCCH lpDefaultChar,
                                              LPBOOL lpUsedDefaultChar);

    // The version that the interfaces here are those of. dwOSVersionInfoSize is the size of the record, or 276, its size
    // where characters have 16 bits; then only so many bytes are written. Else ERROR_INSUFFICIENT_BUFFER.
    WINBASEAPI BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW lpVersion);

    // Whether the processor has the feature and the system keeps its registers. An unknown number is FALSE.
    WINBASEAPI BOOL WINAPI IsProcessorFeaturePresent(DWORD dwFeature);

    // A text for a debugger. It goes to standard error if the environment variable WINBASE_DEBUG_OUTPUT is set, else
    // nowhere, as on a machine where no debugger listens.
    WINBASEAPI void WINAPI OutputDebugStringA(LPCSTR lpText);
    WINBASEAPI void WINAPI OutputDebugStringW(LPCWSTR lpText);
}
