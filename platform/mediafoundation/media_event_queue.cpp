// IMFMediaEventQueue, and events for it.
#include <memory>

#include "mfapi.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/event_queue.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

class MediaEventQueue final : public platform::ComObject<platform::Implements<IMFMediaEventQueue>>
{
public:
    MediaEventQueue() : m_events(std::make_shared<EventQueue>()) {}
    ~MediaEventQueue() override { m_events->ShutdownWithoutWaiting(); }

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        return m_events->Take(dwFlags, ppEvent);
    }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) override
    {
        return m_events->BeginTake(pCallback, punkState, m_events);
    }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override
    {
        return m_events->EndTake(pResult, ppEvent);
    }

    HRESULT STDMETHODCALLTYPE QueueEvent(IMFMediaEvent* pEvent) override
    {
        if (pEvent == nullptr) return E_INVALIDARG;
        return m_events->Add(ComPtr<IMFMediaEvent>(pEvent));
    }
    HRESULT STDMETHODCALLTYPE QueueEventParamVar(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                                 const PROPVARIANT* pvValue) override
    {
        return m_events->Add(met, guidExtendedType, hrStatus, pvValue);
    }
    HRESULT STDMETHODCALLTYPE QueueEventParamUnk(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                                 IUnknown* pUnk) override
    {
        PROPVARIANT varObject;
        PropVariantInit(&varObject);
        varObject.vt = VT_UNKNOWN;
        varObject.punkVal = pUnk;  // the event takes a reference of its own
        return m_events->Add(met, guidExtendedType, hrStatus, &varObject);
    }

    HRESULT STDMETHODCALLTYPE Shutdown() override
    {
        m_events->ShutdownWithoutWaiting();
        return S_OK;
    }

private:
    const std::shared_ptr<EventQueue> m_events;  // shared with the thread that invokes callbacks
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateEventQueue(IMFMediaEventQueue** ppMediaEventQueue)
{
    if (ppMediaEventQueue == nullptr) return E_POINTER;
    return mediafoundation::WithoutExceptions([&] {
        *ppMediaEventQueue = new mediafoundation::MediaEventQueue();
        return S_OK;
    });
}

STDAPI MFCreateMediaEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus, const PROPVARIANT* pvValue,
                          IMFMediaEvent** ppEvent)
{
    if (ppEvent == nullptr) return E_POINTER;
    platform::ComPtr<IMFMediaEvent> event;
    const HRESULT hr = mediafoundation::MakeEvent(met, guidExtendedType, hrStatus, pvValue, &event);
    *ppEvent = event.Detach();
    return hr;
}
