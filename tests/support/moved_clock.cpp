#include "support/moved_clock.h"

#include <atomic>

#include "common/waits.h"

namespace
{

std::atomic<std::uint64_t> g_uiNow{1'000'000};
std::atomic<int> g_nLimitedWaits{0};

}  // namespace

namespace test_support
{

void MoveClock(std::uint64_t uiMilliseconds)
{
    g_uiNow += uiMilliseconds;
}

void WaitForLimitedWait()
{
    while (g_nLimitedWaits == 0)
        Sleep(1);
}

}  // namespace test_support

// --- in place of the module's ---

std::uint64_t GetMilliseconds()
{
    return g_uiNow;
}

DWORD AwaitAny(const HANDLE* phAny, DWORD dwCount, DWORD dwLimit)
{
    if (dwLimit == INFINITE) return WaitForMultipleObjects(dwCount, phAny, FALSE, INFINITE);
    const std::uint64_t uiEnd = g_uiNow + dwLimit;
    ++g_nLimitedWaits;
    DWORD dwResult = WAIT_TIMEOUT;
    do
    {
        dwResult = WaitForMultipleObjects(dwCount, phAny, FALSE, 1);
    } while (dwResult == WAIT_TIMEOUT && g_uiNow < uiEnd);
    --g_nLimitedWaits;
    return dwResult;
}

void Rest(DWORD /*dwMilliseconds*/)
{
    Sleep(1);
}
