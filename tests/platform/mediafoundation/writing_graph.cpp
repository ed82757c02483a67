#include "writing_graph.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "objbase.h"
#include "support/ffmpeg.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

constexpr unsigned NUMBER_BITS = 8;
constexpr unsigned SQUARE = 8;  // pixels on each side

void Check(HRESULT hr)
{
    if (FAILED(hr)) throw std::runtime_error("a call failed that has to work");
}

ComPtr<IMFMediaType> VideoType(REFGUID subtype, const VideoShape& shape)
{
    ComPtr<IMFMediaType> type;
    Check(MFCreateMediaType(type.Put()));
    Check(type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video));
    Check(type->SetGUID(MF_MT_SUBTYPE, subtype));
    Check(MFSetAttributeSize(type.Get(), MF_MT_FRAME_SIZE, shape.m_unWidth, shape.m_unHeight));
    Check(MFSetAttributeRatio(type.Get(), MF_MT_FRAME_RATE, 25, 1));
    Check(type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive));
    return type;
}

}  // namespace

ComPtr<IMFMediaType> EncodedType(const VideoShape& shape)
{
    ComPtr<IMFMediaType> type = VideoType(MFVideoFormat_H264, shape);
    Check(type->SetUINT32(MF_MT_AVG_BITRATE, 400000));
    Check(type->SetUINT32(MF_MT_MPEG2_PROFILE, shape.m_unProfile));
    return type;
}

ComPtr<IMFMediaType> RawType(const VideoShape& shape)
{
    return VideoType(MFVideoFormat_YUY2, shape);
}

std::vector<std::uint8_t> NumberedPicture(unsigned uiNumber, const VideoShape& shape)
{
    std::vector<std::uint8_t> picture(std::size_t{2} * shape.m_unWidth * shape.m_unHeight);
    for (unsigned y = 0; y < shape.m_unHeight; ++y)
    {
        for (unsigned x = 0; x < shape.m_unWidth; ++x)
        {
            std::uint8_t* pPixel = &picture[2 * (std::size_t{y} * shape.m_unWidth + x)];
            const unsigned uiBit = x / SQUARE;
            const bool bNumber = y < SQUARE && uiBit < NUMBER_BITS;
            pPixel[0] = bNumber ? ((uiNumber >> uiBit & 1U) != 0 ? 235 : 16)
                                : static_cast<std::uint8_t>(60 + (x * 3 + y * 2 + uiNumber * 5) % 128);
            pPixel[1] = static_cast<std::uint8_t>(x % 2 == 0 ? 100 + y % 50 : 120 + x % 30);
        }
    }
    return picture;
}

unsigned NumberIn(const std::uint8_t* pPlanes, const VideoShape& shape)
{
    unsigned uiNumber = 0;
    for (unsigned uiBit = 0; uiBit < NUMBER_BITS; ++uiBit)
    {
        const std::size_t uiMiddle = std::size_t{SQUARE / 2} * shape.m_unWidth + uiBit * SQUARE + SQUARE / 2;
        if (pPlanes[uiMiddle] > 125) uiNumber |= 1U << uiBit;
    }
    return uiNumber;
}

ComPtr<IMFSample> MakeSample(const std::vector<std::uint8_t>& bytes, std::int64_t nTime, std::int64_t nDuration)
{
    ComPtr<IMFMediaBuffer> buffer;
    Check(MFCreateMemoryBuffer(static_cast<DWORD>(bytes.size()), buffer.Put()));
    BYTE* pb = nullptr;
    Check(buffer->Lock(&pb, nullptr, nullptr));
    if (!bytes.empty()) std::memcpy(pb, bytes.data(), bytes.size());
    Check(buffer->Unlock());
    Check(buffer->SetCurrentLength(static_cast<DWORD>(bytes.size())));
    ComPtr<IMFSample> sample;
    Check(MFCreateSample(sample.Put()));
    Check(sample->AddBuffer(buffer.Get()));
    Check(sample->SetSampleTime(nTime));
    Check(sample->SetSampleDuration(nDuration));
    return sample;
}

ComPtr<IMFTransform> FindEncoder()
{
    const MFT_REGISTER_TYPE_INFO input = {MFMediaType_Video, MFVideoFormat_YUY2};
    const MFT_REGISTER_TYPE_INFO output = {MFMediaType_Video, MFVideoFormat_H264};
    IMFActivate** ppFound = nullptr;
    UINT32 unCount = 0;
    Check(MFTEnumEx(MFT_CATEGORY_VIDEO_ENCODER, 0x51, &input, &output, &ppFound, &unCount));
    ComPtr<IMFTransform> encoder;
    if (unCount > 0) Check(ppFound[0]->ActivateObject(IID_IMFTransform, encoder.PutVoid()));
    for (UINT32 i = 0; i < unCount; ++i)
    {
        ppFound[i]->Release();
    }
    CoTaskMemFree(ppFound);
    return encoder;
}

HRESULT SetProperty(IMFTransform* pEncoder, REFGUID api, UINT32 unValue)
{
    const ComPtr<ICodecAPI> codec = ComPtr<IMFTransform>(pEncoder).As<ICodecAPI>();
    VARIANT value = {};
    value.vt = VT_UI4;
    value.ulVal = unValue;
    return codec->SetValue(&api, &value);
}

HRESULT SetTypes(IMFTransform* pEncoder, const VideoShape& shape)
{
    const HRESULT hr = pEncoder->SetOutputType(0, EncodedType(shape).Get(), 0);
    return FAILED(hr) ? hr : pEncoder->SetInputType(0, RawType(shape).Get(), 0);
}

std::vector<Encoded> TakeAll(IMFTransform* pEncoder)
{
    std::vector<Encoded> all;
    for (;;)
    {
        MFT_OUTPUT_DATA_BUFFER output = {};
        DWORD dwStatus = 0;
        const HRESULT hr = pEncoder->ProcessOutput(0, 1, &output, &dwStatus);
        if (hr == MF_E_TRANSFORM_NEED_MORE_INPUT) return all;
        Check(hr);
        Encoded one;
        one.m_sample = ComPtr<IMFSample>::Attach(output.pSample);
        Check(one.m_sample->GetSampleTime(&one.m_nTime));
        Check(one.m_sample->GetSampleDuration(&one.m_nDuration));
        UINT32 unKey = 0;
        Check(one.m_sample->GetUINT32(MFSampleExtension_CleanPoint, &unKey));
        one.m_bKey = unKey != 0;
        ComPtr<IMFMediaBuffer> buffer;
        Check(one.m_sample->ConvertToContiguousBuffer(buffer.Put()));
        BYTE* pb = nullptr;
        DWORD cb = 0;
        Check(buffer->Lock(&pb, nullptr, &cb));
        one.m_bytes.assign(pb, pb + cb);
        Check(buffer->Unlock());
        all.push_back(std::move(one));
    }
}

ComPtr<IMFByteStream> CreateFileStream(const std::filesystem::path& path)
{
    ComPtr<IMFByteStream> stream;
    Check(MFCreateFile(MF_ACCESSMODE_READWRITE, MF_OPENMODE_DELETE_IF_EXIST, MF_FILEFLAGS_NONE,
                       Widen(path.string()).c_str(), stream.Put()));
    return stream;
}

HRESULT DoneCallback::Invoke(IMFAsyncResult* pResult)
{
    {
        const std::lock_guard lock(m_lock);
        m_pResult = pResult;
        ++m_uiCount;
    }
    m_changed.notify_all();
    return S_OK;
}

IMFAsyncResult* DoneCallback::Wait()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_uiCount > 0; });
    return m_pResult;
}

unsigned DoneCallback::Count()
{
    const std::lock_guard lock(m_lock);
    return m_uiCount;
}

HRESULT Finalize(IMFMediaSink* pSink)
{
    const auto finalizable = ComPtr<IMFMediaSink>(pSink).As<IMFFinalizableMediaSink>();
    const auto callback = ComPtr<DoneCallback>::Attach(new DoneCallback());
    const HRESULT hr = finalizable->BeginFinalize(callback.Get(), nullptr);
    return FAILED(hr) ? hr : finalizable->EndFinalize(callback->Wait());
}

std::vector<double> ProbedTimes(const std::filesystem::path& path)
{
    std::istringstream lines(test_support::RunFfprobe(
        "-v error -select_streams v:0 -show_entries packet=pts_time -of csv=p=0 " + test_support::Quoted(path)));
    std::vector<double> times;
    std::string line;
    while (std::getline(lines, line))
    {
        times.push_back(std::stod(line));
    }
    std::sort(times.begin(), times.end());
    return times;
}

// --- the source ---

class FedSource::Stream final
    : public platform::ComObject<platform::Implements<IMFMediaStream>, platform::Answers<IMFMediaEventGenerator>>
{
public:
    Stream(FedSource* pSource, ComPtr<IMFMediaEventQueue> queue) : m_source(pSource), m_queue(std::move(queue)) {}

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override
    {
        return m_queue->GetEvent(dwFlags, ppEvent);
    }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) override
    {
        return m_queue->BeginGetEvent(pCallback, punkState);
    }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override
    {
        return m_queue->EndGetEvent(pResult, ppEvent);
    }
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID type, HRESULT hr, const PROPVARIANT* pv) override
    {
        return m_queue->QueueEventParamVar(met, type, hr, pv);
    }
    HRESULT STDMETHODCALLTYPE GetMediaSource(IMFMediaSource**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStreamDescriptor(IMFStreamDescriptor**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RequestSample(IUnknown*) override { return m_source->Request(); }

private:
    const ComPtr<FedSource> m_source;  // until the source's shut-down drops the stream
    const ComPtr<IMFMediaEventQueue> m_queue;
};

FedSource::FedSource(const VideoShape& shape) : m_shape(shape)
{
    Check(MFCreateEventQueue(m_queue.Put()));
    Check(MFCreateEventQueue(m_streamQueue.Put()));
}

FedSource::~FedSource() = default;

void FedSource::Give(unsigned uiNumber, std::int64_t nDuration)
{
    {
        const std::lock_guard lock(m_lock);
        m_pictures.push_back({uiNumber, nDuration});
    }
    m_changed.notify_all();
}

void FedSource::End()
{
    const std::lock_guard lock(m_lock);
    m_bEnd = true;
}

void FedSource::ReportError(HRESULT hr)
{
    (void)m_queue->QueueEventParamVar(MEError, GUID_NULL, hr, nullptr);
}

void FedSource::FailRequest(HRESULT hr)
{
    {
        const std::lock_guard lock(m_lock);
        m_hrRequest = hr;
    }
    m_changed.notify_all();
}

void FedSource::AwaitRequest()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_uiRequests > 0 && m_pictures.empty(); });
}

void FedSource::AwaitTaken(unsigned uiPictures)
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [&] { return m_uiTaken >= uiPictures; });
}

unsigned FedSource::MostRequestsAtOnce()
{
    const std::lock_guard lock(m_lock);
    return m_uiMostRequests;
}

unsigned FedSource::LostPictures()
{
    const std::lock_guard lock(m_lock);
    return m_uiLost;
}

std::vector<std::string> FedSource::Calls()
{
    const std::lock_guard lock(m_lock);
    return m_calls;
}

HRESULT FedSource::GetCharacteristics(DWORD* pdwCharacteristics)
{
    const std::lock_guard lock(m_lock);
    *pdwCharacteristics = MFMEDIASOURCE_CAN_SEEK | MFMEDIASOURCE_CAN_PAUSE;
    return m_bShutdown ? MF_E_SHUTDOWN : S_OK;
}

HRESULT FedSource::CreatePresentationDescriptor(IMFPresentationDescriptor** ppDescriptor)
{
    const ComPtr<IMFMediaType> type = RawType(m_shape);
    IMFMediaType* pType = type.Get();
    ComPtr<IMFStreamDescriptor> stream;
    HRESULT hr = MFCreateStreamDescriptor(0, 1, &pType, stream.Put());
    ComPtr<IMFMediaTypeHandler> handler;
    if (SUCCEEDED(hr)) hr = stream->GetMediaTypeHandler(handler.Put());
    if (SUCCEEDED(hr)) hr = handler->SetCurrentMediaType(pType);
    IMFStreamDescriptor* pStream = stream.Get();
    if (SUCCEEDED(hr)) hr = MFCreatePresentationDescriptor(1, &pStream, ppDescriptor);
    return FAILED(hr) ? hr : (*ppDescriptor)->SelectStream(0);
}

HRESULT FedSource::Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*)
{
    if (FAILED(m_hrStart)) return m_hrStart;
    const std::lock_guard lock(m_lock);
    if (m_bShutdown) return MF_E_SHUTDOWN;
    m_calls.emplace_back("start");
    const bool bNew = !m_stream;
    if (bNew) m_stream = ComPtr<Stream>::Attach(new Stream(this, m_streamQueue));
    m_state = State::Started;
    (void)m_queue->QueueEventParamUnk(bNew ? MENewStream : MEUpdatedStream, GUID_NULL, S_OK,
                                      static_cast<IMFMediaStream*>(m_stream.Get()));
    (void)m_queue->QueueEventParamVar(MESourceStarted, GUID_NULL, S_OK, nullptr);
    (void)m_streamQueue->QueueEventParamVar(MEStreamStarted, GUID_NULL, S_OK, nullptr);
    return S_OK;
}

HRESULT FedSource::Stop()
{
    const std::lock_guard lock(m_lock);
    if (m_bShutdown) return MF_E_SHUTDOWN;
    m_calls.emplace_back("stop");
    m_state = State::Stopped;
    (void)m_streamQueue->QueueEventParamVar(MEStreamStopped, GUID_NULL, S_OK, nullptr);
    (void)m_queue->QueueEventParamVar(MESourceStopped, GUID_NULL, S_OK, nullptr);
    return S_OK;
}

HRESULT FedSource::Pause()
{
    const std::lock_guard lock(m_lock);
    if (m_bShutdown) return MF_E_SHUTDOWN;
    m_calls.emplace_back("pause");
    (void)m_streamQueue->QueueEventParamVar(MEStreamPaused, GUID_NULL, S_OK, nullptr);
    (void)m_queue->QueueEventParamVar(MESourcePaused, GUID_NULL, S_OK, nullptr);
    return S_OK;
}

HRESULT FedSource::Shutdown()
{
    ComPtr<Stream> stream;  // released after the lock
    {
        const std::lock_guard lock(m_lock);
        if (m_bShutdown) return MF_E_SHUTDOWN;
        m_bShutdown = true;
        stream = std::move(m_stream);
        (void)m_queue->Shutdown();
        (void)m_streamQueue->Shutdown();
    }
    m_changed.notify_all();
    return S_OK;
}

HRESULT FedSource::Request()
{
    std::unique_lock lock(m_lock);
    m_uiMostRequests = std::max(m_uiMostRequests, ++m_uiRequests);
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_bShutdown || FAILED(m_hrRequest) || !m_pictures.empty(); });
    --m_uiRequests;
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (FAILED(m_hrRequest)) return m_hrRequest;
    const Picture picture = m_pictures.front();
    m_pictures.pop_front();
    ++m_uiTaken;
    m_changed.notify_all();
    if (m_state == State::Stopped)
    {
        ++m_uiLost;
        return MF_E_INVALIDREQUEST;
    }
    const ComPtr<IMFSample> sample =
        MakeSample(NumberedPicture(picture.m_uiNumber, m_shape), m_nNextTime, picture.m_nDuration);
    m_nNextTime += picture.m_nDuration;
    (void)m_streamQueue->QueueEventParamUnk(MEMediaSample, GUID_NULL, S_OK, sample.Get());
    if (m_bEnd && m_pictures.empty())
    {
        (void)m_streamQueue->QueueEventParamVar(MEEndOfStream, GUID_NULL, S_OK, nullptr);
        (void)m_queue->QueueEventParamVar(MEEndOfPresentation, GUID_NULL, S_OK, nullptr);
    }
    return S_OK;
}

}  // namespace mftest
