#include "platform/winbase/waitable.h"

#include <algorithm>

namespace winbase
{

bool Waiter::Claim(DWORD dwResult)
{
    // Notified under the lock: once it is free the waiting thread may be gone, and this object with it.
    const std::lock_guard lock(m_mutex);
    if (m_dwResult)
    {
        return false;
    }
    m_dwResult = dwResult;
    m_changed.notify_one();
    return true;
}

void Waiter::Nudge()
{
    const std::lock_guard lock(m_mutex);
    m_bNudged = true;
    m_changed.notify_one();
}

DWORD Waiter::WaitForClaim(const Deadline& deadline)
{
    std::unique_lock lock(m_mutex);
    const auto claimed = [this] { return m_dwResult.has_value(); };
    if (deadline.IsNever())
    {
        m_changed.wait(lock, claimed);
    }
    else if (!m_changed.wait_until(lock, deadline.Moment(), claimed))
    {
        m_dwResult = WAIT_TIMEOUT;
    }
    return *m_dwResult;
}

bool Waiter::WaitForNudge(const Deadline& deadline)
{
    std::unique_lock lock(m_mutex);
    const auto nudged = [this] { return m_bNudged; };
    if (deadline.IsNever())
    {
        m_changed.wait(lock, nudged);
    }
    else if (!m_changed.wait_until(lock, deadline.Moment(), nudged))
    {
        return false;
    }
    m_bNudged = false;
    return true;
}

void Waitable::Enrol(Waiter& waiter, DWORD nIndex)
{
    m_vEnrolments.push_back({&waiter, nIndex});
}

void Waitable::Leave(Waiter& waiter)
{
    std::erase_if(m_vEnrolments, [&waiter](const Enrolment& enrolment) { return enrolment.pWaiter == &waiter; });
}

void Waitable::HandOver()
{
    for (const Enrolment& enrolment : m_vEnrolments)
    {
        Waiter& waiter = *enrolment.pWaiter;
        if (!IsSignalled(waiter.ThreadId()))
        {
            return;
        }
        if (waiter.WantsAll())
        {
            waiter.Nudge();
        }
        else if (waiter.Claim((IsAbandoned() ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + enrolment.nIndex))
        {
            Consume(waiter.ThreadId());
        }
    }
}

}  // namespace winbase
