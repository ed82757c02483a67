#include "mp4filesimpl/samplegrabber.h"

#include <new>

#include <shlwapi.h>

#include "colour/colourconversion.h"

namespace
{

constexpr std::uint32_t COUNTING_MODE = 0xFFFFFFFF;

// YUY2 samples: 2 bytes per pixel, rows rounded up to 32 bytes.
std::uint32_t GetSamplePitch(std::uint32_t uiWidth)
{
    return ((2 * uiWidth - 1) & ~31U) + 32;
}

// Bytes up to the last pair of pixels; nothing is read of what pads the last row.
std::uint64_t GetSampleSize(const SQmPicBuf& sample)
{
    if (sample.m_uiHeight == 0) return 0;
    return std::uint64_t{sample.m_uiWidthBytes} * (sample.m_uiHeight - 1) +
           (std::uint64_t{sample.m_uiWidth} + 1) / 2 * 4;
}

}  // namespace

// --- life ---

HRESULT SampleGrabberCB::Create(SampleGrabberCB** ppGrabber)
{
    *ppGrabber = nullptr;
    SampleGrabberCB* pGrabber = new (std::nothrow) SampleGrabberCB;
    if (pGrabber == nullptr) return E_OUTOFMEMORY;
    const HRESULT hr = pGrabber->MakeEvents();
    if (FAILED(hr))
    {
        pGrabber->Release();
        return hr;
    }
    *ppGrabber = pGrabber;
    return S_OK;
}

SampleGrabberCB::SampleGrabberCB()
    : m_nRefCount(1),
      m_hFrameReady(nullptr),
      m_hPauseRequest(nullptr),
      m_uiWidth(0),
      m_uiHeight(0),
      m_uiWindowStart(0),
      m_uiWindowEnd(0),
      m_uiLastFrame(0),
      m_uiNextFrame(0),
      m_uiDelivered(0),
      m_uiRequested(0),
      m_uiPrevRequested(0),
      m_pSession(nullptr),
      m_pStopFlag(nullptr),
      m_bNV12(false),
      m_nRunning(0),
      m_ePause(EPauseState::NotWanted),
      m_uiRequestNumber(0),
      m_bRequestFailed(false),
      m_bWorkerEnded(false)
{
    InitializeCriticalSection(&m_Lock);
}

SampleGrabberCB::~SampleGrabberCB()
{
    ClearFrames(0);
    DeleteCriticalSection(&m_Lock);
    if (m_hFrameReady != nullptr) CloseHandle(m_hFrameReady);
    if (m_hPauseRequest != nullptr) CloseHandle(m_hPauseRequest);
}

HRESULT SampleGrabberCB::MakeEvents()
{
    m_hFrameReady = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_hPauseRequest = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    return m_hFrameReady != nullptr && m_hPauseRequest != nullptr ? S_OK : E_FAIL;
}

STDMETHODIMP SampleGrabberCB::QueryInterface(REFIID riid, void** ppObject)
{
    static const QITAB aInterfaces[] = {
        {&IID_IMFSampleGrabberSinkCallback,
         static_cast<int>(OFFSETOFCLASS(IMFSampleGrabberSinkCallback, SampleGrabberCB))},
        {&IID_IMFClockStateSink, static_cast<int>(OFFSETOFCLASS(IMFClockStateSink, SampleGrabberCB))},
        {nullptr, 0},
    };
    return QISearch(this, aInterfaces, riid, ppObject);
}

STDMETHODIMP_(ULONG) SampleGrabberCB::AddRef()
{
    return ++m_nRefCount;
}

STDMETHODIMP_(ULONG) SampleGrabberCB::Release()
{
    const ULONG nLeft = --m_nRefCount;
    if (nLeft == 0) delete this;
    return nLeft;
}

// --- the clock ---

STDMETHODIMP SampleGrabberCB::OnClockStart(MFTIME, LONGLONG)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockStop(MFTIME)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockPause(MFTIME)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockRestart(MFTIME)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockSetRate(MFTIME, float)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnSetPresentationClock(IMFPresentationClock*)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnShutdown()
{
    return S_OK;
}

// --- samples ---

STDMETHODIMP SampleGrabberCB::OnProcessSample(REFGUID, DWORD, LONGLONG, LONGLONG llSampleDuration,
                                              const BYTE* pSampleBuffer, DWORD dwSampleSize)
{
    CGrabberLock lock(this);
    if (m_uiWidth == COUNTING_MODE) return CountSample(llSampleDuration);

    // The object is going away and its worker may be waiting for an event of the session. The sample is taken all
    // the same: nobody will look at it.
    if (m_pStopFlag != nullptr && *m_pStopFlag && m_pSession != nullptr) m_pSession->Stop();

    StoreSample(pSampleBuffer, dwSampleSize);
    m_uiDelivered = m_uiNextFrame;
    if (m_uiDelivered == m_uiRequested) SetEvent(m_hFrameReady);

    const bool bMore = WantsMoreSamples();
    ++m_uiNextFrame;
    if (bMore) return S_OK;

    if (m_ePause == EPauseState::NotWanted) m_ePause = EPauseState::Wanted;
    lock.Release();
    SetEvent(m_hPauseRequest);
    return S_OK;
}

// N samples leave N + 1 sums: the start of each, and the end of the last.
HRESULT SampleGrabberCB::CountSample(LONGLONG llSampleDuration)
try
{
    if (m_lstSampleTimes.empty()) m_lstSampleTimes.push_back(0);
    const ULONGLONG ullEnd = static_cast<ULONGLONG>(m_lstSampleTimes.back()) + static_cast<ULONGLONG>(llSampleDuration);
    m_lstSampleTimes.push_back(static_cast<LONGLONG>(ullEnd));
    return S_OK;
}
catch (const std::bad_alloc&)
{
    return E_OUTOFMEMORY;
}

void SampleGrabberCB::StoreSample(const BYTE* pSampleBuffer, DWORD dwSampleSize)
{
    SQmGrabbedFrame* pFrame = FindOrAppendFrame(m_uiNextFrame);
    // NV12 samples don't become pictures: the frame counts, and its pixels stay as they were made.
    if (pFrame == nullptr || m_bNV12) return;

    SQmPicBuf sample = pFrame->m_Picture;
    sample.m_pData = const_cast<BYTE*>(pSampleBuffer);
    sample.m_uiWidthBytes = GetSamplePitch(sample.m_uiWidth);
    if (GetSampleSize(sample) > dwSampleSize)
    {
        // Not the picture that was announced. Whoever asks for this frame is refused it.
        SQmPicBufAPI_Base::Free(&pFrame->m_Picture);
        return;
    }
    ConvertYuy2ToBgr(pFrame->m_Picture, sample);
}

// A frame that is stored already comes again when a play starts before the store's tail; its record is used again, and
// gets pixels if an earlier sample took them away.
//
// Null when there is no memory for it. The numbering of the samples goes on all the same.
SQmGrabbedFrame* SampleGrabberCB::FindOrAppendFrame(std::uint64_t uiIndex)
try
{
    SQmGrabbedFrame* pFrame = FindFrame(uiIndex);
    if (pFrame == nullptr)
    {
        m_lstFrames.push_back(nullptr);
        pFrame = AllocateFrameRecord();
        m_lstFrames.back() = pFrame;
        if (pFrame == nullptr) return nullptr;
        pFrame->m_uiFrameIndex = uiIndex;
        SQmPicBufAPI_Base::Init(&pFrame->m_Picture);
    }
    if (pFrame->m_Picture.m_pData == nullptr)
    {
        SQmPicBufAPI_Base::Reinit(&pFrame->m_Picture, m_uiWidth, m_uiHeight, 0, 8, 3, false);
    }
    return pFrame;
}
catch (const std::bad_alloc&)
{
    return nullptr;
}

// Whether the play goes on after the sample that was just stored.
bool SampleGrabberCB::WantsMoreSamples()
{
    const std::uint32_t uiWindow = GetWindowSize();
    if (m_lstFrames.size() <= uiWindow) return true;
    TrimFrames();
    return IsNearTail(static_cast<std::uint32_t>(m_uiRequested), uiWindow, static_cast<std::uint32_t>(m_uiLastFrame));
}
