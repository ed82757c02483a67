// Events, and the queue from which a generator's callers take them.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "mfobjects.h"
#include "platform/com/com_ptr.h"

namespace mediafoundation
{

// pValue may be null for an empty value.
HRESULT MakeEvent(MediaEventType type, REFGUID extendedType, HRESULT hrStatus, const PROPVARIANT* pValue,
                  platform::ComPtr<IMFMediaEvent>* ppEvent);

// Safe from any thread.
class EventQueue
{
public:
    // Waits unless dwFlags has MF_EVENT_FLAG_NO_WAIT: MF_E_NO_EVENTS_AVAILABLE then. MF_E_SHUTDOWN from the shut-down
    // on, also for those who wait.
    HRESULT Take(DWORD dwFlags, IMFMediaEvent** ppEvent);
    HRESULT Add(platform::ComPtr<IMFMediaEvent> event);
    HRESULT Add(MediaEventType type, HRESULT hrStatus);
    HRESULT Add(MediaEventType type, REFGUID extendedType, HRESULT hrStatus, const PROPVARIANT* pValue);
    // Drops what wasn't taken.
    void Shutdown();
    bool IsShutdown() const;

private:
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<platform::ComPtr<IMFMediaEvent>> m_events;
    bool m_bShutdown = false;
};

}  // namespace mediafoundation
