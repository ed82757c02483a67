#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

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

namespace
{

// A mutex can't be destroyed while it is locked. A section deleted while another thread owns it, which may have ended,
// is kept to the end of the process.
void KeepForever(std::unique_ptr<PlatformCriticalSection> pState)
{
    static std::mutex& s_mutex = *new std::mutex;
    static auto& s_vKept = *new std::vector<std::unique_ptr<PlatformCriticalSection>>;
    const std::lock_guard lock(s_mutex);
    s_vKept.push_back(std::move(pState));
}

}  // namespace

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION lpSection)
{
    lpSection->pState = new PlatformCriticalSection;
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

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION lpSection)
{
    std::unique_ptr<PlatformCriticalSection> pState(lpSection->pState);
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
    else if (pState->m_dwOwner.load(std::memory_order_relaxed) != 0)
    {
        KeepForever(std::move(pState));
    }
}
