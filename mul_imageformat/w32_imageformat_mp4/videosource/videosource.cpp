#include "videosource/videosource.h"

#include <new>

#include <shlwapi.h>

#include "common/withoutexceptions.h"
#include "videosource/videostream.h"

static_assert(sizeof(VIDEOINFOHEADER2) == 112);

namespace
{

constexpr LONGLONG NOMINAL_FRAME_TIME = 400000;  // in 100 ns: 25 frames a second
constexpr DWORD YUY2_CODE = 0x32595559;          // "YUY2", the first letter in the lowest byte
constexpr std::uint64_t NOMINAL_FRAME_COUNT = 1000000;

PROPVARIANT TimeValue(LONGLONG llTime)
{
    PROPVARIANT varTime;
    PropVariantInit(&varTime);
    varTime.vt = VT_I8;
    varTime.hVal.QuadPart = llTime;
    return varTime;
}

}  // namespace

HRESULT CreateVideoSource(REFIID riid, void** ppObject)
{
    if (ppObject == nullptr) return E_POINTER;
    *ppObject = nullptr;
    VideoSource* pSource = WithoutExceptions<VideoSource*>(nullptr, [] { return new VideoSource; });
    if (pSource == nullptr) return E_OUTOFMEMORY;
    HRESULT hr = pSource->MakeEventQueue();
    if (SUCCEEDED(hr)) hr = pSource->QueryInterface(riid, ppObject);
    SafeRelease(&pSource);
    return hr;
}

VideoSource::~VideoSource()
{
    SafeRelease(&m_pPresentationDescriptor);
    SafeRelease(&m_pStream);
}

HRESULT VideoSource::Configure(std::uint32_t nWidth, std::uint32_t nHeight, const HANDLE* phFrameReady,
                               const HANDLE* phFrameTaken, CRITICAL_SECTION* pPictureLock, const BYTE* pPictureBits,
                               const std::atomic<std::uint32_t>* pbEndOfInput, std::uint32_t nFrameCount,
                               const double* pSampleDuration)
{
    const CSectionLock lock(m_cs.Get());
    m_phFrameReady = phFrameReady;
    m_phFrameTaken = phFrameTaken;
    m_pSampleDuration = pSampleDuration;
    m_pPictureLock = pPictureLock;
    m_pPictureBits = pPictureBits;
    m_pbEndOfInput = pbEndOfInput;
    m_nWidth = nWidth;
    m_nHeight = nHeight;
    m_nFrameCount = nFrameCount;

    // The rectangles stay empty and biPlanes 0.
    m_videoInfo = {};
    m_videoInfo.AvgTimePerFrame = NOMINAL_FRAME_TIME;
    m_videoInfo.dwPictAspectRatioX = 1;
    m_videoInfo.dwPictAspectRatioY = 1;
    m_videoInfo.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    m_videoInfo.bmiHeader.biWidth = static_cast<LONG>(nWidth);
    m_videoInfo.bmiHeader.biHeight = static_cast<LONG>(nHeight);
    m_videoInfo.bmiHeader.biBitCount = 16;
    m_videoInfo.bmiHeader.biCompression = YUY2_CODE;
    m_videoInfo.bmiHeader.biSizeImage = ((nWidth * 2 - 1) / 4 + 1) * nHeight * 4;
    return S_OK;
}

void VideoSource::ReportStarts(const HANDLE* phStarted)
{
    const CSectionLock lock(m_cs.Get());
    m_phStarted = phStarted;
}

STDMETHODIMP VideoSource::QueryInterface(REFIID riid, void** ppObject)
{
    static const QITAB aInterfaces[] = {
        {&IID_IMFMediaEventGenerator, static_cast<int>(OFFSETOFCLASS(IMFMediaEventGenerator, VideoSource))},
        {&IID_IMFMediaSource, static_cast<int>(OFFSETOFCLASS(IMFMediaSource, VideoSource))},
        {nullptr, 0},
    };
    return QISearch(this, aInterfaces, riid, ppObject);
}

// --- what the source is ---

STDMETHODIMP VideoSource::GetCharacteristics(DWORD* pdwCharacteristics)
{
    const CSectionLock lock(m_cs.Get());
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (pdwCharacteristics == nullptr) return E_POINTER;
    *pdwCharacteristics = MFMEDIASOURCE_CAN_SEEK | MFMEDIASOURCE_CAN_PAUSE;
    return S_OK;
}

STDMETHODIMP VideoSource::CreatePresentationDescriptor(IMFPresentationDescriptor** ppDescriptor)
{
    const CSectionLock lock(m_cs.Get());
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (ppDescriptor == nullptr) return E_POINTER;
    HRESULT hr = S_OK;
    if (m_pPresentationDescriptor == nullptr) hr = MakePresentationDescriptor(&m_pPresentationDescriptor);
    if (SUCCEEDED(hr)) hr = m_pPresentationDescriptor->Clone(ppDescriptor);
    return hr;
}

HRESULT VideoSource::MakePresentationDescriptor(IMFPresentationDescriptor** ppDescriptor)
{
    IMFMediaType* pType = nullptr;
    IMFStreamDescriptor* pStream = nullptr;
    IMFMediaTypeHandler* pHandler = nullptr;
    IMFPresentationDescriptor* pPresentation = nullptr;
    HRESULT hr = MFCreateMediaType(&pType);
    if (SUCCEEDED(hr))
    {
        hr = MFInitMediaTypeFromVideoInfoHeader2(pType, &m_videoInfo, sizeof(m_videoInfo), &MFVideoFormat_YUY2);
    }
    if (SUCCEEDED(hr)) hr = MFCreateStreamDescriptor(0, 1, &pType, &pStream);
    if (SUCCEEDED(hr)) hr = pStream->GetMediaTypeHandler(&pHandler);
    if (SUCCEEDED(hr)) hr = pHandler->SetCurrentMediaType(pType);
    if (SUCCEEDED(hr)) hr = MFCreatePresentationDescriptor(1, &pStream, &pPresentation);
    if (SUCCEEDED(hr)) hr = pPresentation->SelectStream(0);
    if (SUCCEEDED(hr))
    {
        const std::uint64_t uiFrames = m_nFrameCount == UNKNOWN_FRAME_COUNT ? NOMINAL_FRAME_COUNT : m_nFrameCount;
        hr = pPresentation->SetUINT64(MF_PD_DURATION, NOMINAL_FRAME_TIME * uiFrames);
    }
    if (SUCCEEDED(hr))
    {
        *ppDescriptor = pPresentation;
        pPresentation->AddRef();
    }
    SafeRelease(&pPresentation);
    SafeRelease(&pHandler);
    SafeRelease(&pStream);
    SafeRelease(&pType);
    return hr;
}

// --- states ---

STDMETHODIMP VideoSource::Start(IMFPresentationDescriptor* pDescriptor, const GUID* pguidTimeFormat,
                                const PROPVARIANT* pvarStartPosition)
{
    const CSectionLock lock(m_cs.Get());
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (pDescriptor == nullptr || pvarStartPosition == nullptr) return E_INVALIDARG;
    if (pguidTimeFormat != nullptr && *pguidTimeFormat != GUID_NULL) return MF_E_UNSUPPORTED_TIME_FORMAT;
    const bool bPosition = pvarStartPosition->vt == VT_I8;
    if (!bPosition && pvarStartPosition->vt != VT_EMPTY) return MF_E_UNSUPPORTED_TIME_FORMAT;

    HRESULT hr = AnnounceStream(pDescriptor);
    if (FAILED(hr)) return hr;

    // Held until the state has changed: a request that comes as soon as the stream has reported its start would find
    // the source stopped, and its picture would be lost. It also keeps requests that are being served before the start.
    const CSectionLock streamLock(m_pStream->GetLock());
    const bool bRestart = m_eState != STATE_STOPPED;
    const bool bSeek = bPosition && bRestart;
    const bool bActualStart = !bPosition && bRestart;
    const PROPVARIANT varTime = TimeValue(bPosition      ? pvarStartPosition->hVal.QuadPart
                                          : bActualStart ? m_pStream->GetNextSampleTime()
                                                         : 0);

    hr = bSeek ? QueueValue(MESourceSeeked, &varTime) : AnnounceStart(varTime, bActualStart);
    if (FAILED(hr)) return hr;
    // From here on a caller may have taken the source's start, and learns from an event that it failed.
    hr = m_pStream->QueueEvent(bSeek ? MEStreamSeeked : MEStreamStarted, GUID_NULL, S_OK, &varTime);
    if (FAILED(hr)) return ReportFailure(hr, varTime);
    if (bSeek)
    {
        m_pStream->EmptyQueue();
    }
    else
    {
        hr = m_pStream->Resume();
        if (FAILED(hr)) return ReportFailure(hr, varTime);
    }
    m_eState = STATE_STARTED;
    if (m_phStarted != nullptr) SetEvent(*m_phStarted);
    return S_OK;
}

// Makes the stream on the first call. It is kept when its event is queued: a caller that doesn't know the stream
// couldn't use it.
HRESULT VideoSource::AnnounceStream(IMFPresentationDescriptor* pDescriptor)
{
    BOOL bSelected = FALSE;
    IMFStreamDescriptor* pStreamDescriptor = nullptr;
    HRESULT hr = pDescriptor->GetStreamDescriptorByIndex(0, &bSelected, &pStreamDescriptor);
    if (SUCCEEDED(hr) && m_pStream != nullptr)
    {
        hr = QueueObject(MEUpdatedStream, m_pStream);
    }
    else if (SUCCEEDED(hr))
    {
        VideoStream* pStream = nullptr;
        hr = VideoStream::Create(this, pStreamDescriptor, m_nFrameCount, &pStream);
        if (SUCCEEDED(hr)) hr = QueueObject(MENewStream, pStream);
        if (SUCCEEDED(hr))
        {
            m_pStream = pStream;
            m_pStream->AddRef();
        }
        SafeRelease(&pStream);
    }
    SafeRelease(&pStreamDescriptor);
    return hr;
}

HRESULT VideoSource::AnnounceStart(const PROPVARIANT& varTime, bool bActualStart)
{
    IMFMediaEvent* pEvent = nullptr;
    HRESULT hr = MFCreateMediaEvent(MESourceStarted, GUID_NULL, S_OK, &varTime, &pEvent);
    if (SUCCEEDED(hr) && bActualStart)
    {
        hr = pEvent->SetUINT64(MF_EVENT_SOURCE_ACTUAL_START, static_cast<UINT64>(varTime.hVal.QuadPart));
    }
    if (SUCCEEDED(hr)) hr = m_pEventQueue->QueueEvent(pEvent);
    SafeRelease(&pEvent);
    return hr;
}

// Returns hrFailure.
HRESULT VideoSource::ReportFailure(HRESULT hrFailure, const PROPVARIANT& varTime)
{
    m_pEventQueue->QueueEventParamVar(MEError, GUID_NULL, hrFailure, &varTime);
    return hrFailure;
}

STDMETHODIMP VideoSource::Stop()
{
    const CSectionLock lock(m_cs.Get());
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (m_pStream == nullptr) return MF_E_INVALID_STATE_TRANSITION;
    m_eState = STATE_STOPPED;
    if (m_phStarted != nullptr) ResetEvent(*m_phStarted);
    const CSectionLock streamLock(m_pStream->GetLock());
    m_pStream->EmptyQueue();
    HRESULT hr = m_pStream->QueueEvent(MEStreamStopped, GUID_NULL, S_OK, nullptr);
    if (SUCCEEDED(hr)) hr = QueueValue(MESourceStopped, nullptr);
    return hr;
}

STDMETHODIMP VideoSource::Pause()
{
    const CSectionLock lock(m_cs.Get());
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (m_eState != STATE_STARTED) return MF_E_INVALID_STATE_TRANSITION;
    // Held until the state has changed: no sample comes after the stream has reported its pause.
    const CSectionLock streamLock(m_pStream->GetLock());
    HRESULT hr = m_pStream->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, nullptr);
    if (SUCCEEDED(hr)) hr = QueueValue(MESourcePaused, nullptr);
    if (SUCCEEDED(hr)) m_eState = STATE_PAUSED;
    return hr;
}

STDMETHODIMP VideoSource::Shutdown()
{
    const CSectionLock lock(m_cs.Get());
    if (m_bShutdown) return MF_E_SHUTDOWN;
    if (m_pStream != nullptr) m_pStream->ShutdownStream();
    m_pEventQueue->Shutdown();
    SafeRelease(&m_pStream);
    SafeRelease(&m_pEventQueue);
    SafeRelease(&m_pPresentationDescriptor);
    m_bShutdown = true;
    return S_OK;
}
