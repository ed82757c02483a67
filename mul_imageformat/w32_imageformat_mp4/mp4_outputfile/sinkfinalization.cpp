#include "mp4_outputfile/sinkfinalization.h"

#include <atomic>
#include <new>

#include "common/saferelease.h"
#include "mp4_outputfile/targetgrowth.h"

namespace
{

// Signals that the sink has finished.
class CFinalizeCallback : public IMFAsyncCallback
{
public:
    CFinalizeCallback() : m_nRefCount(1), m_pResult(nullptr), m_hEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        if (ppObject == nullptr) return E_POINTER;
        const bool bKnown = riid == IID_IMFAsyncCallback || riid == IID_IUnknown;
        *ppObject = bKnown ? this : nullptr;
        if (bKnown) AddRef();
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_nRefCount); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return static_cast<ULONG>(nLeft);
    }

    STDMETHODIMP GetParameters(DWORD*, DWORD*) override { return S_OK; }  // the default work queue
    // The result has to outlive this call: EndFinalize gets it on another thread.
    STDMETHODIMP Invoke(IMFAsyncResult* pResult) override
    {
        if (pResult != nullptr) pResult->AddRef();
        m_pResult = pResult;
        SetEvent(m_hEvent);
        return S_OK;
    }

    HANDLE GetEvent() const { return m_hEvent; }
    // After the event was seen. The caller's to release.
    IMFAsyncResult* GetResult() const { return m_pResult; }

private:
    virtual ~CFinalizeCallback()
    {
        if (m_hEvent != nullptr) CloseHandle(m_hEvent);
    }

    std::atomic<LONG> m_nRefCount;
    IMFAsyncResult* m_pResult;
    HANDLE m_hEvent;  // manual-reset; null when the system has no events left
};

// Whether the sink is at rest: it has finished, or never began.
bool AwaitFinalization(IMFFinalizableMediaSink* pFinalizable, CFinalizeCallback* pFinalizeCallback,
                       const wchar_t* pwszPath)
{
    const HANDLE hFinished = pFinalizeCallback->GetEvent();
    if (hFinished == nullptr) return true;

    IMFAsyncCallback* pCallback = nullptr;
    HRESULT hr = pFinalizeCallback->QueryInterface(IID_IMFAsyncCallback, reinterpret_cast<void**>(&pCallback));
    if (SUCCEEDED(hr)) hr = pFinalizable->BeginFinalize(pCallback, nullptr);
    bool bAtRest = FAILED(hr);
    if (!bAtRest)
    {
        CTargetGrowth growth(pwszPath);
        bAtRest = growth.AwaitAny(&hFinished, 1) == WAIT_OBJECT_0;
        if (bAtRest)
        {
            IMFAsyncResult* pResult = pFinalizeCallback->GetResult();
            pFinalizable->EndFinalize(pResult);
            SafeRelease(&pResult);
        }
    }
    SafeRelease(&pCallback);
    return bAtRest;
}

}  // namespace

// The reference from the callback's creation is not given back. A sink whose wait was given up calls it later, and some
// sinks touch it after they have called it.
void FinalizeSink(IMFMediaSink* pSink, const wchar_t* pwszPath)
{
    IMFFinalizableMediaSink* pFinalizable = nullptr;
    if (FAILED(pSink->QueryInterface(IID_IMFFinalizableMediaSink, reinterpret_cast<void**>(&pFinalizable)))) return;

    auto* const pFinalizeCallback = new (std::nothrow) CFinalizeCallback;
    const bool bAtRest = pFinalizeCallback == nullptr || AwaitFinalization(pFinalizable, pFinalizeCallback, pwszPath);
    // The shutdown of one that still works may wait for it, and without end.
    if (bAtRest) pSink->Shutdown();
    SafeRelease(&pFinalizable);
}
