#include "windows_bridge/starts.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
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
HRESULT(STDMETHODCALLTYPE* g_pfnPauseSession)(IMFMediaSession*);
HRESULT(STDMETHODCALLTYPE* g_pfnEndSessionEvent)(IMFMediaSession*, IMFAsyncResult*, IMFMediaEvent**);
HRESULT(STDMETHODCALLTYPE* g_pfnStartSource)
(IMFMediaSource*, IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*);
HRESULT(STDMETHODCALLTYPE* g_pfnPauseSource)(IMFMediaSource*);
HRESULT(STDMETHODCALLTYPE* g_pfnEndSourceEvent)(IMFMediaSource*, IMFAsyncResult*, IMFMediaEvent**);
HRESULT(STDMETHODCALLTYPE* g_pfnShutDownSource)(IMFMediaSource*);
HRESULT(STDMETHODCALLTYPE* g_pfnRequestSample)(IMFMediaStream*, IUnknown*);
HRESULT(STDMETHODCALLTYPE* g_pfnEndStreamEvent)(IMFMediaStream*, IMFAsyncResult*, IMFMediaEvent**);
HRESULT(STDMETHODCALLTYPE* g_pfnProcessSample)(IMFStreamSink*, IMFSample*);

// How far the difference of two times may be off, since each is cut to 100 ns.
constexpr LONGLONG ROUNDING = 2;

// A file that is played. Times and positions are in units of 100 ns.
struct SPlayedFile
{
    LONGLONG m_llPosition = 0;              // of the last start
    int m_nOpenRequests = 0;                // for samples
    std::vector<LONGLONG> m_vTimes;         // of decoding, of the samples since the last start
    std::size_t m_uiDecoded = 0;            // pictures that came from the decoder since then
    int m_nDelivered = 0;                   // pictures that are being passed on
    bool m_bEndedWithoutSamples = false;    // since the last start
    bool m_bPausedAtEnd = false;            // since the last start
    bool m_bOver = false;                   // no more are passed on until the next start
    bool m_bStale = false;                  // pictures may come that are of the play before
    std::optional<LONGLONG> m_llFirstTime;  // of the first picture of the first play; all plays begin with it
    IMFMediaStream* m_pStream = nullptr;
};

constexpr std::chrono::seconds FIRST_PICTURE_LIMIT{2};
constexpr std::chrono::seconds DELIVERY_LIMIT{2};

std::mutex g_Lock;
std::condition_variable g_PictureDecoded;
std::condition_variable g_PictureDelivered;
// Until the source is shut down. A session and a sink are of the source that plays through them.
std::map<IMFMediaSource*, SPlayedFile> g_mapFiles;
std::map<const IMFMediaSession*, IMFMediaSource*> g_mapSessions;
std::map<const IMFMediaSink*, IMFMediaSource*> g_mapSources;

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

// Calls fnAct with the lock held and the file that the stream is of, if there is one.
template <typename TAct>
void WithFileOf(IMFMediaStream* pStream, TAct fnAct)
{
    IMFMediaSource* pSource = nullptr;
    if (FAILED(pStream->GetMediaSource(&pSource))) return;  // shut down
    {
        const std::lock_guard lock(g_Lock);
        const auto itFile = g_mapFiles.find(pSource);
        if (itFile != g_mapFiles.end()) fnAct(itFile->second);
    }
    pSource->Release();
}

HRESULT STDMETHODCALLTYPE RequestSample(IMFMediaStream* pStream, IUnknown* pToken)
{
    WithFileOf(pStream, [](SPlayedFile& file) { ++file.m_nOpenRequests; });
    const HRESULT hr = g_pfnRequestSample(pStream, pToken);
    if (FAILED(hr))
    {
        WithFileOf(pStream, [](SPlayedFile& file) {
            if (file.m_nOpenRequests > 0) --file.m_nOpenRequests;  // the end may have come meanwhile
        });
    }
    return hr;
}

void NoteSample(IMFMediaStream* pStream, IMFMediaEvent* pEvent)
{
    PROPVARIANT varSample;
    PropVariantInit(&varSample);
    IMFSample* pSample = nullptr;
    LONGLONG llTime = 0;
    pEvent->GetValue(&varSample);
    if (varSample.vt == VT_UNKNOWN &&
        SUCCEEDED(varSample.punkVal->QueryInterface(IID_IMFSample, reinterpret_cast<void**>(&pSample))))
    {
        llTime = static_cast<LONGLONG>(MFGetAttributeUINT64(pSample, MFSampleExtension_DecodeTimestamp, 0));
        pSample->Release();
    }
    PropVariantClear(&varSample);
    WithFileOf(pStream, [llTime](SPlayedFile& file) {
        --file.m_nOpenRequests;
        file.m_vTimes.push_back(llTime);
    });
}

HRESULT STDMETHODCALLTYPE EndStreamEvent(IMFMediaStream* pStream, IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    const HRESULT hr = g_pfnEndStreamEvent(pStream, pResult, ppEvent);
    if (FAILED(hr)) return hr;
    const MediaEventType eType = TypeOf(*ppEvent);
    if (eType == MEMediaSample) NoteSample(pStream, *ppEvent);
    // A session knows that the rest of its requests won't be answered then, and makes new ones after the next start.
    if (eType == MEEndOfStream)
    {
        WithFileOf(pStream, [](SPlayedFile& file) {
            file.m_nOpenRequests = 0;
            file.m_bEndedWithoutSamples = file.m_vTimes.empty();
        });
        g_PictureDecoded.notify_all();
    }
    if (eType == MEStreamStarted || eType == MEStreamSeeked)
    {
        // Samples of the play before may have come until now.
        int nOpen = 0;
        WithFileOf(pStream, [&nOpen](SPlayedFile& file) {
            file.m_vTimes.clear();
            nOpen = file.m_nOpenRequests;
        });
        for (; nOpen > 0; --nOpen)
            g_pfnRequestSample(pStream, nullptr);
    }
    return hr;
}

void TakeStream(IMFMediaSource* pSource, IUnknown* pUnknown)
{
    IMFMediaStream* pStream = nullptr;
    if (FAILED(pUnknown->QueryInterface(IID_IMFMediaStream, reinterpret_cast<void**>(&pStream)))) return;
    const std::lock_guard lock(g_Lock);
    if (g_pfnRequestSample == nullptr)
    {
        ReplaceOperation(pStream, SlotOf(&IMFMediaStream::RequestSample), &RequestSample, &g_pfnRequestSample);
        ReplaceOperation(pStream, SlotOf(&IMFMediaStream::EndGetEvent), &EndStreamEvent, &g_pfnEndStreamEvent);
    }
    const auto itFile = g_mapFiles.find(pSource);
    if (itFile != g_mapFiles.end()) itFile->second.m_pStream = pStream;  // the source keeps it
    pStream->Release();
}

// --- the source of a file ---

HRESULT STDMETHODCALLTYPE StartSource(IMFMediaSource* pSource, IMFPresentationDescriptor* pDescriptor,
                                      const GUID* pguidFormat, const PROPVARIANT* pvarPosition)
{
    if (pvarPosition->vt != VT_I8) return g_pfnStartSource(pSource, pDescriptor, pguidFormat, pvarPosition);
    {
        const std::lock_guard lock(g_Lock);
        SPlayedFile& file = g_mapFiles[pSource];
        file.m_llPosition = pvarPosition->hVal.QuadPart;
        file.m_uiDecoded = 0;
        file.m_bOver = false;
        file.m_bEndedWithoutSamples = false;
        file.m_bStale = true;
        file.m_bPausedAtEnd = false;
    }
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    varBeginning.vt = VT_I8;
    return g_pfnStartSource(pSource, pDescriptor, pguidFormat, &varBeginning);
}

// A source that has given its last sample refuses a pause, and then the session takes no call. The bridge reports the
// pause for it: it gives nothing until the next start. A session pauses only sources that it has started, so this is
// the only refusal.
HRESULT STDMETHODCALLTYPE PauseSource(IMFMediaSource* pSource)
{
    const HRESULT hr = g_pfnPauseSource(pSource);
    if (hr != MF_E_INVALID_STATE_TRANSITION) return hr;
    IMFMediaStream* pStream = nullptr;
    {
        const std::lock_guard lock(g_Lock);
        const auto itFile = g_mapFiles.find(pSource);
        if (itFile == g_mapFiles.end() || itFile->second.m_pStream == nullptr) return hr;
        itFile->second.m_bPausedAtEnd = true;
        pStream = itFile->second.m_pStream;
        pStream->AddRef();
    }
    PROPVARIANT varNothing;
    PropVariantInit(&varNothing);
    HRESULT hrQueued = pSource->QueueEvent(MESourcePaused, GUID_NULL, S_OK, &varNothing);
    if (SUCCEEDED(hrQueued)) hrQueued = pStream->QueueEvent(MEStreamPaused, GUID_NULL, S_OK, &varNothing);
    pStream->Release();
    return hrQueued;
}

HRESULT STDMETHODCALLTYPE EndSourceEvent(IMFMediaSource* pSource, IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    const HRESULT hr = g_pfnEndSourceEvent(pSource, pResult, ppEvent);
    if (FAILED(hr) || TypeOf(*ppEvent) != MENewStream) return hr;
    PROPVARIANT varStream;
    PropVariantInit(&varStream);
    (*ppEvent)->GetValue(&varStream);
    if (varStream.vt == VT_UNKNOWN) TakeStream(pSource, varStream.punkVal);
    PropVariantClear(&varStream);
    return hr;
}

HRESULT STDMETHODCALLTYPE ShutDownSource(IMFMediaSource* pSource)
{
    {
        const std::lock_guard lock(g_Lock);
        g_mapFiles.erase(pSource);
        std::erase_if(g_mapSessions, [pSource](const auto& session) { return session.second == pSource; });
        std::erase_if(g_mapSources, [pSource](const auto& sink) { return sink.second == pSource; });
        g_PictureDecoded.notify_all();
        g_PictureDelivered.notify_all();
    }
    return g_pfnShutDownSource(pSource);
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
    if (g_pfnStartSource != nullptr) return;
    ReplaceOperation(pSource, SlotOf(&IMFMediaSource::Start), &StartSource, &g_pfnStartSource);
    ReplaceOperation(pSource, SlotOf(&IMFMediaSource::Pause), &PauseSource, &g_pfnPauseSource);
    ReplaceOperation(pSource, SlotOf(&IMFMediaSource::EndGetEvent), &EndSourceEvent, &g_pfnEndSourceEvent);
    ReplaceOperation(pSource, SlotOf(&IMFMediaSource::Shutdown), &ShutDownSource, &g_pfnShutDownSource);
}

// --- the session ---

// Null when the topology has no such object. The caller's to release.
IMFMediaSource* FindSource(IMFTopologyNode* pNode)
{
    IMFMediaSource* pSource = nullptr;
    pNode->GetUnknown(MF_TOPONODE_SOURCE, IID_IMFMediaSource, reinterpret_cast<void**>(&pSource));
    return pSource;
}

IMFMediaSink* FindSink(IMFTopologyNode* pNode)
{
    IUnknown* pObject = nullptr;
    IMFActivate* pActivate = nullptr;
    IMFMediaSink* pSink = nullptr;
    if (FAILED(pNode->GetObject(&pObject))) return nullptr;
    // The session is given the same sink again.
    if (SUCCEEDED(pObject->QueryInterface(IID_IMFActivate, reinterpret_cast<void**>(&pActivate))))
        pActivate->ActivateObject(IID_IMFMediaSink, reinterpret_cast<void**>(&pSink));
    Release(pActivate);
    Release(pObject);
    return pSink;
}

// The first of its type; the caller's to release.
IMFTopologyNode* FindNode(IMFTopology* pTopology, MF_TOPOLOGY_TYPE eWanted)
{
    WORD wNodes = 0;
    pTopology->GetNodeCount(&wNodes);
    for (WORD w = 0; w < wNodes; ++w)
    {
        IMFTopologyNode* pNode = nullptr;
        MF_TOPOLOGY_TYPE eType = MF_TOPOLOGY_MAX;
        if (FAILED(pTopology->GetNode(w, &pNode))) continue;
        pNode->GetNodeType(&eType);
        if (eType == eWanted) return pNode;
        pNode->Release();
    }
    return nullptr;
}

void NoteTopology(const IMFMediaSession* pSession, IMFTopology* pTopology)
{
    IMFTopologyNode* pSourceNode = FindNode(pTopology, MF_TOPOLOGY_SOURCESTREAM_NODE);
    IMFTopologyNode* pSinkNode = FindNode(pTopology, MF_TOPOLOGY_OUTPUT_NODE);
    IMFMediaSource* pSource = pSourceNode != nullptr ? FindSource(pSourceNode) : nullptr;
    const bool bFile = pSource != nullptr && IsOfTheSystem(pSource);
    IMFMediaSink* pSink = bFile && pSinkNode != nullptr ? FindSink(pSinkNode) : nullptr;
    if (pSink != nullptr)
    {
        const std::lock_guard lock(g_Lock);
        ReplaceSourceOperations(pSource);
        g_mapFiles[pSource];
        g_mapSources[pSink] = pSource;
        g_mapSessions[pSession] = pSource;
    }
    Release(pSink);
    Release(pSource);
    Release(pSinkNode);
    Release(pSourceNode);
}

HRESULT STDMETHODCALLTYPE SetTopology(IMFMediaSession* pSession, DWORD dwFlags, IMFTopology* pTopology)
{
    if (pTopology != nullptr) NoteTopology(pSession, pTopology);
    return g_pfnSetTopology(pSession, dwFlags, pTopology);
}

HRESULT STDMETHODCALLTYPE StartSession(IMFMediaSession* pSession, const GUID* pguidFormat,
                                       const PROPVARIANT* pvarPosition)
{
    if (pvarPosition->vt == VT_I8) pSession->Stop();
    return g_pfnStartSession(pSession, pguidFormat, pvarPosition);
}

// A decoder that is emptied before its first picture may give none afterwards. Without samples there is none to wait
// for.
HRESULT STDMETHODCALLTYPE PauseSession(IMFMediaSession* pSession)
{
    {
        std::unique_lock lock(g_Lock);
        const auto itSource = g_mapSessions.find(pSession);
        if (itSource != g_mapSessions.end())
        {
            IMFMediaSource* const pSource = itSource->second;
            g_PictureDecoded.wait_for(lock, FIRST_PICTURE_LIMIT, [pSource] {
                const auto it = g_mapFiles.find(pSource);
                return it == g_mapFiles.end() || it->second.m_uiDecoded > 0 || it->second.m_bEndedWithoutSamples;
            });
        }
    }
    return g_pfnPauseSession(pSession);
}

// Whether the session was paused when its file was at the end. If so, no picture is passed on any more.
bool EndPlayAtEnd(IMFMediaSession* pSession)
{
    std::unique_lock lock(g_Lock);
    const auto itSource = g_mapSessions.find(pSession);
    if (itSource == g_mapSessions.end()) return false;
    IMFMediaSource* const pSource = itSource->second;
    const auto itFile = g_mapFiles.find(pSource);
    if (itFile == g_mapFiles.end() || !itFile->second.m_bPausedAtEnd) return false;
    itFile->second.m_bOver = true;
    g_PictureDelivered.wait_for(lock, DELIVERY_LIMIT, [pSource] {
        const auto it = g_mapFiles.find(pSource);
        return it == g_mapFiles.end() || it->second.m_nDelivered == 0;
    });
    return true;
}

// A session that was paused at the end of its file can't continue.
HRESULT STDMETHODCALLTYPE EndSessionEvent(IMFMediaSession* pSession, IMFAsyncResult* pResult, IMFMediaEvent** ppEvent)
{
    const HRESULT hr = g_pfnEndSessionEvent(pSession, pResult, ppEvent);
    HRESULT hrStatus = S_OK;
    if (FAILED(hr) || TypeOf(*ppEvent) != MESessionPaused || FAILED((*ppEvent)->GetStatus(&hrStatus))) return hr;
    if (FAILED(hrStatus) || !EndPlayAtEnd(pSession)) return hr;
    IMFMediaEvent* pEnd = nullptr;
    if (FAILED(MFCreateMediaEvent(MESessionEnded, GUID_NULL, S_OK, nullptr, &pEnd))) return hr;
    (*ppEvent)->Release();
    *ppEvent = pEnd;
    return hr;
}

void ReplaceSessionOperations()
{
    IMFMediaSession* pSession = nullptr;
    if (FAILED(MFCreateMediaSession(nullptr, &pSession))) return;
    ReplaceOperation(pSession, SlotOf(&IMFMediaSession::SetTopology), &SetTopology, &g_pfnSetTopology);
    ReplaceOperation(pSession, SlotOf(&IMFMediaSession::Pause), &PauseSession, &g_pfnPauseSession);
    ReplaceOperation(pSession, SlotOf(&IMFMediaSession::Start), &StartSession, &g_pfnStartSession);
    ReplaceOperation(pSession, SlotOf(&IMFMediaSession::EndGetEvent), &EndSessionEvent, &g_pfnEndSessionEvent);
    pSession->Shutdown();
    pSession->Release();
}

// --- the sample grabber ---

// The position of frame n is the sum of the durations of n samples, and pictures come in the order of their numbers.
// The times that the decoder gives them are of no use: it makes them even.
bool IsBeforePosition(const SPlayedFile& file, std::size_t uiNumber)
{
    if (uiNumber >= file.m_vTimes.size()) return false;
    return file.m_vTimes[uiNumber] - file.m_vTimes[0] + ROUNDING < file.m_llPosition;
}

// Null when the stream is of no file. With the lock held.
SPlayedFile* FindFileOf(IMFMediaSink* pSink)
{
    const auto itSource = g_mapSources.find(pSink);
    const auto itFile = itSource != g_mapSources.end() ? g_mapFiles.find(itSource->second) : g_mapFiles.end();
    return itFile != g_mapFiles.end() ? &itFile->second : nullptr;
}

// Another sample is requested in the place of one that is dropped because of the start.
HRESULT STDMETHODCALLTYPE ProcessSample(IMFStreamSink* pStream, IMFSample* pSample)
{
    IMFMediaSink* pSink = nullptr;
    if (FAILED(pStream->GetMediaSink(&pSink))) return g_pfnProcessSample(pStream, pSample);
    bool bOver = false;
    bool bBefore = false;
    {
        const std::lock_guard lock(g_Lock);
        if (SPlayedFile* const pFile = FindFileOf(pSink))
        {
            LONGLONG llTime = 0;
            pSample->GetSampleTime(&llTime);
            if (!pFile->m_llFirstTime) pFile->m_llFirstTime = llTime;
            if (llTime == pFile->m_llFirstTime) pFile->m_bStale = false;
            bOver = pFile->m_bOver;
            bBefore = !bOver && (pFile->m_bStale || IsBeforePosition(*pFile, pFile->m_uiDecoded));
            if (!bOver && !bBefore) ++pFile->m_nDelivered;
            if (!pFile->m_bStale) ++pFile->m_uiDecoded;
            g_PictureDecoded.notify_all();
        }
    }
    HRESULT hr = S_OK;
    if (bBefore)
    {
        PROPVARIANT varNothing;
        PropVariantInit(&varNothing);
        hr = pStream->QueueEvent(MEStreamSinkRequestSample, GUID_NULL, S_OK, &varNothing);
    }
    else if (!bOver)
    {
        hr = g_pfnProcessSample(pStream, pSample);
        const std::lock_guard lock(g_Lock);
        if (SPlayedFile* const pFile = FindFileOf(pSink)) --pFile->m_nDelivered;
        g_PictureDelivered.notify_all();
    }
    pSink->Release();
    return hr;
}

void ReplaceSinkOperations()
{
    static CIdleGrabberCallback callback;
    IMFMediaType* pType = nullptr;
    IMFActivate* pActivate = nullptr;
    IMFMediaSink* pSink = nullptr;
    IMFStreamSink* pStream = nullptr;
    HRESULT hr = MFCreateMediaType(&pType);
    if (SUCCEEDED(hr)) hr = pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_YUY2);
    if (SUCCEEDED(hr)) hr = MFCreateSampleGrabberSinkActivate(pType, &callback, &pActivate);
    if (SUCCEEDED(hr)) hr = pActivate->ActivateObject(IID_IMFMediaSink, reinterpret_cast<void**>(&pSink));
    if (SUCCEEDED(hr)) hr = pSink->GetStreamSinkByIndex(0, &pStream);
    if (SUCCEEDED(hr))
        ReplaceOperation(pStream, SlotOf(&IMFStreamSink::ProcessSample), &ProcessSample, &g_pfnProcessSample);
    if (pSink != nullptr) pSink->Shutdown();
    Release(pStream);
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
