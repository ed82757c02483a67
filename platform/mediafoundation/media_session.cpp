// IMFMediaSession and its rate control, and MFGetService.
#include <atomic>

#include "mfapi.h"
#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/session_engine.h"
#include "platform/mediafoundation/startup.h"
#include "platform/mediafoundation/without_exceptions.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

class MediaSession final
    : public platform::ComObject<platform::Implements<IMFMediaSession, IMFGetService, IMFRateControl>,
                                 platform::Answers<IMFMediaEventGenerator>>
{
public:
    MediaSession() : m_engine(std::make_shared<SessionEngine>()) {}
    ~MediaSession() override { m_engine->Shutdown(); }

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        return m_engine->Events().Take(dwFlags, ppEvent);
    }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) override
    {
        return m_engine->Events().BeginTake(pCallback, punkState, m_engine);
    }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override
    {
        return m_engine->Events().EndTake(pResult, ppEvent);
    }
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                         const PROPVARIANT* pvValue) override
    {
        return m_engine->Events().Add(met, guidExtendedType, hrStatus, pvValue);
    }

    HRESULT STDMETHODCALLTYPE SetTopology(DWORD dwSetTopologyFlags, IMFTopology* pTopology) override
    {
        if (pTopology == nullptr)
        {
            return (dwSetTopologyFlags & MFSESSION_SETTOPOLOGY_CLEAR_CURRENT) != 0 ? ClearTopologies() : E_INVALIDARG;
        }
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::SetTopology);
        if (FAILED(hrScript)) return hrScript;
        SessionCommand command = {SessionCommand::Kind::SetTopology, ComPtr<IMFTopology>(pTopology), {}, 1.0F};
        return m_engine->Post(std::move(command));
    }
    HRESULT STDMETHODCALLTYPE ClearTopologies() override { return Post(SessionCommand::Kind::ClearTopologies); }

    HRESULT STDMETHODCALLTYPE Start(const GUID* pguidTimeFormat, const PROPVARIANT* pvarStartPosition) override
    {
        if (pvarStartPosition == nullptr) return E_INVALIDARG;
        if (pguidTimeFormat != nullptr && *pguidTimeFormat != GUID_NULL) return MF_E_UNSUPPORTED_TIME_FORMAT;
        SessionCommand command = {SessionCommand::Kind::Start, nullptr, {}, 1.0F};
        switch (pvarStartPosition->vt)
        {
        case VT_EMPTY:
            break;
        case VT_I8:
            command.m_position = pvarStartPosition->hVal.QuadPart;
            break;
        default:
            return MF_E_UNSUPPORTED_TIME_FORMAT;
        }
        return m_engine->Post(std::move(command));
    }
    HRESULT STDMETHODCALLTYPE Pause() override { return Post(SessionCommand::Kind::Pause); }
    HRESULT STDMETHODCALLTYPE Stop() override { return Post(SessionCommand::Kind::Stop); }
    HRESULT STDMETHODCALLTYPE Close() override { return Post(SessionCommand::Kind::Close); }

    HRESULT STDMETHODCALLTYPE Shutdown() override
    {
        m_engine->Shutdown();
        return S_OK;
    }

    // Nothing here waits for a time, so there is no clock.
    HRESULT STDMETHODCALLTYPE GetClock(IMFClock** ppClock) override
    {
        if (ppClock == nullptr) return E_POINTER;
        *ppClock = nullptr;
        return m_engine->Events().IsShutdown() ? MF_E_SHUTDOWN : MF_E_NO_CLOCK;
    }

    HRESULT STDMETHODCALLTYPE GetSessionCapabilities(DWORD* pdwCaps) override
    {
        if (pdwCaps == nullptr) return E_POINTER;
        if (m_engine->Events().IsShutdown()) return MF_E_SHUTDOWN;
        *pdwCaps = MFSESSIONCAP_START | MFSESSIONCAP_SEEK | MFSESSIONCAP_PAUSE | MFSESSIONCAP_RATE_FORWARD |
                   MFSESSIONCAP_DOES_NOT_USE_NETWORK;
        return S_OK;
    }

    // The decoder isn't a node of its own, so there is no fuller topology than the one that was given.
    HRESULT STDMETHODCALLTYPE GetFullTopology(DWORD, TOPOID, IMFTopology**) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetService(REFGUID guidService, REFIID riid, LPVOID* ppvObject) override
    {
        if (ppvObject == nullptr) return E_POINTER;
        *ppvObject = nullptr;
        if (m_engine->Events().IsShutdown()) return MF_E_SHUTDOWN;
        return guidService == MF_RATE_CONTROL_SERVICE ? QueryInterface(riid, ppvObject) : MF_E_UNSUPPORTED_SERVICE;
    }

    // Samples come as fast as they are decoded at every rate.
    HRESULT STDMETHODCALLTYPE SetRate(BOOL fThin, float flRate) override
    {
        if (fThin) return MF_E_THINNING_UNSUPPORTED;
        if (flRate < 0) return MF_E_REVERSE_UNSUPPORTED;
        SessionCommand command = {SessionCommand::Kind::SetRate, nullptr, {}, flRate};
        const HRESULT hr = m_engine->Post(std::move(command));
        if (SUCCEEDED(hr)) m_fRate = flRate;
        return hr;
    }
    HRESULT STDMETHODCALLTYPE GetRate(BOOL* pfThin, float* pflRate) override
    {
        if (pflRate == nullptr) return E_POINTER;
        if (pfThin != nullptr) *pfThin = FALSE;
        *pflRate = m_fRate;
        return S_OK;
    }

private:
    HRESULT Post(SessionCommand::Kind kind) { return m_engine->Post({kind, nullptr, {}, 1.0F}); }

    const std::shared_ptr<SessionEngine> m_engine;
    std::atomic<float> m_fRate{1.0F};
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateMediaSession(IMFAttributes*, IMFMediaSession** ppMediaSession)
{
    if (ppMediaSession == nullptr) return E_POINTER;
    HRESULT hr = mediafoundation::RequireStartup();
    if (SUCCEEDED(hr)) hr = mediafoundation::ScriptedResult(MediaWriteCall::CreateSession);
    if (FAILED(hr)) return hr;
    return mediafoundation::WithoutExceptions([&] {
        *ppMediaSession = new mediafoundation::MediaSession();
        return S_OK;
    });
}

STDAPI MFGetService(IUnknown* punkObject, REFGUID guidService, REFIID riid, LPVOID* ppvObject)
{
    if (punkObject == nullptr || ppvObject == nullptr) return E_POINTER;
    *ppvObject = nullptr;
    platform::ComPtr<IMFGetService> services;
    const HRESULT hr = punkObject->QueryInterface(IID_IMFGetService, services.PutVoid());
    return FAILED(hr) ? MF_E_UNSUPPORTED_SERVICE : services->GetService(guidService, riid, ppvObject);
}
