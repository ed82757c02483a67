#include "videosource/videostream.h"

#include <cstring>
#include <limits>

#include <shlwapi.h>

#include "common/withoutexceptions.h"
#include "videosource/videosource.h"

namespace
{

// Milliseconds to 100 ns, truncated toward zero. A number that 64 bits don't hold is refused, NaN too.
HRESULT CalcDuration(double dMilliseconds, LONGLONG* phnsDuration)
{
    const double dDuration = dMilliseconds * 10000.0;
    if (!(dDuration >= -0x1p63 && dDuration < 0x1p63)) return HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW);
    *phnsDuration = static_cast<LONGLONG>(dDuration);
    return S_OK;
}

HRESULT CalcNextTime(LONGLONG hnsTime, LONGLONG hnsDuration, LONGLONG* phnsNext)
{
    using Limits = std::numeric_limits<LONGLONG>;
    const bool bFits =
        hnsDuration >= 0 ? hnsTime <= Limits::max() - hnsDuration : hnsTime >= Limits::min() - hnsDuration;
    if (!bFits) return HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW);
    *phnsNext = hnsTime + hnsDuration;
    return S_OK;
}

HRESULT MakeBuffer(const BYTE* pbBytes, DWORD cbBytes, IMFMediaBuffer** ppBuffer)
{
    BYTE* pbMemory = nullptr;
    HRESULT hr = MFCreateMemoryBuffer(cbBytes, ppBuffer);
    if (SUCCEEDED(hr)) hr = (*ppBuffer)->Lock(&pbMemory, nullptr, nullptr);
    if (SUCCEEDED(hr))
    {
        std::memcpy(pbMemory, pbBytes, cbBytes);
        hr = (*ppBuffer)->Unlock();
    }
    if (SUCCEEDED(hr)) hr = (*ppBuffer)->SetCurrentLength(cbBytes);
    return hr;
}

}  // namespace

HRESULT VideoStream::Create(VideoSource* pSource, IMFStreamDescriptor* pStreamDescriptor, std::uint32_t nFrameCount,
                            VideoStream** ppStream)
{
    *ppStream = nullptr;
    VideoStream* pStream = WithoutExceptions<VideoStream*>(
        nullptr, [&] { return new VideoStream(pSource, pStreamDescriptor, nFrameCount); });
    if (pStream == nullptr) return E_OUTOFMEMORY;
    const HRESULT hr = pStream->MakeEventQueue();
    if (SUCCEEDED(hr))
    {
        *ppStream = pStream;
    }
    else
    {
        pStream->Release();
    }
    return hr;
}

VideoStream::VideoStream(VideoSource* pSource, IMFStreamDescriptor* pStreamDescriptor, std::uint32_t nFrameCount)
    : m_nFrameCount(nFrameCount),
      m_pVideoInfo(&pSource->m_videoInfo),
      m_pSource(pSource),
      m_pStreamDescriptor(pStreamDescriptor)
{
    m_pSource->AddRef();
    m_pStreamDescriptor->AddRef();
}

VideoStream::~VideoStream()
{
    SafeRelease(&m_pSource);
    SafeRelease(&m_pStreamDescriptor);
}

STDMETHODIMP VideoStream::QueryInterface(REFIID riid, void** ppObject)
{
    static const QITAB aInterfaces[] = {
        {&IID_IMFMediaEventGenerator, static_cast<int>(OFFSETOFCLASS(IMFMediaEventGenerator, VideoStream))},
        {&IID_IMFMediaStream, static_cast<int>(OFFSETOFCLASS(IMFMediaStream, VideoStream))},
        {nullptr, 0},
    };
    return QISearch(this, aInterfaces, riid, ppObject);
}

STDMETHODIMP VideoStream::GetMediaSource(IMFMediaSource** ppSource)
{
    if (ppSource == nullptr) return E_POINTER;
    const CSectionLock lock(m_cs.Get());
    if (m_pSource == nullptr) return E_UNEXPECTED;
    return m_pSource->QueryInterface(IID_IMFMediaSource, reinterpret_cast<void**>(ppSource));
}

STDMETHODIMP VideoStream::GetStreamDescriptor(IMFStreamDescriptor** ppDescriptor)
{
    if (ppDescriptor == nullptr) return E_POINTER;
    const CSectionLock lock(m_cs.Get());
    if (m_pStreamDescriptor == nullptr) return E_UNEXPECTED;
    *ppDescriptor = m_pStreamDescriptor;
    m_pStreamDescriptor->AddRef();
    return S_OK;
}

// --- requests ---

// The frame-ready event is a manual-reset one. Two requests that wait for it together would both take the picture that
// it announces. So the second one waits for the first.
STDMETHODIMP VideoStream::RequestSample(IUnknown* pToken)
{
    const CSectionLock request(m_csRequest.Get());
    VideoSource* pSource = ShareSource();
    if (pSource == nullptr) return E_UNEXPECTED;

    // A wait that can't be done announces no picture.
    HRESULT hr = E_UNEXPECTED;
    if (pSource->m_phFrameReady != nullptr && WaitForSingleObject(*pSource->m_phFrameReady, INFINITE) == WAIT_OBJECT_0)
    {
        // After a shutdown the event was set to end the wait. It stays set, for requests that began before that too.
        VideoSource* pStillThere = ShareSource();
        if (pStillThere != nullptr) hr = TakePicture(*pSource, pToken);
        SafeRelease(&pStillThere);
    }
    SafeRelease(&pSource);
    return hr;
}

// The caller's to release; null after the shutdown. The source stays while a request uses it, and with it the pointers
// to the picture, whatever another thread shuts down.
VideoSource* VideoStream::ShareSource()
{
    const CSectionLock lock(m_cs.Get());
    if (m_pSource != nullptr) m_pSource->AddRef();
    return m_pSource;
}

// The frame-taken event is set whatever happens: the host waits for it.
HRESULT VideoStream::TakePicture(VideoSource& source, IUnknown* pToken)
{
    bool bAtEnd = false;
    bool bEndKnown = false;
    HRESULT hr = S_OK;
    {
        const CSectionLock picture(source.m_pPictureLock);
        bEndKnown = *source.m_pbEndOfInput != 0;
        hr = ServeRequest(source, pToken, &bAtEnd);
        if (bAtEnd) hr = source.QueueEvent(MEEndOfPresentation, GUID_NULL, S_OK, nullptr);
    }
    if (!bAtEnd)
    {
        ResetEvent(*source.m_phFrameReady);
        // An owner that gives up ends the input and sets the event without the lock. If that was meanwhile, the next
        // request may not wait for a picture.
        if (!bEndKnown && *source.m_pbEndOfInput != 0) SetEvent(*source.m_phFrameReady);
    }
    SetEvent(*source.m_phFrameTaken);
    return hr;
}

// *pbAtEnd: the picture was taken, and it is the stream's last one.
HRESULT VideoStream::ServeRequest(VideoSource& source, IUnknown* pToken, bool* pbAtEnd)
{
    const CSectionLock lock(m_cs.Get());
    const std::int32_t eState = source.m_eState;
    HRESULT hr = S_OK;
    if (m_bShutdown)
    {
        hr = MF_E_SHUTDOWN;
    }
    else if (eState == VideoSource::STATE_STOPPED)
    {
        hr = MF_E_INVALIDREQUEST;
    }

    IMFSample* pSample = nullptr;
    if (SUCCEEDED(hr)) hr = MakeSample(source, &pSample);
    if (SUCCEEDED(hr) && pToken != nullptr) hr = pSample->SetUnknown(MFSampleExtension_Token, pToken);
    ++m_nRequests;
    if (SUCCEEDED(hr))
    {
        const bool bAtEnd = IsAtEnd(source);
        hr = eState == VideoSource::STATE_PAUSED ? m_sampleQueue.Queue(pSample) : Deliver(pSample, bAtEnd);
        *pbAtEnd = SUCCEEDED(hr) && bAtEnd;
    }
    SafeRelease(&pSample);
    return hr;
}

HRESULT VideoStream::MakeSample(const VideoSource& source, IMFSample** ppSample)
{
    IMFMediaBuffer* pBuffer = nullptr;
    IMFSample* pSample = nullptr;
    LONGLONG hnsDuration = 0;
    LONGLONG hnsNext = 0;
    HRESULT hr = MakeBuffer(source.m_pPictureBits, m_pVideoInfo->bmiHeader.biSizeImage, &pBuffer);
    if (SUCCEEDED(hr)) hr = MFCreateSample(&pSample);
    if (SUCCEEDED(hr)) hr = pSample->AddBuffer(pBuffer);
    if (SUCCEEDED(hr)) hr = pSample->SetSampleTime(m_nNextSampleTime);
    if (SUCCEEDED(hr)) hr = CalcDuration(*source.m_pSampleDuration, &hnsDuration);
    if (SUCCEEDED(hr)) hr = CalcNextTime(m_nNextSampleTime, hnsDuration, &hnsNext);
    if (SUCCEEDED(hr)) hr = pSample->SetSampleDuration(hnsDuration);
    if (SUCCEEDED(hr) && m_bDiscontinuity) hr = pSample->SetUINT32(MFSampleExtension_Discontinuity, 1);
    if (SUCCEEDED(hr))
    {
        m_nNextSampleTime = hnsNext;
        *ppSample = pSample;
        pSample->AddRef();
    }
    SafeRelease(&pSample);
    SafeRelease(&pBuffer);
    return hr;
}

HRESULT VideoStream::Deliver(IUnknown* pSample, bool bAtEnd)
{
    HRESULT hr = QueueObject(MEMediaSample, pSample);
    if (SUCCEEDED(hr) && bAtEnd) hr = QueueValue(MEEndOfStream, nullptr);
    return hr;
}

bool VideoStream::IsAtEnd(const VideoSource& source) const
{
    const bool bEndOfInput = source.m_pbEndOfInput != nullptr && *source.m_pbEndOfInput != 0;
    return bEndOfInput || (source.m_nFrameCount != UNKNOWN_FRAME_COUNT && m_nRequests >= source.m_nFrameCount);
}

// --- for the source ---

LONGLONG VideoStream::GetNextSampleTime()
{
    const CSectionLock lock(m_cs.Get());
    return m_nNextSampleTime;
}

void VideoStream::EmptyQueue()
{
    const CSectionLock lock(m_cs.Get());
    m_sampleQueue.Clear();
}

HRESULT VideoStream::Resume()
{
    const CSectionLock lock(m_cs.Get());
    const bool bAtEnd = IsAtEnd(*m_pSource);
    HRESULT hr = bAtEnd ? QueueValue(MEEndOfStream, nullptr) : S_OK;
    while (SUCCEEDED(hr) && !m_sampleQueue.IsEmpty())
    {
        IUnknown* pSample = nullptr;
        hr = m_sampleQueue.Dequeue(&pSample);
        if (SUCCEEDED(hr)) hr = Deliver(pSample, bAtEnd);
        SafeRelease(&pSample);
    }
    if (SUCCEEDED(hr) && bAtEnd) hr = m_pSource->QueueEvent(MEEndOfPresentation, GUID_NULL, S_OK, nullptr);
    return hr;
}

void VideoStream::ShutdownStream()
{
    const CSectionLock lock(m_cs.Get());
    m_sampleQueue.Clear();
    CloseEventQueue();
    SafeRelease(&m_pSource);
    SafeRelease(&m_pStreamDescriptor);
    m_bShutdown = true;
}
