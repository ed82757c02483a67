#include "platform/mediafoundation/event_queue.h"

#include "mferror.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/async_result.h"
#include "platform/mediafoundation/with_attributes.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

class MediaEvent final
    : public WithAttributes<platform::ComObject<platform::Implements<IMFMediaEvent>, platform::Answers<IMFAttributes>>>
{
public:
    MediaEvent(MediaEventType type, REFGUID extendedType, HRESULT hrStatus)
        : m_type(type), m_extendedType(extendedType), m_hrStatus(hrStatus)
    {
        PropVariantInit(&m_value);
    }
    ~MediaEvent() override { PropVariantClear(&m_value); }

    HRESULT Init(const PROPVARIANT* pValue) { return pValue == nullptr ? S_OK : PropVariantCopy(&m_value, pValue); }

    HRESULT STDMETHODCALLTYPE GetType(MediaEventType* pmet) override
    {
        if (pmet == nullptr) return E_POINTER;
        *pmet = m_type;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetExtendedType(GUID* pguidExtendedType) override
    {
        if (pguidExtendedType == nullptr) return E_POINTER;
        *pguidExtendedType = m_extendedType;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetStatus(HRESULT* phrStatus) override
    {
        if (phrStatus == nullptr) return E_POINTER;
        *phrStatus = m_hrStatus;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetValue(PROPVARIANT* pvValue) override
    {
        if (pvValue == nullptr) return E_POINTER;
        return PropVariantCopy(pvValue, &m_value);
    }

private:
    const MediaEventType m_type;
    const GUID m_extendedType;
    const HRESULT m_hrStatus;
    PROPVARIANT m_value;
};

}  // namespace

HRESULT MakeEvent(MediaEventType type, REFGUID extendedType, HRESULT hrStatus, const PROPVARIANT* pValue,
                  ComPtr<IMFMediaEvent>* ppEvent)
{
    return WithoutExceptions([&] {
        auto event = ComPtr<MediaEvent>::Attach(new MediaEvent(type, extendedType, hrStatus));
        const HRESULT hr = event->Init(pValue);
        if (SUCCEEDED(hr)) *ppEvent = event;
        return hr;
    });
}

HRESULT EventQueue::Take(DWORD dwFlags, IMFMediaEvent** ppEvent)
{
    if (ppEvent == nullptr) return E_POINTER;
    *ppEvent = nullptr;
    std::unique_lock lock(m_lock);
    if (m_result) return m_bShutdown ? MF_E_SHUTDOWN : MF_E_MULTIPLE_SUBSCRIBERS;
    const bool bWait = (dwFlags & MF_EVENT_FLAG_NO_WAIT) == 0;
    if (bWait) m_changed.wait(lock, [this] { return m_bShutdown || !m_events.empty(); });
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (m_events.empty()) return MF_E_NO_EVENTS_AVAILABLE;
    *ppEvent = m_events.front().Detach();
    m_events.pop_front();
    return S_OK;
}

HRESULT EventQueue::BeginTake(IMFAsyncCallback* pCallback, IUnknown* pState, std::shared_ptr<void> owner)
{
    if (pCallback == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        {
            const std::lock_guard lock(m_lock);
            if (m_bShutdown) return MF_E_SHUTDOWN;
            if (m_result) return m_callback.Get() == pCallback ? MF_S_MULTIPLE_BEGIN : MF_E_MULTIPLE_BEGIN;
            ComPtr<IMFAsyncResult> result = MakeAsyncResult(pState);
            if (!m_thread.joinable())
            {
                m_thread = std::thread([this, keep = std::move(owner)] { InvokeCallbacks(); });
            }
            m_callback = ComPtr<IMFAsyncCallback>(pCallback);
            m_result = std::move(result);
        }
        m_changed.notify_all();
        return S_OK;
    });
}

HRESULT EventQueue::EndTake(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    if (ppEvent == nullptr) return E_POINTER;
    *ppEvent = nullptr;
    ComPtr<IMFAsyncResult> taken;  // released after the lock
    const std::lock_guard lock(m_lock);
    if (pResult == nullptr || pResult != m_result.Get()) return E_INVALIDARG;
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (m_callback) return MF_E_NO_EVENTS_AVAILABLE;  // it wasn't invoked yet
    taken = std::move(m_result);
    *ppEvent = m_events.front().Detach();
    m_events.pop_front();
    return S_OK;
}

void EventQueue::InvokeCallbacks()
{
    std::unique_lock lock(m_lock);
    for (;;)
    {
        m_changed.wait(lock, [this] { return m_bShutdown || (m_callback && !m_events.empty()); });
        if (!m_callback) return;
        ComPtr<IMFAsyncCallback> callback = std::move(m_callback);
        ComPtr<IMFAsyncResult> result = m_result;
        lock.unlock();
        (void)callback->Invoke(result.Get());
        callback = nullptr;
        result = nullptr;
        lock.lock();
    }
}

HRESULT EventQueue::Add(ComPtr<IMFMediaEvent> event)
{
    return WithoutExceptions([&] {
        const std::lock_guard lock(m_lock);
        if (m_bShutdown) return MF_E_SHUTDOWN;
        m_events.push_back(std::move(event));
        // Under the lock: the callback that takes the event may give the queue's last reference back.
        m_changed.notify_all();
        return S_OK;
    });
}

HRESULT EventQueue::Add(MediaEventType type, HRESULT hrStatus)
{
    return Add(type, GUID_NULL, hrStatus, nullptr);
}

HRESULT EventQueue::Add(MediaEventType type, REFGUID extendedType, HRESULT hrStatus, const PROPVARIANT* pValue)
{
    ComPtr<IMFMediaEvent> event;
    const HRESULT hr = MakeEvent(type, extendedType, hrStatus, pValue, &event);
    return FAILED(hr) ? hr : Add(std::move(event));
}

std::thread EventQueue::End()
{
    std::list<ComPtr<IMFMediaEvent>> dropped;
    std::thread ending;
    {
        const std::lock_guard lock(m_lock);
        m_bShutdown = true;
        dropped.swap(m_events);
        ending = std::move(m_thread);
    }
    m_changed.notify_all();
    return ending;
}

void EventQueue::Shutdown()
{
    std::thread ending = End();
    if (!ending.joinable()) return;
    // A callback can't wait for its own end.
    ending.get_id() == std::this_thread::get_id() ? ending.detach() : ending.join();
}

void EventQueue::ShutdownWithoutWaiting()
{
    std::thread ending = End();
    if (ending.joinable()) ending.detach();
}

bool EventQueue::IsShutdown() const
{
    const std::lock_guard lock(m_lock);
    return m_bShutdown;
}

bool EventQueue::IsEmpty() const
{
    const std::lock_guard lock(m_lock);
    return m_events.empty();
}

}  // namespace mediafoundation
