#include <chrono>
#include <ctime>

#include "winbase.h"

namespace
{

// Windows' performance counter has this frequency too; sources that multiply counts by ten million rely on there being
// no more of them in a second.
constexpr LONGLONG c_nCountsPerSecond = 10'000'000;
using Counts = std::chrono::duration<LONGLONG, std::ratio<1, c_nCountsPerSecond>>;

// From the year 1601 to the year 1970, in steps of 100 ns: 369 years with 89 leap days.
constexpr ULONGLONG c_uiFileTimeOf1970 = (369ULL * 365 + 89) * 24 * 60 * 60 * c_nCountsPerSecond;
static_assert(c_uiFileTimeOf1970 == 116444736000000000ULL);

}  // namespace

BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* lpCount)
{
    lpCount->QuadPart = std::chrono::duration_cast<Counts>(std::chrono::steady_clock::now().time_since_epoch()).count();
    return TRUE;
}

BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* lpFrequency)
{
    lpFrequency->QuadPart = c_nCountsPerSecond;
    return TRUE;
}

ULONGLONG WINAPI GetTickCount64()
{
    // Unlike the steady clock this one goes on while the machine sleeps, as Windows' count does.
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1'000'000;
}

DWORD WINAPI GetTickCount()
{
    return static_cast<DWORD>(GetTickCount64());
}

void WINAPI GetSystemTimePreciseAsFileTime(LPFILETIME lpTime)
{
    const auto sinceUnixEpoch =
        std::chrono::duration_cast<Counts>(std::chrono::system_clock::now().time_since_epoch()).count();
    const ULONGLONG uiFileTime = c_uiFileTimeOf1970 + static_cast<ULONGLONG>(sinceUnixEpoch);
    lpTime->dwLowDateTime = static_cast<DWORD>(uiFileTime);
    lpTime->dwHighDateTime = static_cast<DWORD>(uiFileTime >> 32);
}

void WINAPI GetSystemTimeAsFileTime(LPFILETIME lpTime)
{
    GetSystemTimePreciseAsFileTime(lpTime);
}
