#include <atomic>
#include <mutex>
#include <new>

#include "winbase.h"

// The lock is a std::mutex, held for as long as the section is owned, so that race and deadlock detectors understand
// it. Owner and depth make it recursive, and show whether the calling thread is the owner.
struct PlatformCriticalSection
{
    std::mutex m_mutex;
    std::atomic<DWORD> m_dwOwner{0};  // changed by the owner only
    DWORD m_nDepth = 0;               // the owner's

    bool IsMine() const { return m_dwOwner.load(std::memory_order_relaxed) == GetCurrentThreadId(); }

    void Own()
    {
        m_dwOwner.store(GetCurrentThreadId(), std::memory_order_relaxed);
        m_nDepth = 1;
    }

    void Leave()
    {
        if (--m_nDepth == 0)
        {
            m_dwOwner.store(0, std::memory_order_relaxed);
            m_mutex.unlock();
        }
    }
};

// It lies in the section itself.
static_assert(sizeof(PlatformCriticalSection) <= sizeof(CRITICAL_SECTION::abState));
static_assert(alignof(PlatformCriticalSection) <= 8);

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION lpSection)
{
    lpSection->pState = new (lpSection->abState) PlatformCriticalSection;
}

BOOL WINAPI InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION lpSection, DWORD /*dwSpinCount*/)
{
    InitializeCriticalSection(lpSection);
    return TRUE;
}

BOOL WINAPI InitializeCriticalSectionEx(LPCRITICAL_SECTION lpSection, DWORD /*dwSpinCount*/, DWORD /*dwFlags*/)
{
    InitializeCriticalSection(lpSection);
    return TRUE;
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION lpSection)
{
    PlatformCriticalSection* pState = lpSection->pState;
    if (!pState)
    {
        return;
    }
    if (pState->IsMine())
    {
        ++pState->m_nDepth;
        return;
    }
    pState->m_mutex.lock();
    pState->Own();
}

BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION lpSection)
{
    PlatformCriticalSection* pState = lpSection->pState;
    if (!pState)
    {
        return FALSE;
    }
    if (pState->IsMine())
    {
        ++pState->m_nDepth;
        return TRUE;
    }
    if (!pState->m_mutex.try_lock())
    {
        return FALSE;
    }
    pState->Own();
    return TRUE;
}

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION lpSection)
{
    PlatformCriticalSection* pState = lpSection->pState;
    if (pState && pState->IsMine())
    {
        pState->Leave();
    }
}

// A mutex can't be destroyed while it is locked, by a thread that may have ended. It is left as it is then.
void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION lpSection)
{
    PlatformCriticalSection* pState = lpSection->pState;
    lpSection->pState = nullptr;
    if (!pState)
    {
        return;
    }
    if (pState->IsMine())
    {
        pState->m_nDepth = 1;
        pState->Leave();
    }
    if (pState->m_dwOwner.load(std::memory_order_relaxed) == 0)
    {
        pState->~PlatformCriticalSection();
    }
}
