#include "recorded_events.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

#include <mfapi.h>
#include <mferror.h>

#include "source_fixture.h"

namespace
{

struct SRecord
{
    std::mutex m_mtx;
    std::vector<std::string> m_vTexts;
    CEventRecord::Hook m_hook;
    unsigned m_uiQueues = 0;
};
SRecord g_record;

HRESULT Note(const std::string& text)
{
    CEventRecord::Hook hook;
    {
        const std::lock_guard lock(g_record.m_mtx);
        hook = g_record.m_hook;
    }
    const HRESULT hr = hook ? hook(text) : S_OK;
    const std::lock_guard lock(g_record.m_mtx);
    if (SUCCEEDED(hr)) g_record.m_vTexts.push_back(text);
    return hr;
}

// GetEvent doesn't wait, and there are no callbacks.
class CRecordingQueue : public IMFMediaEventQueue
{
public:
    explicit CRecordingQueue(const char* pszName) : m_name(pszName) {}
    virtual ~CRecordingQueue() = default;

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }

    STDMETHODIMP GetEvent(DWORD, IMFMediaEvent** ppEvent) override
    {
        const std::lock_guard lock(m_mtx);
        if (m_bShutDown) return MF_E_SHUTDOWN;
        if (m_events.empty()) return MF_E_NO_EVENTS_AVAILABLE;
        *ppEvent = m_events.front().release();
        m_events.pop_front();
        return S_OK;
    }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return S_FALSE; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return S_FALSE; }

    STDMETHODIMP QueueEvent(IMFMediaEvent* pEvent) override
    {
        const HRESULT hr = Note(m_name + " " + Describe(pEvent));
        if (FAILED(hr)) return hr;
        pEvent->AddRef();
        const std::lock_guard lock(m_mtx);
        m_events.emplace_back(pEvent);
        return S_OK;
    }
    STDMETHODIMP QueueEventParamVar(MediaEventType eType, REFGUID guidExtendedType, HRESULT hrStatus,
                                    const PROPVARIANT* pvarValue) override
    {
        IMFMediaEvent* pEvent = nullptr;
        HRESULT hr = MFCreateMediaEvent(eType, guidExtendedType, hrStatus, pvarValue, &pEvent);
        if (FAILED(hr)) return hr;
        hr = QueueEvent(pEvent);
        pEvent->Release();
        return hr;
    }
    STDMETHODIMP QueueEventParamUnk(MediaEventType eType, REFGUID guidExtendedType, HRESULT hrStatus,
                                    IUnknown* pObject) override
    {
        PROPVARIANT varObject;
        PropVariantInit(&varObject);
        varObject.vt = VT_UNKNOWN;
        varObject.punkVal = pObject;
        return QueueEventParamVar(eType, guidExtendedType, hrStatus, &varObject);
    }

    STDMETHODIMP Shutdown() override
    {
        Note(m_name + " shutdown");
        const std::lock_guard lock(m_mtx);
        m_bShutDown = true;
        m_events.clear();
        return S_OK;
    }

private:
    std::atomic<ULONG> m_nRefCount{1};
    const std::string m_name;
    std::mutex m_mtx;
    std::deque<TOwned<IMFMediaEvent>> m_events;
    bool m_bShutDown = false;
};

}  // namespace

STDAPI MFCreateEventQueue(IMFMediaEventQueue** ppMediaEventQueue)
{
    const std::lock_guard lock(g_record.m_mtx);
    *ppMediaEventQueue = new CRecordingQueue(g_record.m_uiQueues == 0 ? "source" : "stream");
    ++g_record.m_uiQueues;
    return S_OK;
}

void CEventRecord::Clear()
{
    const std::lock_guard lock(g_record.m_mtx);
    g_record.m_vTexts.clear();
    g_record.m_hook = nullptr;
    g_record.m_uiQueues = 0;
}

std::vector<std::string> CEventRecord::Take()
{
    const std::lock_guard lock(g_record.m_mtx);
    return std::exchange(g_record.m_vTexts, {});
}

void CEventRecord::SetHook(Hook hook)
{
    const std::lock_guard lock(g_record.m_mtx);
    g_record.m_hook = std::move(hook);
}

unsigned CEventRecord::GetQueueCount()
{
    const std::lock_guard lock(g_record.m_mtx);
    return g_record.m_uiQueues;
}
