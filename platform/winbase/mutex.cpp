#include "platform/winbase/mutex_object.h"
#include "platform/winbase/named_objects.h"
#include "platform/winbase/thread_object.h"

namespace winbase
{

void MutexObject::Consume(DWORD dwThreadId)
{
    m_dwOwner = dwThreadId;
    ++m_nDepth;
    m_bAbandoned = false;
}

void MutexObject::OnAcquired()
{
    CurrentThreadOwns(shared_from_this());
}

bool MutexObject::Release()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_nDepth == 0 || m_dwOwner != GetCurrentThreadId())
        {
            return false;
        }
        if (--m_nDepth > 0)
        {
            return true;
        }
        m_dwOwner = 0;
        HandOver();
    }
    CurrentThreadDisowns(*this);
    return true;
}

void MutexObject::Abandon(DWORD dwOwner)
{
    const std::lock_guard lock(m_mutex);
    if (m_nDepth == 0 || m_dwOwner != dwOwner)
    {
        return;
    }
    m_dwOwner = 0;
    m_nDepth = 0;
    m_bAbandoned = true;
    HandOver();
}

}  // namespace winbase

using namespace winbase;

HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES /*lpAttributes*/, BOOL bInitialOwner, LPCWSTR lpName)
{
    return CreateNamed<MutexObject>(lpName, [&] {
        auto pMutex = std::make_shared<MutexObject>();
        if (bInitialOwner)
        {
            pMutex->Consume(GetCurrentThreadId());
            pMutex->OnAcquired();
        }
        return pMutex;
    });
}

HANDLE WINAPI OpenMutexW(DWORD /*dwAccess*/, BOOL /*bInherit*/, LPCWSTR lpName)
{
    return OpenNamed<MutexObject>(lpName);
}

BOOL WINAPI ReleaseMutex(HANDLE hMutex)
{
    const auto pMutex = FindObjectAs<MutexObject>(hMutex);
    if (!pMutex)
    {
        return FALSE;
    }
    if (!pMutex->Release())
    {
        SetLastError(ERROR_NOT_OWNER);
        return FALSE;
    }
    return TRUE;
}
