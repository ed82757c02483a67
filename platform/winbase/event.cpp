#include "platform/winbase/named_objects.h"

namespace winbase
{
namespace
{

class Event : public Waitable
{
public:
    Event(bool bManualReset, bool bSet) : m_bManualReset(bManualReset), m_bSet(bSet) {}

    bool IsSignalled(DWORD /*dwThreadId*/) const override { return m_bSet; }

    void Consume(DWORD /*dwThreadId*/) override
    {
        if (!m_bManualReset)
        {
            m_bSet = false;
        }
    }

    void Set()
    {
        const std::lock_guard lock(m_mutex);
        m_bSet = true;
        HandOver();
    }

    void Reset()
    {
        const std::lock_guard lock(m_mutex);
        m_bSet = false;
    }

private:
    const bool m_bManualReset;
    bool m_bSet;
};

}  // namespace
}  // namespace winbase

using namespace winbase;

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES /*lpAttributes*/, BOOL bManualReset, BOOL bInitialState,
                           LPCWSTR lpName)
{
    return CreateNamed<Event>(lpName,
                              [&] { return std::make_shared<Event>(bManualReset != FALSE, bInitialState != FALSE); });
}

HANDLE WINAPI OpenEventW(DWORD /*dwAccess*/, BOOL /*bInherit*/, LPCWSTR lpName)
{
    return OpenNamed<Event>(lpName);
}

BOOL WINAPI SetEvent(HANDLE hEvent)
{
    const auto pEvent = FindObjectAs<Event>(hEvent);
    if (!pEvent)
    {
        return FALSE;
    }
    pEvent->Set();
    return TRUE;
}

BOOL WINAPI ResetEvent(HANDLE hEvent)
{
    const auto pEvent = FindObjectAs<Event>(hEvent);
    if (!pEvent)
    {
        return FALSE;
    }
    pEvent->Reset();
    return TRUE;
}
