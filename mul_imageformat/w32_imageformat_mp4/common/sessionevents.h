// The events of a media session, taken one after the other.
#pragma once

#include <windows.h>

#include <mfidl.h>

class CEventArrival;

// One thread takes all events of the session. A wait has a limit and can be woken, for a session that never reports.
class CSessionEvents
{
public:
    // The session isn't counted, and outlives this object.
    explicit CSessionEvents(IMFMediaSession* pSession);
    ~CSessionEvents();
    CSessionEvents(const CSessionEvents&) = delete;
    CSessionEvents& operator=(const CSessionEvents&) = delete;

    // Waits for the next event. S_OK with its type and status; S_FALSE when none came within dwLimit milliseconds, or
    // before hWake, which may be null, was signalled, or when the wait isn't possible. Else the call that failed:
    // MF_E_SHUTDOWN after the session's shutdown.
    HRESULT Take(DWORD dwLimit, HANDLE hWake, MediaEventType* peType, HRESULT* phrStatus);

private:
    IMFMediaSession* m_pSession;
    CEventArrival* m_pArrival;  // one reference; null when there was no memory for it
    bool m_bBegun;              // the session has m_pArrival, and its event wasn't taken yet
};
