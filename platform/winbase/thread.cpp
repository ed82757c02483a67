#include "platform/winbase/thread_object.h"

#include <algorithm>
#include <atomic>
#include <unistd.h>
#include <vector>

#include "platform/winbase/handle_table.h"

namespace winbase
{
namespace
{

// Without a destructor, hence good until the very end of its thread.
thread_local DWORD t_dwThreadId = 0;

class ThreadSlot
{
public:
    ~ThreadSlot()
    {
        for (const auto& pMutex : m_vOwned)
        {
            pMutex->Abandon(GetCurrentThreadId());
        }
        if (m_pThread)
        {
            m_pThread->End();
        }
    }

    std::shared_ptr<ThreadObject> m_pThread;
    std::vector<std::shared_ptr<MutexObject>> m_vOwned;
};

ThreadSlot& Slot()
{
    thread_local ThreadSlot t_slot;
    return t_slot;
}

bool IsPriority(int nPriority)
{
    return nPriority == THREAD_PRIORITY_IDLE || nPriority == THREAD_PRIORITY_TIME_CRITICAL ||
           (nPriority >= THREAD_PRIORITY_LOWEST && nPriority <= THREAD_PRIORITY_HIGHEST);
}

}  // namespace

DWORD NextThreadId()
{
    // Counts up. The system uses its own ids again, so an id that is kept as an owner could mean another thread.
    static std::atomic<DWORD> s_dwLast{0};
    return s_dwLast.fetch_add(4, std::memory_order_relaxed) + 4;
}

DWORD ThreadObject::ExitCode() const
{
    const std::lock_guard lock(m_mutex);
    return m_bEnded ? m_dwExitCode : STILL_ACTIVE;
}

void ThreadObject::SetExitCode(DWORD dwExitCode)
{
    const std::lock_guard lock(m_mutex);
    m_dwExitCode = dwExitCode;
}

void ThreadObject::End()
{
    const std::lock_guard lock(m_mutex);
    m_bEnded = true;
    HandOver();
}

int ThreadObject::Priority() const
{
    const std::lock_guard lock(m_mutex);
    return m_nPriority;
}

void ThreadObject::SetPriority(int nPriority)
{
    const std::lock_guard lock(m_mutex);
    m_nPriority = nPriority;
}

std::shared_ptr<ThreadObject> CurrentThreadObject()
{
    ThreadSlot& slot = Slot();
    if (!slot.m_pThread)
    {
        slot.m_pThread = std::make_shared<ThreadObject>(GetCurrentThreadId());
    }
    return slot.m_pThread;
}

void BecomeThread(std::shared_ptr<ThreadObject> pThread)
{
    t_dwThreadId = pThread->Id();
    Slot().m_pThread = std::move(pThread);
}

void CurrentThreadOwns(std::shared_ptr<MutexObject> pMutex)
{
    auto& vOwned = Slot().m_vOwned;
    if (std::find(vOwned.begin(), vOwned.end(), pMutex) == vOwned.end())
    {
        vOwned.push_back(std::move(pMutex));
    }
}

void CurrentThreadDisowns(const MutexObject& mutex)
{
    std::erase_if(Slot().m_vOwned, [&mutex](const auto& pOwned) { return pOwned.get() == &mutex; });
}

}  // namespace winbase

using namespace winbase;

HANDLE WINAPI GetCurrentThread()
{
    return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-2));
}

DWORD WINAPI GetCurrentThreadId()
{
    if (t_dwThreadId == 0)
    {
        t_dwThreadId = NextThreadId();
    }
    return t_dwThreadId;
}

DWORD WINAPI GetThreadId(HANDLE hThread)
{
    const auto pThread = FindObjectAs<ThreadObject>(hThread);
    return pThread ? pThread->Id() : 0;
}

DWORD WINAPI GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}

BOOL WINAPI GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode)
{
    const auto pThread = FindObjectAs<ThreadObject>(hThread);
    if (!pThread)
    {
        return FALSE;
    }
    if (!lpExitCode)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *lpExitCode = pThread->ExitCode();
    return TRUE;
}

BOOL WINAPI SetThreadPriority(HANDLE hThread, int nPriority)
{
    const auto pThread = FindObjectAs<ThreadObject>(hThread);
    if (!pThread)
    {
        return FALSE;
    }
    if (!IsPriority(nPriority))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    pThread->SetPriority(nPriority);
    return TRUE;
}

int WINAPI GetThreadPriority(HANDLE hThread)
{
    const auto pThread = FindObjectAs<ThreadObject>(hThread);
    return pThread ? pThread->Priority() : THREAD_PRIORITY_ERROR_RETURN;
}
