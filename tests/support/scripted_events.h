// The events of a scripted session, as its BeginGetEvent and EndGetEvent deliver them.
#pragma once

#include <deque>
#include <mutex>
#include <utility>

#include <windows.h>

#include <mferror.h>
#include <mfidl.h>

#include "support/scripted_event.h"

// Invokes a callback on the thread that adds the event, or on the one that begins when there is an event already.
class CScriptedEvents
{
public:
    CScriptedEvents() = default;
    ~CScriptedEvents() { Shutdown(); }
    CScriptedEvents(const CScriptedEvents&) = delete;
    CScriptedEvents& operator=(const CScriptedEvents&) = delete;

    void Add(MediaEventType eType, HRESULT hrStatus)
    {
        {
            const std::lock_guard lock(m_mtx);
            m_events.emplace_back(eType, hrStatus);
        }
        InvokeIfDue();
    }

    HRESULT Begin(IMFAsyncCallback* pCallback)
    {
        {
            const std::lock_guard lock(m_mtx);
            if (m_bShutDown) return MF_E_SHUTDOWN;
            if (m_pCallback != nullptr) return MF_E_MULTIPLE_BEGIN;
            m_pCallback = pCallback;
            m_pCallback->AddRef();
        }
        InvokeIfDue();
        return S_OK;
    }

    HRESULT End(IMFMediaEvent** ppEvent)
    {
        const std::lock_guard lock(m_mtx);
        return Pop(ppEvent);
    }

    // Whether all events were taken, and a callback waits for the next.
    bool AreTaken()
    {
        const std::lock_guard lock(m_mtx);
        return m_events.empty() && m_pCallback != nullptr;
    }

    void Shutdown()
    {
        {
            const std::lock_guard lock(m_mtx);
            m_bShutDown = true;
        }
        InvokeIfDue();
    }

private:
    // What a callback gets. It carries nothing.
    class CResult : public IMFAsyncResult
    {
    public:
        STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        STDMETHODIMP_(ULONG) AddRef() override { return 1; }
        STDMETHODIMP_(ULONG) Release() override { return 1; }
        STDMETHODIMP GetState(IUnknown**) override { return E_POINTER; }
        STDMETHODIMP GetStatus() override { return S_OK; }
        STDMETHODIMP SetStatus(HRESULT) override { return S_OK; }
        STDMETHODIMP GetObject(IUnknown**) override { return E_POINTER; }
        STDMETHODIMP_(IUnknown*) GetStateNoAddRef() override { return nullptr; }
    };

    HRESULT Pop(IMFMediaEvent** ppEvent)
    {
        *ppEvent = nullptr;
        if (m_bShutDown) return MF_E_SHUTDOWN;
        if (m_events.empty()) return MF_E_NO_EVENTS_AVAILABLE;
        *ppEvent = new CScriptedEvent(m_events.front().first, m_events.front().second);
        m_events.pop_front();
        return S_OK;
    }

    void InvokeIfDue()
    {
        IMFAsyncCallback* pCallback = nullptr;
        {
            const std::lock_guard lock(m_mtx);
            if (m_bShutDown || !m_events.empty()) std::swap(pCallback, m_pCallback);
        }
        if (pCallback == nullptr) return;
        pCallback->Invoke(&s_result);
        pCallback->Release();
    }

    static inline CResult s_result;
    std::mutex m_mtx;
    std::deque<std::pair<MediaEventType, HRESULT>> m_events;
    bool m_bShutDown = false;
    IMFAsyncCallback* m_pCallback = nullptr;
};
