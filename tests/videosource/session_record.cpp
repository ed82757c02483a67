#include "session_record.h"

#include <atomic>
#include <mutex>
#include <type_traits>

#include <mfapi.h>

#include "source_fixture.h"

namespace
{

struct SRecord
{
    std::mutex m_mtx;
    std::vector<std::string> m_vTexts;
    unsigned m_uiQueues = 0;
};
SRecord g_record;

template <class TFunction>
TFunction SystemFunction(const wchar_t* pwszLibrary, const char* pszName)
{
    const auto pfn = GetProcAddress(LoadLibraryW(pwszLibrary), pszName);
    return reinterpret_cast<TFunction>(reinterpret_cast<void (*)()>(pfn));
}

HRESULT MakeSystemSession(IMFAttributes* pConfiguration, IMFMediaSession** ppSession)
{
    using Function = HRESULT(WINAPI*)(IMFAttributes*, IMFMediaSession**);
    return SystemFunction<Function>(L"mf.dll", "MFCreateMediaSession")(pConfiguration, ppSession);
}

// One reference to the object that it passes calls on to. Only the interface TInterface and those that it derives from.
template <class TInterface>
class TPassingOn : public TInterface
{
public:
    TPassingOn(TInterface* pObject, REFIID riid) : m_riid(riid), m_pObject(pObject) {}
    virtual ~TPassingOn() = default;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        constexpr bool IS_GENERATOR = std::is_base_of_v<IMFMediaEventGenerator, TInterface>;
        const bool bKnown =
            riid == m_riid || riid == IID_IUnknown || (IS_GENERATOR && riid == IID_IMFMediaEventGenerator);
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

protected:
    const IID m_riid;
    std::atomic<ULONG> m_nRefCount{1};
    const TOwned<TInterface> m_pObject;
};

class CRecordedQueue : public TPassingOn<IMFMediaEventQueue>
{
public:
    CRecordedQueue(IMFMediaEventQueue* pQueue, const char* pszWhere)
        : TPassingOn(pQueue, IID_IMFMediaEventQueue), m_where(pszWhere)
    {}

    STDMETHODIMP GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        return m_pObject->GetEvent(dwFlags, ppEvent);
    }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* pState) override
    {
        return m_pObject->BeginGetEvent(pCallback, pState);
    }
    STDMETHODIMP EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override
    {
        return m_pObject->EndGetEvent(pResult, ppEvent);
    }
    // Noted first: an event may have its effects before the call returns.
    STDMETHODIMP QueueEvent(IMFMediaEvent* pEvent) override
    {
        CSessionRecord::Note(m_where + " " + Describe(pEvent));
        return m_pObject->QueueEvent(pEvent);
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
        CSessionRecord::Note(m_where + " shutdown");
        return m_pObject->Shutdown();
    }

private:
    const std::string m_where;
};

class CRecordedSession : public TPassingOn<IMFMediaSession>
{
public:
    explicit CRecordedSession(IMFMediaSession* pSession) : TPassingOn(pSession, IID_IMFMediaSession) {}

    STDMETHODIMP GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        return Noted(m_pObject->GetEvent(dwFlags, ppEvent), ppEvent);
    }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* pState) override
    {
        return m_pObject->BeginGetEvent(pCallback, pState);
    }
    STDMETHODIMP EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override
    {
        return Noted(m_pObject->EndGetEvent(pResult, ppEvent), ppEvent);
    }
    STDMETHODIMP QueueEvent(MediaEventType eType, REFGUID guidExtendedType, HRESULT hrStatus,
                            const PROPVARIANT* pvarValue) override
    {
        return m_pObject->QueueEvent(eType, guidExtendedType, hrStatus, pvarValue);
    }

    STDMETHODIMP SetTopology(DWORD dwFlags, IMFTopology* pTopology) override
    {
        CSessionRecord::Note("call SetTopology");
        return m_pObject->SetTopology(dwFlags, pTopology);
    }
    STDMETHODIMP ClearTopologies() override
    {
        CSessionRecord::Note("call ClearTopologies");
        return m_pObject->ClearTopologies();
    }
    STDMETHODIMP Start(const GUID* pguidTimeFormat, const PROPVARIANT* pvarPosition) override
    {
        CSessionRecord::Note("call Start");
        return m_pObject->Start(pguidTimeFormat, pvarPosition);
    }
    STDMETHODIMP Pause() override
    {
        CSessionRecord::Note("call Pause");
        return m_pObject->Pause();
    }
    STDMETHODIMP Stop() override
    {
        CSessionRecord::Note("call Stop");
        return m_pObject->Stop();
    }
    STDMETHODIMP Close() override
    {
        CSessionRecord::Note("call Close");
        return m_pObject->Close();
    }
    STDMETHODIMP Shutdown() override
    {
        CSessionRecord::Note("call Shutdown");
        return m_pObject->Shutdown();
    }
    STDMETHODIMP GetClock(IMFClock** ppClock) override { return m_pObject->GetClock(ppClock); }
    STDMETHODIMP GetSessionCapabilities(DWORD* pdwCapabilities) override
    {
        return m_pObject->GetSessionCapabilities(pdwCapabilities);
    }
    STDMETHODIMP GetFullTopology(DWORD dwFlags, TOPOID id, IMFTopology** ppTopology) override
    {
        return m_pObject->GetFullTopology(dwFlags, id, ppTopology);
    }

private:
    static HRESULT Noted(HRESULT hr, IMFMediaEvent** ppEvent)
    {
        if (SUCCEEDED(hr)) CSessionRecord::Note("session " + Describe(*ppEvent));
        return hr;
    }
};

}  // namespace

HRESULT MakeUnrecordedQueue(IMFMediaEventQueue** ppQueue)
{
    using Function = HRESULT(WINAPI*)(IMFMediaEventQueue**);
    return SystemFunction<Function>(L"mfplat.dll", "MFCreateEventQueue")(ppQueue);
}

HRESULT MakeSystemMpeg4Sink(IMFByteStream* pFile, IMFMediaType* pVideoType, IMFMediaSink** ppSink)
{
    using Function = HRESULT(WINAPI*)(IMFByteStream*, IMFMediaType*, IMFMediaType*, IMFMediaSink**);
    return SystemFunction<Function>(L"mf.dll", "MFCreateMPEG4MediaSink")(pFile, pVideoType, nullptr, ppSink);
}

// --- in place of the system's ---

STDAPI MFCreateEventQueue(IMFMediaEventQueue** ppQueue)
{
    const char* pszWhere = nullptr;
    {
        const std::lock_guard lock(g_record.m_mtx);
        pszWhere = g_record.m_uiQueues == 0 ? "source" : "stream";
        ++g_record.m_uiQueues;
    }
    IMFMediaEventQueue* pQueue = nullptr;
    const HRESULT hr = MakeUnrecordedQueue(&pQueue);
    if (SUCCEEDED(hr)) *ppQueue = new CRecordedQueue(pQueue, pszWhere);
    return hr;
}

STDAPI MFCreateMediaSession(IMFAttributes* pConfiguration, IMFMediaSession** ppSession)
{
    IMFMediaSession* pSession = nullptr;
    const HRESULT hr = MakeSystemSession(pConfiguration, &pSession);
    if (SUCCEEDED(hr)) *ppSession = new CRecordedSession(pSession);
    return hr;
}

// --- the record ---

void CSessionRecord::Clear()
{
    const std::lock_guard lock(g_record.m_mtx);
    g_record.m_vTexts.clear();
    g_record.m_uiQueues = 0;
}

void CSessionRecord::Note(const std::string& text)
{
    const std::lock_guard lock(g_record.m_mtx);
    g_record.m_vTexts.push_back(text);
}

std::vector<std::string> CSessionRecord::Get()
{
    const std::lock_guard lock(g_record.m_mtx);
    return g_record.m_vTexts;
}

std::vector<std::string> CSessionRecord::Get(const std::string& where)
{
    std::vector<std::string> vTexts;
    for (const std::string& text : Get())
    {
        if (text.rfind(where + " ", 0) == 0) vTexts.push_back(text.substr(where.size() + 1));
    }
    return vTexts;
}
