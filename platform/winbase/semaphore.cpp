#include "platform/winbase/named_objects.h"

namespace winbase
{
namespace
{

class Semaphore : public Waitable
{
public:
    Semaphore(LONG nCount, LONG nMaximum) : m_nCount(nCount), m_nMaximum(nMaximum) {}

    bool IsSignalled(DWORD /*dwThreadId*/) const override { return m_nCount > 0; }
    void Consume(DWORD /*dwThreadId*/) override { --m_nCount; }

    // False, and no change, if that would pass the maximum.
    bool Release(LONG nReleased, LONG* pnPrevious)
    {
        const std::lock_guard lock(m_mutex);
        if (nReleased > m_nMaximum - m_nCount)
        {
            return false;
        }
        if (pnPrevious)
        {
            *pnPrevious = m_nCount;
        }
        m_nCount += nReleased;
        HandOver();
        return true;
    }

private:
    LONG m_nCount;
    const LONG m_nMaximum;
};

}  // namespace
}  // namespace winbase

using namespace winbase;

HANDLE WINAPI CreateSemaphoreW(LPSECURITY_ATTRIBUTES /*lpAttributes*/, LONG lInitialCount, LONG lMaximumCount,
                               LPCWSTR lpName)
{
    if (lMaximumCount < 1 || lInitialCount < 0 || lInitialCount > lMaximumCount)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return CreateNamed<Semaphore>(lpName, [&] { return std::make_shared<Semaphore>(lInitialCount, lMaximumCount); });
}

HANDLE WINAPI OpenSemaphoreW(DWORD /*dwAccess*/, BOOL /*bInherit*/, LPCWSTR lpName)
{
    return OpenNamed<Semaphore>(lpName);
}

BOOL WINAPI ReleaseSemaphore(HANDLE hSemaphore, LONG lReleaseCount, LONG* lpPreviousCount)
{
    if (lReleaseCount < 1)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const auto pSemaphore = FindObjectAs<Semaphore>(hSemaphore);
    if (!pSemaphore)
    {
        return FALSE;
    }
    if (!pSemaphore->Release(lReleaseCount, lpPreviousCount))
    {
        SetLastError(ERROR_TOO_MANY_POSTS);
        return FALSE;
    }
    return TRUE;
}
