#include "platform/mediafoundation/grabber_sink.h"

#include <atomic>

#include "platform/com/com_object.h"
#include "platform/mediafoundation/with_attributes.h"

namespace mediafoundation
{
namespace
{

using platform::Answers;
using platform::ComObject;
using platform::ComPtr;
using platform::Implements;

class GrabberSink final : public ComObject<Implements<IGrabberSink>>
{
public:
    GrabberSink(IMFMediaType* pType, IMFSampleGrabberSinkCallback* pCallback) : m_type(pType), m_callback(pCallback) {}

    IMFMediaType* Type() override { return m_type.Get(); }
    IMFSampleGrabberSinkCallback* Callback() override { return m_callback.Get(); }
    void ShutdownSink() override
    {
        if (!m_bShutdown.exchange(true)) (void)m_callback->OnShutdown();
    }

private:
    const ComPtr<IMFMediaType> m_type;
    const ComPtr<IMFSampleGrabberSinkCallback> m_callback;
    std::atomic<bool> m_bShutdown{false};
};

// MF_SAMPLEGRABBERSINK_IGNORE_CLOCK may be set on it. Samples come as fast as they are decoded with and without it:
// there is no clock here that they could wait for.
class GrabberActivate final : public WithAttributes<ComObject<Implements<IMFActivate>, Answers<IMFAttributes>>>
{
public:
    GrabberActivate(IMFMediaType* pType, IMFSampleGrabberSinkCallback* pCallback) : m_type(pType), m_callback(pCallback)
    {}

    HRESULT STDMETHODCALLTYPE ActivateObject(REFIID riid, void** ppv) override
    {
        if (ppv == nullptr) return E_POINTER;
        *ppv = nullptr;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (!m_sink) m_sink = ComPtr<IGrabberSink>::Attach(new GrabberSink(m_type.Get(), m_callback.Get()));
            return m_sink->QueryInterface(riid, ppv);
        });
    }

    HRESULT STDMETHODCALLTYPE ShutdownObject() override
    {
        const ComPtr<IGrabberSink> sink = Drop();
        if (sink) sink->ShutdownSink();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE DetachObject() override
    {
        (void)Drop();
        return S_OK;
    }

private:
    ComPtr<IGrabberSink> Drop()
    {
        const std::lock_guard lock(m_lock);
        return std::move(m_sink);
    }

    const ComPtr<IMFMediaType> m_type;
    const ComPtr<IMFSampleGrabberSinkCallback> m_callback;
    std::mutex m_lock;
    ComPtr<IGrabberSink> m_sink;
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateSampleGrabberSinkActivate(IMFMediaType* pIMFMediaType,
                                         IMFSampleGrabberSinkCallback* pIMFSampleGrabberSinkCallback,
                                         IMFActivate** ppIActivate)
{
    if (pIMFMediaType == nullptr || pIMFSampleGrabberSinkCallback == nullptr || ppIActivate == nullptr)
    {
        return E_POINTER;
    }
    return mediafoundation::WithoutExceptions([&] {
        *ppIActivate = new mediafoundation::GrabberActivate(pIMFMediaType, pIMFSampleGrabberSinkCallback);
        return S_OK;
    });
}
