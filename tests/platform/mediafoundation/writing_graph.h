// What tests of the writing side need: types, pictures, an encoder, a sink, and a source that a test feeds.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "codecapi.h"
#include "icodecapi.h"
#include "mfapi.h"
#include "mferror.h"
#include "mfidl.h"
#include "mftransform.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"

namespace mftest
{

using platform::ComPtr;

constexpr UINT32 WIDTH = 96;
constexpr UINT32 HEIGHT = 64;
constexpr std::int64_t MS = 10000;  // in 100 ns

struct VideoShape
{
    UINT32 m_unWidth = WIDTH;
    UINT32 m_unHeight = HEIGHT;
    UINT32 m_unProfile = 100;
};

// The two types of an encoder: what it gives, and what it takes.
ComPtr<IMFMediaType> EncodedType(const VideoShape& shape = {});
ComPtr<IMFMediaType> RawType(const VideoShape& shape = {});

// A YUY2 picture with the number in it, as 16 squares of black and white in its first rows, over a moving pattern.
std::vector<std::uint8_t> NumberedPicture(unsigned uiNumber, const VideoShape& shape = {});
// The number in a decoded picture, whose planes of yuv420p begin at pPlanes.
unsigned NumberIn(const std::uint8_t* pPlanes, const VideoShape& shape = {});

ComPtr<IMFSample> MakeSample(const std::vector<std::uint8_t>& bytes, std::int64_t nTime, std::int64_t nDuration);

// The first encoder that the system finds, with nothing set.
ComPtr<IMFTransform> FindEncoder();
HRESULT SetProperty(IMFTransform* pEncoder, REFGUID api, UINT32 unValue);
HRESULT SetTypes(IMFTransform* pEncoder, const VideoShape& shape = {});

struct Encoded
{
    std::vector<std::uint8_t> m_bytes;
    std::int64_t m_nTime = 0;
    std::int64_t m_nDuration = 0;
    bool m_bKey = false;
    ComPtr<IMFSample> m_sample;
};
// What the encoder has ready now.
std::vector<Encoded> TakeAll(IMFTransform* pEncoder);

// The platform is up as long as it lives.
struct Platform
{
    Platform() { MFStartup(MF_VERSION); }
    ~Platform() { MFShutdown(); }
};

ComPtr<IMFByteStream> CreateFileStream(const std::filesystem::path& path);

// A callback of one asynchronous operation. It keeps the result without a reference.
class DoneCallback final : public platform::ComObject<platform::Implements<IMFAsyncCallback>>
{
public:
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* pResult) override;
    IMFAsyncResult* Wait();
    unsigned Count();

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    IMFAsyncResult* m_pResult = nullptr;
    unsigned m_uiCount = 0;
};
// The status of the whole operation.
HRESULT Finalize(IMFMediaSink* pSink);

// Presentation times of an MP4 file's pictures in seconds, in presentation order, as ffprobe sees them.
std::vector<double> ProbedTimes(const std::filesystem::path& path);

// A source of one YUY2 stream. RequestSample waits for the test to give a picture. A picture that comes while the
// source is stopped is lost, as with every source.
class FedSource final
    : public platform::ComObject<platform::Implements<IMFMediaSource>, platform::Answers<IMFMediaEventGenerator>>
{
public:
    explicit FedSource(const VideoShape& shape = {});
    ~FedSource() override;

    // --- for the test ---
    void Give(unsigned uiNumber, std::int64_t nDuration = 40 * MS);
    // The stream ends with the last picture that was given, or with the next one.
    void End();
    void ReportError(HRESULT hr);
    void FailStart(HRESULT hr) { m_hrStart = hr; }
    void FailRequest(HRESULT hr);
    // Until the source waits for a picture.
    void AwaitRequest();
    // Until as many pictures were taken.
    void AwaitTaken(unsigned uiPictures);
    unsigned MostRequestsAtOnce();
    unsigned LostPictures();
    std::vector<std::string> Calls();

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
    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD* pdwCharacteristics) override;
    HRESULT STDMETHODCALLTYPE CreatePresentationDescriptor(IMFPresentationDescriptor** ppDescriptor) override;
    HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override;
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Shutdown() override;

private:
    class Stream;
    enum class State
    {
        Stopped,
        Paused,
        Started
    };
    struct Picture
    {
        unsigned m_uiNumber = 0;
        std::int64_t m_nDuration = 0;
    };
    HRESULT Request();

    const VideoShape m_shape;
    ComPtr<IMFMediaEventQueue> m_queue;
    ComPtr<IMFMediaEventQueue> m_streamQueue;
    std::atomic<HRESULT> m_hrStart{S_OK};

    std::mutex m_lock;
    std::condition_variable m_changed;
    ComPtr<Stream> m_stream;
    State m_state = State::Stopped;
    std::deque<Picture> m_pictures;
    std::int64_t m_nNextTime = 0;
    HRESULT m_hrRequest = S_OK;
    bool m_bEnd = false;
    bool m_bShutdown = false;
    unsigned m_uiRequests = 0;  // under way
    unsigned m_uiMostRequests = 0;
    unsigned m_uiTaken = 0;
    unsigned m_uiLost = 0;
    std::vector<std::string> m_calls;
};

}  // namespace mftest
