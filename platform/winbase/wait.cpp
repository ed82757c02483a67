#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <thread>

#include "platform/winbase/handle_table.h"

namespace winbase
{
namespace
{

// The objects of one wait; on the stack, since waits are frequent and usually for one or two.
class WaitSet
{
public:
    // False with the last error set if the handles can't be waited for.
    bool Fill(std::span<const HANDLE> handles)
    {
        if (handles.empty() || handles.size() > m_aObjects.size())
        {
            SetLastError(ERROR_INVALID_PARAMETER);
            return false;
        }
        for (const HANDLE hObject : handles)
        {
            m_aObjects[m_nObjects] = FindObject(hObject);
            if (!m_aObjects[m_nObjects])
            {
                SetLastError(ERROR_INVALID_HANDLE);
                return false;
            }
            ++m_nObjects;
        }
        return true;
    }

    std::span<const std::shared_ptr<Waitable>> Objects() const { return {m_aObjects.data(), m_nObjects}; }

private:
    std::array<std::shared_ptr<Waitable>, MAXIMUM_WAIT_OBJECTS> m_aObjects;
    std::size_t m_nObjects = 0;
};

// Takes the waiter out of every object again, on whatever way the wait ends.
class Membership
{
public:
    Membership(Waiter& waiter, std::span<const std::shared_ptr<Waitable>> objects)
        : m_waiter(waiter), m_objects(objects)
    {}
    Membership(const Membership&) = delete;
    Membership& operator=(const Membership&) = delete;
    ~Membership()
    {
        for (std::size_t i = 0; i < m_nEnrolled; ++i)
        {
            const std::lock_guard lock(m_objects[i]->Mutex());
            m_objects[i]->Leave(m_aEnrolments[i]);
        }
    }

    // Objects are joined in their order, with the object's lock held.
    void Join(std::size_t nIndex)
    {
        m_objects[nIndex]->Enrol(m_aEnrolments[nIndex], m_waiter, static_cast<DWORD>(nIndex));
        m_nEnrolled = nIndex + 1;
    }

private:
    Waiter& m_waiter;
    std::span<const std::shared_ptr<Waitable>> m_objects;
    std::array<Waitable::Enrolment, MAXIMUM_WAIT_OBJECTS> m_aEnrolments;
    std::size_t m_nEnrolled = 0;
};

DWORD ResultFor(const Waitable& object, std::size_t nIndex)
{
    return (object.IsAbandoned() ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + static_cast<DWORD>(nIndex);
}

// The index in WAIT_OBJECT_0 + index or WAIT_ABANDONED_0 + index.
std::size_t IndexOf(DWORD dwResult)
{
    return dwResult >= WAIT_ABANDONED_0 ? dwResult - WAIT_ABANDONED_0 : dwResult;
}

DWORD WaitForAny(std::span<const std::shared_ptr<Waitable>> objects, DWORD dwMilliseconds)
{
    const Deadline deadline(dwMilliseconds);
    Waiter waiter(GetCurrentThreadId(), false);
    DWORD dwResult = WAIT_TIMEOUT;
    {
        Membership membership(waiter, objects);
        for (std::size_t i = 0; i < objects.size(); ++i)
        {
            Waitable& object = *objects[i];
            const std::lock_guard lock(object.Mutex());
            if (object.IsSignalled(waiter.ThreadId()))
            {
                // An object joined before may have been quicker; then this one stays as it is.
                if (waiter.Claim(ResultFor(object, i)))
                {
                    object.Consume(waiter.ThreadId());
                }
                break;
            }
            if (dwMilliseconds != 0)
            {
                membership.Join(i);
            }
        }
        dwResult = waiter.WaitForClaim(deadline);
    }
    if (dwResult != WAIT_TIMEOUT)
    {
        objects[IndexOf(dwResult)]->OnAcquired();
    }
    return dwResult;
}

// Locks of all objects of a wait, taken in the order of their addresses so that two waits can't block each other.
class AllLocks
{
public:
    explicit AllLocks(std::span<const std::shared_ptr<Waitable>> objects)
        : m_nObjects(static_cast<std::ptrdiff_t>(objects.size()))
    {
        std::transform(objects.begin(), objects.end(), m_aSorted.begin(), [](const auto& p) { return p.get(); });
        std::sort(m_aSorted.begin(), m_aSorted.begin() + m_nObjects, std::less<>());
    }

    bool HasDuplicates() const
    {
        return std::adjacent_find(m_aSorted.begin(), m_aSorted.begin() + m_nObjects) != m_aSorted.begin() + m_nObjects;
    }

    void lock()
    {
        std::for_each(m_aSorted.begin(), m_aSorted.begin() + m_nObjects, [](Waitable* p) { p->Mutex().lock(); });
    }

    void unlock()
    {
        std::for_each(m_aSorted.begin(), m_aSorted.begin() + m_nObjects, [](Waitable* p) { p->Mutex().unlock(); });
    }

private:
    std::array<Waitable*, MAXIMUM_WAIT_OBJECTS> m_aSorted{};
    std::ptrdiff_t m_nObjects;
};

// If every object is signalled, takes them all.
bool TakeAll(std::span<const std::shared_ptr<Waitable>> objects, DWORD dwThreadId, DWORD* pdwResult)
{
    if (!std::all_of(objects.begin(), objects.end(), [=](const auto& p) { return p->IsSignalled(dwThreadId); }))
    {
        return false;
    }
    *pdwResult = WAIT_OBJECT_0;
    for (const auto& pObject : objects)
    {
        if (pObject->IsAbandoned())
        {
            *pdwResult = WAIT_ABANDONED_0;
        }
        pObject->Consume(dwThreadId);
    }
    return true;
}

DWORD WaitForAll(std::span<const std::shared_ptr<Waitable>> objects, DWORD dwMilliseconds)
{
    AllLocks locks(objects);
    if (locks.HasDuplicates())
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    const Deadline deadline(dwMilliseconds);
    Waiter waiter(GetCurrentThreadId(), true);
    DWORD dwResult = WAIT_TIMEOUT;
    {
        Membership membership(waiter, objects);
        bool bTaken = false;
        {
            const std::lock_guard lock(locks);
            bTaken = TakeAll(objects, waiter.ThreadId(), &dwResult);
            for (std::size_t i = 0; i < objects.size() && !bTaken && dwMilliseconds != 0; ++i)
            {
                membership.Join(i);
            }
        }
        while (!bTaken && waiter.WaitForNudge(deadline))
        {
            const std::lock_guard lock(locks);
            bTaken = TakeAll(objects, waiter.ThreadId(), &dwResult);
        }
        if (!bTaken)
        {
            return WAIT_TIMEOUT;
        }
    }
    for (const auto& pObject : objects)
    {
        pObject->OnAcquired();
    }
    return dwResult;
}

}  // namespace
}  // namespace winbase

using namespace winbase;

DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds)
{
    return WaitForMultipleObjects(1, &hHandle, FALSE, dwMilliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds)
{
    if (!lpHandles)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    return WithoutExceptions<DWORD>(WAIT_FAILED, [&] {
        WaitSet set;
        if (!set.Fill({lpHandles, nCount}))
        {
            return WAIT_FAILED;
        }
        return bWaitAll && nCount > 1 ? WaitForAll(set.Objects(), dwMilliseconds)
                                      : WaitForAny(set.Objects(), dwMilliseconds);
    });
}

void WINAPI Sleep(DWORD dwMilliseconds)
{
    if (dwMilliseconds == 0)
    {
        std::this_thread::yield();
        return;
    }
    if (dwMilliseconds == INFINITE)
    {
        for (;;)
        {
            std::this_thread::sleep_for(std::chrono::hours(24));
        }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(dwMilliseconds));
}
