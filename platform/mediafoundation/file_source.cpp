#include "platform/mediafoundation/file_source.h"

#include <mutex>
#include <vector>

#include "mferror.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/descriptors.h"
#include "platform/mediafoundation/event_queue.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

class FileSource final : public platform::ComObject<platform::Implements<IMFMediaSource, IFileSource>,
                                                    platform::Answers<IMFMediaEventGenerator>>
{
public:
    explicit FileSource(std::unique_ptr<ContainerFile> file)
        : m_streams(file->Streams()), m_nDuration(file->Duration()), m_file(std::move(file))
    {}

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        return m_events.Take(dwFlags, ppEvent);
    }
    // Events are taken with GetEvent.
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                         const PROPVARIANT* pvValue) override
    {
        return m_events.Add(met, guidExtendedType, hrStatus, pvValue);
    }

    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD* pdwCharacteristics) override
    {
        if (pdwCharacteristics == nullptr) return E_POINTER;
        if (IsShutdown()) return MF_E_SHUTDOWN;
        *pdwCharacteristics = MFMEDIASOURCE_CAN_SEEK | MFMEDIASOURCE_CAN_PAUSE;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE
    CreatePresentationDescriptor(IMFPresentationDescriptor** ppPresentationDescriptor) override
    {
        if (ppPresentationDescriptor == nullptr) return E_POINTER;
        if (IsShutdown()) return MF_E_SHUTDOWN;
        return WithoutExceptions([&] {
            std::vector<ComPtr<IMFStreamDescriptor>> descriptors(m_streams.size());
            for (std::size_t i = 0; i < m_streams.size(); ++i)
            {
                const HRESULT hr = MakeStreamDescriptor(static_cast<DWORD>(i), m_streams[i], &descriptors[i]);
                if (FAILED(hr)) return hr;
            }
            return MakePresentationDescriptor(descriptors, m_nDuration, ppPresentationDescriptor);
        });
    }

    // The session of this platform takes samples through IFileSource; a source of a file isn't driven by anybody else.
    HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override
    {
        return IsShutdown() ? MF_E_SHUTDOWN : MF_E_INVALIDREQUEST;
    }
    HRESULT STDMETHODCALLTYPE Stop() override { return IsShutdown() ? MF_E_SHUTDOWN : MF_E_INVALIDREQUEST; }
    HRESULT STDMETHODCALLTYPE Pause() override { return IsShutdown() ? MF_E_SHUTDOWN : MF_E_INVALIDREQUEST; }

    // A session that still reads keeps what it has borrowed and stops by itself.
    HRESULT STDMETHODCALLTYPE Shutdown() override
    {
        std::shared_ptr<ContainerFile> dropped;
        {
            const std::lock_guard lock(m_lock);
            if (m_bShutdown) return MF_E_SHUTDOWN;
            m_bShutdown = true;
            dropped = std::move(m_file);
        }
        m_events.Shutdown();
        return S_OK;
    }

    HRESULT BorrowFile(std::shared_ptr<ContainerFile>* pFile) override
    {
        const std::lock_guard lock(m_lock);
        if (m_bShutdown) return MF_E_SHUTDOWN;
        if (m_file.use_count() > 1) return MF_E_MEDIA_SOURCE_WRONGSTATE;
        *pFile = m_file;
        return S_OK;
    }

    bool IsShutdown() override
    {
        const std::lock_guard lock(m_lock);
        return m_bShutdown;
    }

private:
    const std::vector<StreamFormat> m_streams;
    const std::int64_t m_nDuration;
    std::mutex m_lock;
    std::shared_ptr<ContainerFile> m_file;
    bool m_bShutdown = false;
    EventQueue m_events;
};

}  // namespace

HRESULT MakeFileSource(std::unique_ptr<ContainerFile> file, IMFMediaSource** ppSource)
{
    return WithoutExceptions([&] {
        *ppSource = new FileSource(std::move(file));
        return S_OK;
    });
}

}  // namespace mediafoundation
