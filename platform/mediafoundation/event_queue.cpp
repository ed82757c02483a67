#include "platform/mediafoundation/event_queue.h"

#include "mferror.h"
#include "platform/com/com_object.h"
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
    const bool bWait = (dwFlags & MF_EVENT_FLAG_NO_WAIT) == 0;
    if (bWait) m_changed.wait(lock, [this] { return m_bShutdown || !m_events.empty(); });
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (m_events.empty()) return MF_E_NO_EVENTS_AVAILABLE;
    *ppEvent = m_events.front().Detach();
    m_events.pop_front();
    return S_OK;
}

HRESULT EventQueue::Add(ComPtr<IMFMediaEvent> event)
{
    return WithoutExceptions([&] {
        {
            const std::lock_guard lock(m_lock);
            if (m_bShutdown) return MF_E_SHUTDOWN;
            m_events.push_back(std::move(event));
        }
        m_changed.notify_one();
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

void EventQueue::Shutdown()
{
    std::deque<ComPtr<IMFMediaEvent>> dropped;
    {
        const std::lock_guard lock(m_lock);
        m_bShutdown = true;
        dropped.swap(m_events);
    }
    m_changed.notify_all();
}

bool EventQueue::IsShutdown() const
{
    const std::lock_guard lock(m_lock);
    return m_bShutdown;
}

}  // namespace mediafoundation
