// Events, and the queue from which a generator's callers take them.
#pragma once

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

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
    // on, also for a caller that waits. MF_E_MULTIPLE_SUBSCRIBERS between BeginTake and EndTake.
    HRESULT Take(DWORD dwFlags, IMFMediaEvent** ppEvent);
    // Invokes the callback once, when there is an event or the queue is shut down, on a thread of the queue's own. One
    // at a time: MF_S_MULTIPLE_BEGIN for the callback that waits already, MF_E_MULTIPLE_BEGIN for another one.
    // MF_E_SHUTDOWN from the shut-down on. That thread keeps owner, which this queue is a part of, alive.
    HRESULT BeginTake(IMFAsyncCallback* pCallback, IUnknown* pState, std::shared_ptr<void> owner);
    // The event for which the callback was invoked with pResult. MF_E_SHUTDOWN from the shut-down on.
    HRESULT EndTake(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent);

    HRESULT Add(platform::ComPtr<IMFMediaEvent> event);
    HRESULT Add(MediaEventType type, HRESULT hrStatus);
    HRESULT Add(MediaEventType type, REFGUID extendedType, HRESULT hrStatus, const PROPVARIANT* pValue);
    // Drops what wasn't taken. When it returns, no callback runs or will run, unless a callback called it.
    void Shutdown();
    // As Shutdown, for a caller with locks that a callback may take: a callback may run when it returns.
    void ShutdownWithoutWaiting();
    bool IsShutdown() const;
    // Whether all events were taken.
    bool IsEmpty() const;

private:
    void InvokeCallbacks();
    // The thread that invokes callbacks, and ends now; not joinable if there is none.
    std::thread End();

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::list<platform::ComPtr<IMFMediaEvent>> m_events;  // needs memory for an event only, and none to be emptied
    bool m_bShutdown = false;

    platform::ComPtr<IMFAsyncCallback> m_callback;  // from BeginTake until it is invoked
    platform::ComPtr<IMFAsyncResult> m_result;      // from BeginTake to EndTake
    std::thread m_thread;                           // from the first BeginTake on
};

}  // namespace mediafoundation
