#include "passing_clock.h"

#include "common/waits.h"

namespace
{
CPassingClock* g_pClock = nullptr;
}

CPassingClock::CPassingClock()
{
    g_pClock = this;
}

CPassingClock::~CPassingClock()
{
    g_pClock = nullptr;
}

// --- in place of the module's ---

std::uint64_t GetMilliseconds()
{
    return 1'000'000 + g_pClock->m_uiPassedMs;
}

DWORD AwaitAny(const HANDLE* phAny, DWORD dwCount, DWORD dwLimit)
{
    const DWORD dwResult = WaitForMultipleObjects(dwCount, phAny, FALSE, dwLimit == INFINITE ? INFINITE : 0);
    if (dwResult == WAIT_TIMEOUT)
    {
        g_pClock->m_uiPassedMs += dwLimit;
        if (g_pClock->m_funcPassed) g_pClock->m_funcPassed();
    }
    return dwResult;
}

void Rest(DWORD dwMilliseconds)
{
    g_pClock->m_uiPassedMs += dwMilliseconds;
    Sleep(1);
}
