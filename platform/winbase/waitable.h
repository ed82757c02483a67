// What a thread can wait for, and the thread that waits.
//
// An object that becomes signalled is given to the waiting threads at once, under its own lock. What happens to the
// object later doesn't change that, and a thread that comes later gets it after those that wait. Each object has a lock
// and each waiting thread has one, taken in this order. No lock is common to all objects. So threads that use different
// objects don't wait for each other, and a race detector sees where synchronisation is missing.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "platform/winbase/deadline.h"
#include "winbase.h"

namespace winbase
{

// One call of a waiting function. Lives on the stack of its thread for as long as objects know it.
class Waiter
{
public:
    // bAll: wants all of its objects at once. An object doesn't know the others, so it only makes such a waiter look
    // again.
    Waiter(DWORD dwThreadId, bool bAll) : m_dwThreadId(dwThreadId), m_bAll(bAll) {}

    DWORD ThreadId() const { return m_dwThreadId; }
    bool WantsAll() const { return m_bAll; }

    // Ends the wait with this result, unless it has ended already. A caller that gets true gives the waiter its object.
    bool Claim(DWORD dwResult);
    // Has a waiter for all objects look at them again.
    void Nudge();

    // Until claimed. At the deadline the waiter claims itself with WAIT_TIMEOUT.
    DWORD WaitForClaim(const Deadline& deadline);
    // Until nudged since the last call; false at the deadline.
    bool WaitForNudge(const Deadline& deadline);

private:
    const DWORD m_dwThreadId;
    const bool m_bAll;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<DWORD> m_dwResult;
    bool m_bNudged = false;
};

class Waitable
{
public:
    Waitable() = default;
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;
    virtual ~Waitable() = default;

    // Guards the state of the object and the list of its waiters. The operations below need it held.
    std::mutex& Mutex() { return m_mutex; }

    // Whether a wait of that thread would be satisfied now.
    virtual bool IsSignalled(DWORD dwThreadId) const = 0;
    // A wait of that thread is satisfied: an auto-reset event clears itself, a mutex gets its owner.
    virtual void Consume(DWORD dwThreadId) = 0;
    // Whether a wait that is satisfied now says so with WAIT_ABANDONED_0.
    virtual bool IsAbandoned() const { return false; }

    // One place in the list of waiters. The waiting call has it on its stack: a wait needs no memory, as on Windows,
    // where callers don't expect it to fail.
    struct Enrolment
    {
        Waiter* pWaiter = nullptr;
        DWORD nIndex = 0;
        Enrolment* pNext = nullptr;
    };

    // The waiter hears of the object, with nIndex in its result, until it leaves. One waiter may enrol more than once.
    void Enrol(Enrolment& enrolment, Waiter& waiter, DWORD nIndex);
    void Leave(const Enrolment& enrolment);

    // Called without the lock by the thread whose wait the object satisfied.
    virtual void OnAcquired() {}

protected:
    // To be called after a change that may satisfy waits: gives the object to those who wait, longest waiting first,
    // for as long as it is signalled.
    void HandOver();

    mutable std::mutex m_mutex;

private:
    Enrolment* m_pFirst = nullptr;  // the longest waiting
};

}  // namespace winbase
