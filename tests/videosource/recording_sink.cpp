#include "recording_sink.h"

#include <mfapi.h>
#include <mferror.h>

#include "session_record.h"

namespace
{

template <class TInterface>
TOwned<TInterface> Share(TInterface* pInterface)
{
    if (pInterface != nullptr) pInterface->AddRef();
    return TOwned<TInterface>(pInterface);
}

Bytes ReadBytes(IMFSample* pSample)
{
    IMFMediaBuffer* pBuffer = nullptr;
    BYTE* pbBytes = nullptr;
    DWORD cbBytes = 0;
    if (FAILED(pSample->ConvertToContiguousBuffer(&pBuffer))) return {};
    const TOwned<IMFMediaBuffer> pOwned(pBuffer);
    if (FAILED(pBuffer->Lock(&pbBytes, nullptr, &cbBytes))) return {};
    Bytes vBytes(pbBytes, pbBytes + cbBytes);
    pBuffer->Unlock();
    return vBytes;
}

}  // namespace

CRecordingSink::CRecordingSink(REFGUID guidSubtype) : m_guidSubtype(guidSubtype)
{
    IMFMediaEventQueue* pQueue = nullptr;
    EXPECT_EQ(MakeUnrecordedQueue(&pQueue), S_OK);
    m_pQueue.reset(pQueue);
}

CRecordingSink::~CRecordingSink() = default;

std::vector<SSinkSample> CRecordingSink::GetSamples() const
{
    const std::lock_guard lock(m_mtx);
    return m_vSamples;
}

TOwned<IMFMediaType> CRecordingSink::GetType() const
{
    const std::lock_guard lock(m_mtx);
    return Share(m_pType.get());
}

STDMETHODIMP CRecordingSink::QueryInterface(REFIID riid, void** ppObject)
{
    void* pFound = nullptr;
    if (riid == IID_IUnknown || riid == IID_IMFMediaSink || riid == IID_IMFFinalizableMediaSink)
        pFound = static_cast<IMFFinalizableMediaSink*>(this);
    else if (riid == IID_IMFStreamSink || riid == IID_IMFMediaEventGenerator)
        pFound = static_cast<IMFStreamSink*>(this);
    else if (riid == IID_IMFMediaTypeHandler)
        pFound = static_cast<IMFMediaTypeHandler*>(this);
    else if (riid == IID_IMFClockStateSink)
        pFound = static_cast<IMFClockStateSink*>(this);
    *ppObject = pFound;
    if (pFound != nullptr) AddRef();
    return pFound != nullptr ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) CRecordingSink::Release()
{
    const ULONG nLeft = --m_nRefCount;
    if (nLeft == 0) delete this;
    return nLeft;
}

// --- the sink ---

STDMETHODIMP CRecordingSink::GetCharacteristics(DWORD* pdwCharacteristics)
{
    *pdwCharacteristics = MEDIASINK_FIXED_STREAMS | MEDIASINK_RATELESS;
    return S_OK;
}

STDMETHODIMP CRecordingSink::AddStreamSink(DWORD, IMFMediaType*, IMFStreamSink**)
{
    return MF_E_STREAMSINKS_FIXED;
}

STDMETHODIMP CRecordingSink::RemoveStreamSink(DWORD)
{
    return MF_E_STREAMSINKS_FIXED;
}

STDMETHODIMP CRecordingSink::GetStreamSinkCount(DWORD* pdwCount)
{
    *pdwCount = 1;
    return S_OK;
}

STDMETHODIMP CRecordingSink::GetStreamSinkByIndex(DWORD dwIndex, IMFStreamSink** ppStreamSink)
{
    if (dwIndex != 0) return MF_E_INVALIDINDEX;
    *ppStreamSink = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP CRecordingSink::GetStreamSinkById(DWORD dwIdentifier, IMFStreamSink** ppStreamSink)
{
    if (dwIdentifier != 0) return MF_E_INVALIDSTREAMNUMBER;
    return GetStreamSinkByIndex(0, ppStreamSink);
}

// Without the lock, since the clock may call its sinks meanwhile.
void CRecordingSink::LeaveClock()
{
    TOwned<IMFPresentationClock> pClock;
    {
        const std::lock_guard lock(m_mtx);
        pClock = std::move(m_pClock);
    }
    if (pClock) pClock->RemoveClockStateSink(this);
}

STDMETHODIMP CRecordingSink::SetPresentationClock(IMFPresentationClock* pClock)
{
    LeaveClock();
    if (pClock == nullptr) return S_OK;
    {
        const std::lock_guard lock(m_mtx);
        m_pClock = Share(pClock);
    }
    return pClock->AddClockStateSink(this);
}

STDMETHODIMP CRecordingSink::GetPresentationClock(IMFPresentationClock** ppClock)
{
    const std::lock_guard lock(m_mtx);
    *ppClock = Share(m_pClock.get()).release();
    return *ppClock != nullptr ? S_OK : MF_E_NO_CLOCK;
}

STDMETHODIMP CRecordingSink::Shutdown()
{
    CSessionRecord::Note("sink shutdown");
    LeaveClock();
    TOwned<IMFMediaEventQueue> pQueue;
    {
        const std::lock_guard lock(m_mtx);
        pQueue = std::move(m_pQueue);
    }
    if (pQueue) pQueue->Shutdown();
    return S_OK;
}

STDMETHODIMP CRecordingSink::BeginFinalize(IMFAsyncCallback* pCallback, IUnknown* pState)
{
    CSessionRecord::Note("sink finalize");
    IMFAsyncResult* pResult = nullptr;
    HRESULT hr = MFCreateAsyncResult(nullptr, pCallback, pState, &pResult);
    if (FAILED(hr)) return hr;
    hr = MFInvokeCallback(pResult);
    pResult->Release();
    return hr;
}

STDMETHODIMP CRecordingSink::EndFinalize(IMFAsyncResult* pResult)
{
    return pResult->GetStatus();
}

// --- its stream ---

TOwned<IMFMediaEventQueue> CRecordingSink::ShareQueue() const
{
    const std::lock_guard lock(m_mtx);
    return Share(m_pQueue.get());
}

STDMETHODIMP CRecordingSink::GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent)
{
    const auto pQueue = ShareQueue();
    return pQueue ? pQueue->GetEvent(dwFlags, ppEvent) : MF_E_SHUTDOWN;
}

STDMETHODIMP CRecordingSink::BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* pState)
{
    const auto pQueue = ShareQueue();
    return pQueue ? pQueue->BeginGetEvent(pCallback, pState) : MF_E_SHUTDOWN;
}

STDMETHODIMP CRecordingSink::EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    const auto pQueue = ShareQueue();
    return pQueue ? pQueue->EndGetEvent(pResult, ppEvent) : MF_E_SHUTDOWN;
}

STDMETHODIMP CRecordingSink::QueueEvent(MediaEventType eType, REFGUID guidExtendedType, HRESULT hrStatus,
                                        const PROPVARIANT* pvarValue)
{
    const auto pQueue = ShareQueue();
    return pQueue ? pQueue->QueueEventParamVar(eType, guidExtendedType, hrStatus, pvarValue) : MF_E_SHUTDOWN;
}

HRESULT CRecordingSink::Report(MediaEventType eType, const PROPVARIANT* pvarValue)
{
    return QueueEvent(eType, GUID_NULL, S_OK, pvarValue);
}

STDMETHODIMP CRecordingSink::GetMediaSink(IMFMediaSink** ppSink)
{
    *ppSink = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP CRecordingSink::GetIdentifier(DWORD* pdwIdentifier)
{
    *pdwIdentifier = 0;
    return S_OK;
}

STDMETHODIMP CRecordingSink::GetMediaTypeHandler(IMFMediaTypeHandler** ppHandler)
{
    *ppHandler = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP CRecordingSink::ProcessSample(IMFSample* pSample)
{
    SSinkSample sample;
    sample.m_vBytes = ReadBytes(pSample);
    pSample->GetSampleTime(&sample.m_hnsTime);
    pSample->GetSampleDuration(&sample.m_hnsDuration);
    UINT32 unKey = 0;
    sample.m_bKeyPicture = SUCCEEDED(pSample->GetUINT32(MFSampleExtension_CleanPoint, &unKey)) && unKey != 0;
    CSessionRecord::Note("sink sample " + std::to_string(sample.m_hnsTime) + "+" +
                         std::to_string(sample.m_hnsDuration));
    {
        const std::lock_guard lock(m_mtx);
        m_vSamples.push_back(std::move(sample));
    }
    return m_bRuns ? Report(MEStreamSinkRequestSample) : S_OK;
}

STDMETHODIMP CRecordingSink::PlaceMarker(MFSTREAMSINK_MARKER_TYPE eType, const PROPVARIANT*,
                                         const PROPVARIANT* pvarContext)
{
    CSessionRecord::Note("sink marker " + std::to_string(eType));
    return Report(MEStreamSinkMarker, pvarContext);
}

STDMETHODIMP CRecordingSink::Flush()
{
    CSessionRecord::Note("sink flush");
    return S_OK;
}

// --- what the stream takes ---

STDMETHODIMP CRecordingSink::IsMediaTypeSupported(IMFMediaType* pType, IMFMediaType** ppClosest)
{
    if (ppClosest != nullptr) *ppClosest = nullptr;
    GUID guidSubtype = GUID_NULL;
    pType->GetGUID(MF_MT_SUBTYPE, &guidSubtype);
    return guidSubtype == m_guidSubtype ? S_OK : MF_E_INVALIDMEDIATYPE;
}

STDMETHODIMP CRecordingSink::GetMediaTypeCount(DWORD* pdwCount)
{
    *pdwCount = 1;
    return S_OK;
}

STDMETHODIMP CRecordingSink::GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType** ppType)
{
    if (dwIndex != 0) return MF_E_NO_MORE_TYPES;
    HRESULT hr = MFCreateMediaType(ppType);
    if (SUCCEEDED(hr)) hr = (*ppType)->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = (*ppType)->SetGUID(MF_MT_SUBTYPE, m_guidSubtype);
    return hr;
}

STDMETHODIMP CRecordingSink::SetCurrentMediaType(IMFMediaType* pType)
{
    const HRESULT hr = IsMediaTypeSupported(pType, nullptr);
    if (FAILED(hr)) return hr;
    const std::lock_guard lock(m_mtx);
    m_pType = Share(pType);
    return S_OK;
}

STDMETHODIMP CRecordingSink::GetCurrentMediaType(IMFMediaType** ppType)
{
    *ppType = GetType().release();
    return *ppType != nullptr ? S_OK : MF_E_NOT_INITIALIZED;
}

STDMETHODIMP CRecordingSink::GetMajorType(GUID* pguidType)
{
    *pguidType = MFMediaType_Video;
    return S_OK;
}

// --- the clock ---

STDMETHODIMP CRecordingSink::OnClockStart(MFTIME, LONGLONG)
{
    CSessionRecord::Note("sink start");
    m_bRuns = true;
    const HRESULT hr = Report(MEStreamSinkStarted);
    return SUCCEEDED(hr) ? Report(MEStreamSinkRequestSample) : hr;
}

STDMETHODIMP CRecordingSink::OnClockStop(MFTIME)
{
    CSessionRecord::Note("sink stop");
    m_bRuns = false;
    return Report(MEStreamSinkStopped);
}

STDMETHODIMP CRecordingSink::OnClockPause(MFTIME)
{
    CSessionRecord::Note("sink pause");
    return Report(MEStreamSinkPaused);
}

STDMETHODIMP CRecordingSink::OnClockRestart(MFTIME)
{
    CSessionRecord::Note("sink restart");
    return Report(MEStreamSinkStarted);
}

STDMETHODIMP CRecordingSink::OnClockSetRate(MFTIME, float)
{
    return Report(MEStreamSinkRateChanged);
}
