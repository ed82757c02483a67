#include "common/sessionevents.h"

#include <atomic>
#include <new>

#include "common/criticalsection.h"
#include "common/saferelease.h"
#include "common/waits.h"

// Turns the session's call into a signal. The session may hold it longer than the taker of events lives.
//
// A result may own its callback. So one that is never taken is not kept: the two would keep each other alive.
class CEventArrival : public IMFAsyncCallback
{
public:
    CEventArrival()
        : m_nRefCount(1),
          m_hArrived(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
          m_pResult(nullptr),
          m_bTakerGone(false)
    {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        const bool bKnown = riid == IID_IUnknown || riid == IID_IMFAsyncCallback;
        *ppObject = bKnown ? this : nullptr;
        if (bKnown) AddRef();
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }

    STDMETHODIMP GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }  // the system's choice of a thread
    STDMETHODIMP Invoke(IMFAsyncResult* pResult) override
    {
        {
            const CSectionLock lock(m_Lock.Get());
            if (m_bTakerGone) return S_OK;
            pResult->AddRef();
            SafeRelease(&m_pResult);
            m_pResult = pResult;
        }
        SetEvent(m_hArrived);
        return S_OK;
    }

    HANDLE GetSignal() const { return m_hArrived; }
    // The caller's to release; null when there is none.
    IMFAsyncResult* TakeResult()
    {
        const CSectionLock lock(m_Lock.Get());
        IMFAsyncResult* pResult = m_pResult;
        m_pResult = nullptr;
        return pResult;
    }

    // No result is taken any more.
    void EndTaking()
    {
        const CSectionLock lock(m_Lock.Get());
        m_bTakerGone = true;
        SafeRelease(&m_pResult);
    }

private:
    virtual ~CEventArrival()
    {
        if (m_hArrived != nullptr) CloseHandle(m_hArrived);
    }

    std::atomic<ULONG> m_nRefCount;
    HANDLE m_hArrived;  // auto-reset; null when the system has no events left
    CCriticalSection m_Lock;
    IMFAsyncResult* m_pResult;  // to be taken; null when there is none
    bool m_bTakerGone;
};

CSessionEvents::CSessionEvents(IMFMediaSession* pSession)
    : m_pSession(pSession), m_pArrival(new (std::nothrow) CEventArrival), m_bBegun(false)
{}

CSessionEvents::~CSessionEvents()
{
    if (m_pArrival != nullptr) m_pArrival->EndTaking();
    SafeRelease(&m_pArrival);
}

HRESULT CSessionEvents::Take(DWORD dwLimit, HANDLE hWake, MediaEventType* peType, HRESULT* phrStatus)
{
    if (m_pArrival == nullptr || m_pArrival->GetSignal() == nullptr) return E_OUTOFMEMORY;
    if (!m_bBegun)
    {
        const HRESULT hr = m_pSession->BeginGetEvent(m_pArrival, nullptr);
        if (FAILED(hr)) return hr;
        m_bBegun = true;
    }

    const HANDLE ahAny[] = {m_pArrival->GetSignal(), hWake};
    if (AwaitAny(ahAny, hWake != nullptr ? 2 : 1, dwLimit) != WAIT_OBJECT_0) return S_FALSE;
    m_bBegun = false;

    IMFAsyncResult* pResult = m_pArrival->TakeResult();
    IMFMediaEvent* pEvent = nullptr;
    HRESULT hr = m_pSession->EndGetEvent(pResult, &pEvent);
    if (SUCCEEDED(hr)) hr = pEvent->GetStatus(phrStatus);
    if (SUCCEEDED(hr)) hr = pEvent->GetType(peType);
    SafeRelease(&pEvent);
    SafeRelease(&pResult);
    return SUCCEEDED(hr) ? S_OK : hr;
}
