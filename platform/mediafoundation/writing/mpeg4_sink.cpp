// MFCreateMPEG4MediaSink: the sink that makes an MP4 file, and its one stream.
#include <mutex>
#include <optional>
#include <thread>

#include "mfapi.h"
#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/async_result.h"
#include "platform/mediafoundation/event_queue.h"
#include "platform/mediafoundation/startup.h"
#include "platform/mediafoundation/without_exceptions.h"
#include "platform/mediafoundation/writing/mp4_file.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

using platform::Answers;
using platform::ComObject;
using platform::ComPtr;
using platform::Implements;

struct VideoType
{
    ComPtr<IMFMediaType> m_type;
    UINT32 m_unWidth = 0;
    UINT32 m_unHeight = 0;
};

HRESULT ReadVideoType(IMFMediaType* pType, VideoType* pVideo)
{
    constexpr UINT32 LARGEST_SIDE = 0xffff;  // that a file can name
    GUID majorType = GUID_NULL;
    GUID subtype = GUID_NULL;
    HRESULT hr = pType->GetMajorType(&majorType);
    if (SUCCEEDED(hr)) hr = pType->GetGUID(MF_MT_SUBTYPE, &subtype);
    if (SUCCEEDED(hr)) hr = MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &pVideo->m_unWidth, &pVideo->m_unHeight);
    const bool bGood = SUCCEEDED(hr) && majorType == MFMediaType_Video && subtype == MFVideoFormat_H264 &&
                       pVideo->m_unWidth > 0 && pVideo->m_unWidth <= LARGEST_SIDE && pVideo->m_unHeight > 0 &&
                       pVideo->m_unHeight <= LARGEST_SIDE;
    pVideo->m_type = ComPtr<IMFMediaType>(pType);
    return bGood ? S_OK : MF_E_INVALIDMEDIATYPE;
}

// The sink's only type.
class TypeHandler final : public ComObject<Implements<IMFMediaTypeHandler>>
{
public:
    explicit TypeHandler(ComPtr<IMFMediaType> type) : m_type(std::move(type)) {}

    HRESULT STDMETHODCALLTYPE IsMediaTypeSupported(IMFMediaType* pMediaType, IMFMediaType** ppMediaType) override
    {
        if (ppMediaType != nullptr) *ppMediaType = nullptr;
        if (pMediaType == nullptr) return E_POINTER;
        VideoType own;
        VideoType other;
        HRESULT hr = ReadVideoType(m_type.Get(), &own);
        if (SUCCEEDED(hr)) hr = ReadVideoType(pMediaType, &other);
        if (FAILED(hr)) return hr;
        const bool bSame = own.m_unWidth == other.m_unWidth && own.m_unHeight == other.m_unHeight;
        return bSame ? S_OK : MF_E_INVALIDMEDIATYPE;
    }
    HRESULT STDMETHODCALLTYPE GetMediaTypeCount(DWORD* pdwTypeCount) override
    {
        if (pdwTypeCount == nullptr) return E_POINTER;
        *pdwTypeCount = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType** ppType) override
    {
        if (ppType == nullptr) return E_POINTER;
        return dwIndex == 0 ? m_type.CopyTo(ppType) : MF_E_NO_MORE_TYPES;
    }
    // The file has been described by the first type.
    HRESULT STDMETHODCALLTYPE SetCurrentMediaType(IMFMediaType* pMediaType) override
    {
        return IsMediaTypeSupported(pMediaType, nullptr);
    }
    HRESULT STDMETHODCALLTYPE GetCurrentMediaType(IMFMediaType** ppType) override
    {
        return GetMediaTypeByIndex(0, ppType);
    }
    HRESULT STDMETHODCALLTYPE GetMajorType(GUID* pguidMajorType) override
    {
        return m_type->GetMajorType(pguidMajorType);
    }

private:
    const ComPtr<IMFMediaType> m_type;
};

// What a sample says about itself, as the file needs it. The buffer stays locked as long as this lives.
class LockedSample
{
public:
    LockedSample() = default;
    LockedSample(const LockedSample&) = delete;
    LockedSample& operator=(const LockedSample&) = delete;
    ~LockedSample()
    {
        if (m_sample.m_pBytes != nullptr) (void)m_buffer->Unlock();
    }

    HRESULT Lock(IMFSample* pSample)
    {
        LONGLONG nTime = 0;
        LONGLONG nDuration = 0;
        HRESULT hr = pSample->GetSampleTime(&nTime);
        if (SUCCEEDED(hr)) hr = pSample->GetSampleDuration(&nDuration);
        if (SUCCEEDED(hr)) hr = pSample->ConvertToContiguousBuffer(m_buffer.Put());
        BYTE* pb = nullptr;
        DWORD cb = 0;
        if (SUCCEEDED(hr)) hr = m_buffer->Lock(&pb, nullptr, &cb);
        if (FAILED(hr)) return hr;
        UINT32 unKey = 0;
        (void)pSample->GetUINT32(MFSampleExtension_CleanPoint, &unKey);
        m_sample = {pb, cb, nTime, nDuration, unKey != 0};
        return S_OK;
    }
    const FileSample& Get() const { return m_sample; }

private:
    ComPtr<IMFMediaBuffer> m_buffer;
    FileSample m_sample;
};

// Samples are written while ProcessSample's caller waits, so that nothing is pending at a marker. It asks for one
// sample at a time.
class Mpeg4Stream final : public ComObject<Implements<IMFStreamSink>, Answers<IMFMediaEventGenerator>>
{
public:
    Mpeg4Stream(IMFMediaSink* pSink, const VideoType& type, IMFByteStream* pTarget)
        : m_events(std::make_shared<EventQueue>()),
          m_handler(ComPtr<TypeHandler>::Attach(new TypeHandler(type.m_type))),
          m_sink(pSink)
    {
        m_file.emplace(ComPtr<IMFByteStream>(pTarget), type.m_unWidth, type.m_unHeight);
    }
    ~Mpeg4Stream() override { m_events->ShutdownWithoutWaiting(); }

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
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                         const PROPVARIANT* pvValue) override
    {
        return m_events->Add(met, guidExtendedType, hrStatus, pvValue);
    }

    HRESULT STDMETHODCALLTYPE GetMediaSink(IMFMediaSink** ppMediaSink) override
    {
        if (ppMediaSink == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        return m_sink ? m_sink.CopyTo(ppMediaSink) : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE GetIdentifier(DWORD* pdwIdentifier) override
    {
        if (pdwIdentifier == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        *pdwIdentifier = 0;
        return m_sink ? S_OK : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE GetMediaTypeHandler(IMFMediaTypeHandler** ppHandler) override
    {
        if (ppHandler == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        if (!m_sink) return MF_E_SHUTDOWN;
        *ppHandler = ComPtr<IMFMediaTypeHandler>(m_handler).Detach();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE ProcessSample(IMFSample* pSample) override
    {
        if (pSample == nullptr) return E_POINTER;
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::WriteSample);
        if (FAILED(hrScript)) return hrScript;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (!m_sink) return MF_E_SHUTDOWN;
            if (!m_bStarted || m_bFinished) return MF_E_INVALIDREQUEST;
            LockedSample locked;
            HRESULT hr = locked.Lock(pSample);
            if (SUCCEEDED(hr)) hr = m_file->Add(locked.Get());
            if (SUCCEEDED(hr)) hr = m_events->Add(MEStreamSinkRequestSample, S_OK);
            return hr;
        });
    }
    HRESULT STDMETHODCALLTYPE PlaceMarker(MFSTREAMSINK_MARKER_TYPE, const PROPVARIANT*,
                                          const PROPVARIANT* pvarContextValue) override
    {
        const std::lock_guard lock(m_lock);
        return m_sink ? m_events->Add(MEStreamSinkMarker, GUID_NULL, S_OK, pvarContextValue) : MF_E_SHUTDOWN;
    }
    // What has been taken is in the file already.
    HRESULT STDMETHODCALLTYPE Flush() override
    {
        const std::lock_guard lock(m_lock);
        return m_sink ? S_OK : MF_E_SHUTDOWN;
    }

    // --- for the sink ---

    HRESULT Start()
    {
        const std::lock_guard lock(m_lock);
        if (!m_sink) return MF_E_SHUTDOWN;
        m_bStarted = true;
        const HRESULT hr = m_events->Add(MEStreamSinkStarted, S_OK);
        return FAILED(hr) ? hr : m_events->Add(MEStreamSinkRequestSample, S_OK);
    }
    HRESULT Halt(MediaEventType type)
    {
        const std::lock_guard lock(m_lock);
        if (!m_sink) return MF_E_SHUTDOWN;
        m_bStarted = false;
        return m_events->Add(type, S_OK);
    }
    HRESULT ChangeRate()
    {
        const std::lock_guard lock(m_lock);
        return m_sink ? m_events->Add(MEStreamSinkRateChanged, S_OK) : MF_E_SHUTDOWN;
    }
    HRESULT Finish()
    {
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (!m_file) return MF_E_SHUTDOWN;
            m_bFinished = true;
            return m_file->Finish();
        });
    }
    void Shutdown()
    {
        ComPtr<IMFMediaSink> sink;  // released after the lock
        const std::lock_guard lock(m_lock);
        sink = std::move(m_sink);
        m_file.reset();
        m_events->ShutdownWithoutWaiting();
    }

private:
    const std::shared_ptr<EventQueue> m_events;  // shared with the thread that invokes callbacks
    const ComPtr<TypeHandler> m_handler;
    std::mutex m_lock;
    ComPtr<IMFMediaSink> m_sink;  // null after the shut-down
    std::optional<Mp4File> m_file;
    bool m_bStarted = false;
    bool m_bFinished = false;
};

// It doesn't wait for times, so it needs no clock, but follows the state of one.
class Mpeg4Sink final : public ComObject<Implements<IMFFinalizableMediaSink, IMFClockStateSink>, Answers<IMFMediaSink>>
{
public:
    // Separate from the constructor, since the stream holds the sink.
    void Open(const VideoType& type, IMFByteStream* pTarget)
    {
        m_stream = ComPtr<Mpeg4Stream>::Attach(new Mpeg4Stream(this, type, pTarget));
    }
    ~Mpeg4Sink() override
    {
        // The thread holds a reference, so if it hasn't ended it is the one that runs this.
        if (m_thread.joinable()) m_thread.detach();
    }

    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD* pdwCharacteristics) override
    {
        if (pdwCharacteristics == nullptr) return E_POINTER;
        *pdwCharacteristics = MEDIASINK_FIXED_STREAMS | MEDIASINK_RATELESS;
        return Stream() ? S_OK : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE AddStreamSink(DWORD, IMFMediaType*, IMFStreamSink**) override
    {
        return Stream() ? MF_E_STREAMSINKS_FIXED : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE RemoveStreamSink(DWORD) override
    {
        return Stream() ? MF_E_STREAMSINKS_FIXED : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE GetStreamSinkCount(DWORD* pcStreamSinkCount) override
    {
        if (pcStreamSinkCount == nullptr) return E_POINTER;
        *pcStreamSinkCount = 1;
        return Stream() ? S_OK : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE GetStreamSinkByIndex(DWORD dwIndex, IMFStreamSink** ppStreamSink) override
    {
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::GetStreamSink);
        return FAILED(hrScript) ? hrScript : GiveStream(dwIndex, MF_E_INVALIDINDEX, ppStreamSink);
    }
    HRESULT STDMETHODCALLTYPE GetStreamSinkById(DWORD dwStreamSinkIdentifier, IMFStreamSink** ppStreamSink) override
    {
        return GiveStream(dwStreamSinkIdentifier, MF_E_INVALIDSTREAMNUMBER, ppStreamSink);
    }
    HRESULT STDMETHODCALLTYPE SetPresentationClock(IMFPresentationClock*) override
    {
        return Stream() ? S_OK : MF_E_SHUTDOWN;
    }
    HRESULT STDMETHODCALLTYPE GetPresentationClock(IMFPresentationClock** ppPresentationClock) override
    {
        if (ppPresentationClock == nullptr) return E_POINTER;
        *ppPresentationClock = nullptr;
        return Stream() ? MF_E_NO_CLOCK : MF_E_SHUTDOWN;
    }

    // Waits for a finalisation that is under way, unless its callback calls this.
    HRESULT STDMETHODCALLTYPE Shutdown() override
    {
        std::thread finishing;
        {
            const std::lock_guard lock(m_lock);
            if (!m_stream) return MF_E_SHUTDOWN;
            finishing = std::move(m_thread);
        }
        if (finishing.joinable())
        {
            finishing.get_id() == std::this_thread::get_id() ? finishing.detach() : finishing.join();
        }
        ComPtr<Mpeg4Stream> stream;
        {
            const std::lock_guard lock(m_lock);
            stream = std::move(m_stream);
        }
        if (stream) stream->Shutdown();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE OnClockStart(MFTIME, LONGLONG) override { return Start(); }
    HRESULT STDMETHODCALLTYPE OnClockRestart(MFTIME) override { return Start(); }
    HRESULT STDMETHODCALLTYPE OnClockStop(MFTIME) override { return Halt(MEStreamSinkStopped); }
    HRESULT STDMETHODCALLTYPE OnClockPause(MFTIME) override { return Halt(MEStreamSinkPaused); }
    HRESULT STDMETHODCALLTYPE OnClockSetRate(MFTIME, float) override
    {
        const ComPtr<Mpeg4Stream> stream = Stream();
        return stream ? stream->ChangeRate() : MF_E_SHUTDOWN;
    }

    HRESULT STDMETHODCALLTYPE BeginFinalize(IMFAsyncCallback* pCallback, IUnknown* punkState) override
    {
        if (pCallback == nullptr) return E_POINTER;
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::BeginFinalize);
        if (FAILED(hrScript)) return hrScript;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (!m_stream) return MF_E_SHUTDOWN;
            if (m_bFinalized) return MF_E_INVALIDREQUEST;
            m_result = MakeAsyncResult(punkState);
            // The thread holds the callback until it has been invoked, and this sink.
            m_thread = std::thread([self = ComPtr<Mpeg4Sink>(this), stream = m_stream, result = m_result,
                                    callback = ComPtr<IMFAsyncCallback>(pCallback)]() mutable {
                WaitWhileFinalizeIsHeld();
                HRESULT hr = ScriptedResult(MediaWriteCall::Finalize);
                if (SUCCEEDED(hr)) hr = stream->Finish();
                (void)result->SetStatus(hr);
                (void)callback->Invoke(result.Get());
            });
            m_bFinalized = true;
            return S_OK;
        });
    }
    // The sink's own reference keeps the result alive up to here, since the callback's caller may have none.
    HRESULT STDMETHODCALLTYPE EndFinalize(IMFAsyncResult* pResult) override
    {
        ComPtr<IMFAsyncResult> result;
        {
            const std::lock_guard lock(m_lock);
            if (pResult == nullptr || pResult != m_result.Get()) return E_INVALIDARG;
            result = std::move(m_result);
        }
        return result->GetStatus();
    }

private:
    ComPtr<Mpeg4Stream> Stream()
    {
        const std::lock_guard lock(m_lock);
        return m_stream;
    }
    HRESULT GiveStream(DWORD dwNumber, HRESULT hrUnknown, IMFStreamSink** ppStreamSink)
    {
        if (ppStreamSink == nullptr) return E_POINTER;
        *ppStreamSink = nullptr;
        ComPtr<IMFStreamSink> stream = Stream();
        if (!stream) return MF_E_SHUTDOWN;
        if (dwNumber != 0) return hrUnknown;
        *ppStreamSink = stream.Detach();
        return S_OK;
    }
    HRESULT Start()
    {
        const ComPtr<Mpeg4Stream> stream = Stream();
        return stream ? stream->Start() : MF_E_SHUTDOWN;
    }
    HRESULT Halt(MediaEventType type)
    {
        const ComPtr<Mpeg4Stream> stream = Stream();
        return stream ? stream->Halt(type) : MF_E_SHUTDOWN;
    }

    std::mutex m_lock;
    ComPtr<Mpeg4Stream> m_stream;     // null after the shut-down
    bool m_bFinalized = false;        // once BeginFinalize has succeeded
    ComPtr<IMFAsyncResult> m_result;  // from BeginFinalize to EndFinalize
    std::thread m_thread;             // of the finalisation
};

HRESULT MakeSink(IMFByteStream* pTarget, IMFMediaType* pType, IMFMediaSink** ppSink)
{
    VideoType type;
    HRESULT hr = ReadVideoType(pType, &type);
    if (FAILED(hr)) return hr;
    DWORD dwCapabilities = 0;
    hr = pTarget->GetCapabilities(&dwCapabilities);
    if (FAILED(hr)) return hr;
    if ((dwCapabilities & MFBYTESTREAM_IS_WRITABLE) == 0) return E_INVALIDARG;
    if ((dwCapabilities & MFBYTESTREAM_IS_SEEKABLE) == 0) return MF_E_BYTESTREAM_NOT_SEEKABLE;
    auto sink = ComPtr<Mpeg4Sink>::Attach(new Mpeg4Sink());
    sink->Open(type, pTarget);
    *ppSink = sink.Detach();
    return S_OK;
}

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateMPEG4MediaSink(IMFByteStream* pIByteStream, IMFMediaType* pVideoMediaType, IMFMediaType* pAudioMediaType,
                              IMFMediaSink** ppIMediaSink)
{
    if (pIByteStream == nullptr || ppIMediaSink == nullptr) return E_POINTER;
    *ppIMediaSink = nullptr;
    if (pVideoMediaType == nullptr && pAudioMediaType == nullptr) return E_INVALIDARG;
    if (pVideoMediaType == nullptr || pAudioMediaType != nullptr) return MF_E_INVALIDMEDIATYPE;
    HRESULT hr = mediafoundation::RequireStartup();
    if (SUCCEEDED(hr)) hr = mediafoundation::ScriptedResult(MediaWriteCall::CreateSink);
    if (FAILED(hr)) return hr;
    return mediafoundation::WithoutExceptions(
        [&] { return mediafoundation::MakeSink(pIByteStream, pVideoMediaType, ppIMediaSink); });
}
