#include "mp4_outputfile/writegraph.h"

#include <propvarutil.h>

#include "common/saferelease.h"
#include "common/sessionevents.h"
#include "common/waits.h"
#include "mp4_outputfile/picturehandover.h"

namespace
{

constexpr DWORD LOOK_EVERY_MS = 5;
constexpr int MOST_LOOKS = 400;  // two seconds

ULONG CountOtherReferences(IUnknown* pObject)
{
    pObject->AddRef();
    return pObject->Release() - 1;
}

}  // namespace

// The session may wait for its source when it is shut down, and the source for a picture. The source is woken when it
// can't make a sample of one any more.
void ShutDownWriteGraph(const SWriteGraph& graph, CPictureHandover& handover)
{
    if (graph.m_pSource == nullptr && graph.m_pSession == nullptr) return;
    if (graph.m_pSource != nullptr) graph.m_pSource->Shutdown();
    handover.WakeSource();
    if (graph.m_pSession != nullptr) graph.m_pSession->Shutdown();
}

void ReleaseWriteGraph(SWriteGraph& graph)
{
    SafeRelease(&graph.m_pSession);
    SafeRelease(&graph.m_pSource);
    SafeRelease(&graph.m_pStreamSink);
    SafeRelease(&graph.m_pSink);
    SafeRelease(&graph.m_pByteStream);
    SafeRelease(&graph.m_pTopology);
    SafeRelease(&graph.m_pOutputType);
    SafeRelease(&graph.m_pEncoderTransform);
}

bool ReleaseLastReference(IMFMediaSource* pSource)
{
    for (int n = 0; n < MOST_LOOKS && CountOtherReferences(pSource) != 0; ++n)
        Rest(LOOK_EVERY_MS);
    return pSource->Release() == 0;
}

HRESULT StartFromBeginning(IMFMediaSession* pSession)
{
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    return pSession->Start(&GUID_NULL, &varBeginning);
}

HRESULT RunSession(IMFMediaSession* pSession, IMFTopology* pTopology, HANDLE hStarted)
{
    HRESULT hr = pSession->SetTopology(0, pTopology);
    if (SUCCEEDED(hr)) hr = StartFromBeginning(pSession);
    CSessionEvents events(pSession);
    MediaEventType eType = MEUnknown;
    while (SUCCEEDED(hr) && eType != MESessionEnded)
    {
        HRESULT hrStatus = S_OK;
        eType = MEUnknown;
        hr = events.Take(INFINITE, nullptr, &eType, &hrStatus);
        if (hr == S_FALSE) Rest(LOOK_EVERY_MS);  // a wait that couldn't be done
        if (SUCCEEDED(hr)) hr = hrStatus;
        if (SUCCEEDED(hr) && eType == MESessionStarted) SetEvent(hStarted);
    }
    return hr;
}
