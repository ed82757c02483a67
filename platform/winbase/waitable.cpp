#include "platform/winbase/waitable.h"

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

void Waitable::Enrol(Enrolment& enrolment, Waiter& waiter, DWORD nIndex)
{
    Enrolment** ppEnd = &m_pFirst;
    while (*ppEnd)
    {
        ppEnd = &(*ppEnd)->pNext;
    }
    enrolment = {&waiter, nIndex, nullptr};
    *ppEnd = &enrolment;
}

void Waitable::Leave(const Enrolment& enrolment)
{
    Enrolment** ppEnrolment = &m_pFirst;
    while (*ppEnrolment != &enrolment)
    {
        ppEnrolment = &(*ppEnrolment)->pNext;
    }
    *ppEnrolment = enrolment.pNext;
}

void Waitable::HandOver()
{
    for (const Enrolment* pEnrolment = m_pFirst; pEnrolment; pEnrolment = pEnrolment->pNext)
    {
        Waiter& waiter = *pEnrolment->pWaiter;
        if (!IsSignalled(waiter.ThreadId()))
        {
            return;
        }
        if (waiter.WantsAll())
        {
            waiter.Nudge();
        }
        else if (waiter.Claim((IsAbandoned() ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + pEnrolment->nIndex))
        {
            Consume(waiter.ThreadId());
        }
    }
}

}  // namespace winbase
