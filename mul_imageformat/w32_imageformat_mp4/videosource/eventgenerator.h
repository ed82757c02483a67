// What the source and its stream have in common: a count of references, a lock, and a queue of events.
#pragma once

#include <atomic>

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include "common/criticalsection.h"
#include "common/saferelease.h"

// TInterface is an interface that derives from IMFMediaEventGenerator. Its event operations return MF_E_SHUTDOWN after
// the shutdown. All operations are safe from any thread.
template <typename TInterface>
class CEventGenerator : public TInterface
{
public:
    CEventGenerator(const CEventGenerator&) = delete;
    CEventGenerator& operator=(const CEventGenerator&) = delete;

    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }

    // May wait for an event, so it doesn't hold the lock meanwhile.
    STDMETHODIMP GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        IMFMediaEventQueue* pEventQueue = nullptr;
        {
            const CSectionLock lock(m_cs.Get());
            if (m_bShutdown) return MF_E_SHUTDOWN;
            pEventQueue = m_pEventQueue;
            pEventQueue->AddRef();
        }
        const HRESULT hr = pEventQueue->GetEvent(dwFlags, ppEvent);
        SafeRelease(&pEventQueue);
        return hr;
    }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* pState) override
    {
        const CSectionLock lock(m_cs.Get());
        return m_bShutdown ? MF_E_SHUTDOWN : m_pEventQueue->BeginGetEvent(pCallback, pState);
    }
    STDMETHODIMP EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override
    {
        const CSectionLock lock(m_cs.Get());
        return m_bShutdown ? MF_E_SHUTDOWN : m_pEventQueue->EndGetEvent(pResult, ppEvent);
    }
    STDMETHODIMP QueueEvent(MediaEventType eType, REFGUID guidExtendedType, HRESULT hrStatus,
                            const PROPVARIANT* pvarValue) override
    {
        const CSectionLock lock(m_cs.Get());
        return m_bShutdown ? MF_E_SHUTDOWN
                           : m_pEventQueue->QueueEventParamVar(eType, guidExtendedType, hrStatus, pvarValue);
    }

protected:
    CEventGenerator() = default;
    virtual ~CEventGenerator() { CloseEventQueue(); }

    HRESULT MakeEventQueue() { return MFCreateEventQueue(&m_pEventQueue); }
    void CloseEventQueue()
    {
        if (m_pEventQueue != nullptr) m_pEventQueue->Shutdown();
        SafeRelease(&m_pEventQueue);
    }

    // For events without a type of their own and without a failure, under m_cs and before the shutdown.
    HRESULT QueueValue(MediaEventType eType, const PROPVARIANT* pvarValue)
    {
        return m_pEventQueue->QueueEventParamVar(eType, GUID_NULL, S_OK, pvarValue);
    }
    HRESULT QueueObject(MediaEventType eType, IUnknown* pObject)
    {
        return m_pEventQueue->QueueEventParamUnk(eType, GUID_NULL, S_OK, pObject);
    }

    std::atomic<ULONG> m_nRefCount{1};
    CCriticalSection m_cs;
    bool m_bShutdown = false;                     // set once, under m_cs
    IMFMediaEventQueue* m_pEventQueue = nullptr;  // one reference; null after the shutdown
};
