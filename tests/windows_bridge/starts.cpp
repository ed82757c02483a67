#include "windows_bridge/starts.h"

#include <cstring>
#include <map>
#include <mutex>

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>

#include "support/slot_of.h"
#include "windows_bridge/idle_grabber_callback.h"
#include "windows_bridge/operation_table.h"

namespace windows_bridge
{

namespace
{

using test_support::SlotOf;

// The system's operations that were replaced.
HRESULT(STDMETHODCALLTYPE* g_pfnSetTopology)(IMFMediaSession*, DWORD, IMFTopology*);
HRESULT(STDMETHODCALLTYPE* g_pfnStartSession)(IMFMediaSession*, const GUID*, const PROPVARIANT*);
HRESULT(STDMETHODCALLTYPE* g_pfnStartSource)
(IMFMediaSource*, IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*);
HRESULT(STDMETHODCALLTYPE* g_pfnEndSourceEvent)(IMFMediaSource*, IMFAsyncResult*, IMFMediaEvent**);
HRESULT(STDMETHODCALLTYPE* g_pfnRequestSample)(IMFMediaStream*, IUnknown*);
HRESULT(STDMETHODCALLTYPE* g_pfnEndStreamEvent)(IMFMediaStream*, IMFAsyncResult*, IMFMediaEvent**);
HRESULT(STDMETHODCALLTYPE* g_pfnOnClockStart)(IMFClockStateSink*, MFTIME, LONGLONG);
HRESULT(STDMETHODCALLTYPE* g_pfnProcessSample)(IMFStreamSink*, IMFSample*);

// The start of a clock that continues where it is.
constexpr LONGLONG CURRENT_POSITION = 0x7FFFFFFFFFFFFFFF;

std::mutex g_Lock;

void Release(IUnknown* pObject)
{
    if (pObject != nullptr) pObject->Release();
}

MediaEventType TypeOf(IMFMediaEvent* pEvent)
{
    MediaEventType eType = MEUnknown;
    pEvent->GetType(&eType);
    return eType;
}

// --- the stream of a file ---

// The number of a stream's open requests is kept with its descriptor, which lives as long as the stream.
constexpr GUID OPEN_REQUESTS = {0x5f0c7a3e, 0x21d6, 0x4b8f, {0x9a, 0x44, 0x0e, 0x6d, 0x73, 0xb1, 0x58, 0xc2}};

// Adds to the number and returns it.
UINT32 CountOpenRequests(IMFMediaStream* pStream, int nMore)
{
    IMFStreamDescriptor* pDescriptor = nullptr;
    if (FAILED(pStream->GetStreamDescriptor(&pDescriptor))) return 0;  // shut down
    const std::lock_guard lock(g_Lock);
    UINT32 uiOpen = MFGetAttributeUINT32(pDescriptor, OPEN_REQUESTS, 0);
    if (nMore > 0 || uiOpen > 0) uiOpen += nMore;
    pDescriptor->SetUINT32(OPEN_REQUESTS, uiOpen);
    pDescriptor->Release();
    return uiOpen;
}

HRESULT STDMETHODCALLTYPE RequestSample(IMFMediaStream* pStream, IUnknown* pToken)
{
    CountOpenRequests(pStream, 1);
    const HRESULT hr = g_pfnRequestSample(pStream, pToken);
    if (FAILED(hr)) CountOpenRequests(pStream, -1);
    return hr;
}

HRESULT STDMETHODCALLTYPE EndStreamEvent(IMFMediaStream* pStream, IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    const HRESULT hr = g_pfnEndStreamEvent(pStream, pResult, ppEvent);
    if (FAILED(hr)) return hr;
    const MediaEventType eType = TypeOf(*ppEvent);
    if (eType == MEMediaSample) CountOpenRequests(pStream, -1);
    if (eType == MEStreamStarted || eType == MEStreamSeeked)
    {
        for (UINT32 uiOpen = CountOpenRequests(pStream, 0); uiOpen > 0; --uiOpen)
            g_pfnRequestSample(pStream, nullptr);
    }
    return hr;
}

void ReplaceStreamOperations(IUnknown* pUnknown)
{
    IMFMediaStream* pStream = nullptr;
    if (FAILED(pUnknown->QueryInterface(IID_IMFMediaStream, reinterpret_cast<void**>(&pStream)))) return;
    const std::lock_guard lock(g_Lock);
    if (g_pfnRequestSample == nullptr)
    {
        g_pfnRequestSample = ReplaceOperation(pStream, SlotOf(&IMFMediaStream::RequestSample), &RequestSample);
        g_pfnEndStreamEvent = ReplaceOperation(pStream, SlotOf(&IMFMediaStream::EndGetEvent), &EndStreamEvent);
    }
    pStream->Release();
}

// --- the source of a file ---

HRESULT STDMETHODCALLTYPE StartSource(IMFMediaSource* pSource, IMFPresentationDescriptor* pDescriptor,
                                      const GUID* pguidFormat, const PROPVARIANT* pvarPosition)
{
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    varBeginning.vt = VT_I8;
    varBeginning.hVal.QuadPart = 0;
    return g_pfnStartSource(pSource, pDescriptor, pguidFormat,
                            pvarPosition->vt == VT_I8 ? &varBeginning : pvarPosition);
}

HRESULT STDMETHODCALLTYPE EndSourceEvent(IMFMediaSource* pSource, IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    const HRESULT hr = g_pfnEndSourceEvent(pSource, pResult, ppEvent);
    if (FAILED(hr) || TypeOf(*ppEvent) != MENewStream) return hr;
    PROPVARIANT varStream;
    PropVariantInit(&varStream);
    (*ppEvent)->GetValue(&varStream);
    if (varStream.vt == VT_UNKNOWN) ReplaceStreamOperations(varStream.punkVal);
    PropVariantClear(&varStream);
    return hr;
}

// Only files have Wine's own source. The others are of the program under test, and right as they are.
bool IsOfTheSystem(IMFMediaSource* pSource)
{
    HMODULE hModule = nullptr;
    const void* pTable = nullptr;
    std::memcpy(&pTable, pSource, sizeof pTable);
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(pTable), &hModule))
    {
        return false;
    }
    return hModule == GetModuleHandleW(L"mfmp4srcsnk.dll");
}

void ReplaceSourceOperations(IMFMediaSource* pSource)
{
    const std::lock_guard lock(g_Lock);
    if (g_pfnStartSource != nullptr || !IsOfTheSystem(pSource)) return;
    g_pfnStartSource = ReplaceOperation(pSource, SlotOf(&IMFMediaSource::Start), &StartSource);
    g_pfnEndSourceEvent = ReplaceOperation(pSource, SlotOf(&IMFMediaSource::EndGetEvent), &EndSourceEvent);
}

// --- the session ---

HRESULT STDMETHODCALLTYPE SetTopology(IMFMediaSession* pSession, DWORD dwFlags, IMFTopology* pTopology)
{
    WORD wNodes = 0;
    if (pTopology != nullptr) pTopology->GetNodeCount(&wNodes);
    for (WORD w = 0; w < wNodes; ++w)
    {
        IMFTopologyNode* pNode = nullptr;
        IMFMediaSource* pSource = nullptr;
        if (FAILED(pTopology->GetNode(w, &pNode))) continue;
        if (SUCCEEDED(pNode->GetUnknown(MF_TOPONODE_SOURCE, IID_IMFMediaSource, reinterpret_cast<void**>(&pSource))))
            ReplaceSourceOperations(pSource);
        Release(pSource);
        Release(pNode);
    }
    return g_pfnSetTopology(pSession, dwFlags, pTopology);
}

HRESULT STDMETHODCALLTYPE StartSession(IMFMediaSession* pSession, const GUID* pguidFormat,
                                       const PROPVARIANT* pvarPosition)
{
    if (pvarPosition->vt == VT_I8) pSession->Stop();
    return g_pfnStartSession(pSession, pguidFormat, pvarPosition);
}

void ReplaceSessionOperations()
{
    IMFMediaSession* pSession = nullptr;
    if (FAILED(MFCreateMediaSession(nullptr, &pSession))) return;
    g_pfnSetTopology = ReplaceOperation(pSession, SlotOf(&IMFMediaSession::SetTopology), &SetTopology);
    g_pfnStartSession = ReplaceOperation(pSession, SlotOf(&IMFMediaSession::Start), &StartSession);
    pSession->Shutdown();
    pSession->Release();
}

// --- the sample grabber ---

// The position of each sink's last start, 100 ns. A sink starts before it is given a sample, so what is left of one
// that is gone is never used.
std::map<const IMFMediaSink*, LONGLONG> g_mapPositions;

HRESULT STDMETHODCALLTYPE OnClockStart(IMFClockStateSink* pClockSink, MFTIME mftSystem, LONGLONG llPosition)
{
    IMFMediaSink* pSink = nullptr;
    if (SUCCEEDED(pClockSink->QueryInterface(IID_IMFMediaSink, reinterpret_cast<void**>(&pSink))))
    {
        const std::lock_guard lock(g_Lock);
        g_mapPositions[pSink] = llPosition != CURRENT_POSITION ? llPosition : 0;
        pSink->Release();
    }
    return g_pfnOnClockStart(pClockSink, mftSystem, llPosition);
}

bool IsBeforePosition(IMFStreamSink* pStream, IMFSample* pSample)
{
    LONGLONG llTime = 0;
    IMFMediaSink* pSink = nullptr;
    if (FAILED(pSample->GetSampleTime(&llTime)) || FAILED(pStream->GetMediaSink(&pSink))) return false;
    const std::lock_guard lock(g_Lock);
    const LONGLONG llPosition = g_mapPositions[pSink];
    pSink->Release();
    return llTime < llPosition;
}

// Another sample is requested in the place of one that is dropped.
HRESULT STDMETHODCALLTYPE ProcessSample(IMFStreamSink* pStream, IMFSample* pSample)
{
    if (!IsBeforePosition(pStream, pSample)) return g_pfnProcessSample(pStream, pSample);
    PROPVARIANT varNothing;
    PropVariantInit(&varNothing);
    return pStream->QueueEvent(MEStreamSinkRequestSample, GUID_NULL, S_OK, &varNothing);
}

void ReplaceSinkOperations()
{
    static CIdleGrabberCallback callback;
    IMFMediaType* pType = nullptr;
    IMFActivate* pActivate = nullptr;
    IMFMediaSink* pSink = nullptr;
    IMFClockStateSink* pClockSink = nullptr;
    IMFStreamSink* pStream = nullptr;
    HRESULT hr = MFCreateMediaType(&pType);
    if (SUCCEEDED(hr)) hr = pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_YUY2);
    if (SUCCEEDED(hr)) hr = MFCreateSampleGrabberSinkActivate(pType, &callback, &pActivate);
    if (SUCCEEDED(hr)) hr = pActivate->ActivateObject(IID_IMFMediaSink, reinterpret_cast<void**>(&pSink));
    if (SUCCEEDED(hr)) hr = pSink->QueryInterface(IID_IMFClockStateSink, reinterpret_cast<void**>(&pClockSink));
    if (SUCCEEDED(hr)) hr = pSink->GetStreamSinkByIndex(0, &pStream);
    if (SUCCEEDED(hr))
    {
        g_pfnOnClockStart = ReplaceOperation(pClockSink, SlotOf(&IMFClockStateSink::OnClockStart), &OnClockStart);
        g_pfnProcessSample = ReplaceOperation(pStream, SlotOf(&IMFStreamSink::ProcessSample), &ProcessSample);
    }
    if (pSink != nullptr) pSink->Shutdown();
    Release(pStream);
    Release(pClockSink);
    Release(pSink);
    Release(pActivate);
    Release(pType);
}

}  // namespace

void FillStartGaps()
{
    ReplaceSessionOperations();
    ReplaceSinkOperations();
}

}  // namespace windows_bridge
