#include "mp4_outputfile/mediafoundationwriter.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "common/waits.h"
#include "common/withoutexceptions.h"
#include "mp4_outputfile/rawpicture.h"
#include "mp4_outputfile/targetgrowth.h"

namespace
{

// All in milliseconds.
constexpr std::uint32_t g_uiLongestLimit = 20000;  // for a picture, for the start and for the end of the thread
constexpr std::uint32_t g_uiRest = 50;             // before a stopped session is started, or a failed wait repeated

}  // namespace

std::uint32_t CalcStallLimit(std::uint64_t uiPixels, bool bStarted)
{
    constexpr std::uint64_t uiReferencePixels = 1920 * 1080;
    const auto uiScaled = static_cast<std::uint32_t>(uiPixels * 300 / uiReferencePixels);
    return std::max<std::uint32_t>(bStarted ? 100 : 2500, uiScaled);
}

CMediaFoundationWriter::~CMediaFoundationWriter()
{
    End();
}

// --- the set-up ---

HRESULT CMediaFoundationWriter::Open(const SEncoderSettings& settings)
{
    // Pictures and events exist before the graph is built: its source keeps pointers to them. An attempt that failed
    // may have left a source.
    DropHandover();
    m_pwszPath = settings.m_strFileName.GetString();
    m_pHandover = std::make_unique<CPictureHandover>();
    if (m_pHandover->Open(settings.m_uiWidth, settings.m_uiHeight) != QM_OK) return E_FAIL;
    const HRESULT hr = BuildGraph(settings);
    return hr == S_OK ? StartThread() : hr;
}

HRESULT CMediaFoundationWriter::BuildGraph(const SEncoderSettings& settings)
{
    const HRESULT hr =
        WithoutExceptions<HRESULT>(E_OUTOFMEMORY, [&] { return BuildWriteGraph(m_graph, settings, *m_pHandover); });
    if (hr != S_OK) EndGraph();
    return hr;
}

HRESULT CMediaFoundationWriter::StartThread()
{
    if (m_graph.m_pSession != nullptr) m_hWriterThread = CreateThread(nullptr, 0, RunWriterThread, this, 0, nullptr);
    if (m_hWriterThread != nullptr) return S_OK;
    EndGraph();
    return E_FAIL;
}

// --- the thread ---

DWORD WINAPI CMediaFoundationWriter::RunWriterThread(void* pWriter)
{
    auto* const pThis = static_cast<CMediaFoundationWriter*>(pWriter);
    // However it ends, what the session got is a file. The next frame finds no session and fails.
    RunSession(pThis->m_graph.m_pSession, pThis->m_graph.m_pTopology, pThis->m_pHandover->m_hSessionStarted);
    pThis->EndGraph();
    SetEvent(pThis->m_pHandover->m_hFrameTaken);  // ends a wait for a frame to be fetched
    return 0;
}

// Precondition: no other thread builds or plays the graph. The writer thread calls this while it runs, else the host's.
void CMediaFoundationWriter::EndGraph()
{
    SWriteGraph graph;
    {
        const CSectionLock lock(m_csGraph.Get());
        std::swap(graph, m_graph);
    }
    IMFMediaSource* const pSource = graph.m_pSource;
    if (pSource != nullptr) pSource->AddRef();
    FinalizeWriteGraph(graph, m_pwszPath);
    ShutDownWriteGraph(graph, *m_pHandover);
    ReleaseWriteGraph(graph);
    if (pSource != nullptr) m_bSourceLeft = !ReleaseLastReference(pSource);
}

// A source that something still holds may use the hand-over, which stays allocated then.
void CMediaFoundationWriter::DropHandover()
{
    if (m_bSourceLeft) static_cast<void>(m_pHandover.release());
    m_pHandover.reset();
    m_bSourceLeft = false;
}

// The session and its source, with references of the caller's own; null when they have ended.
SWriteGraph CMediaFoundationWriter::ShareGraph()
{
    const CSectionLock lock(m_csGraph.Get());
    SWriteGraph graph;
    graph.m_pSession = m_graph.m_pSession;
    graph.m_pSource = m_graph.m_pSource;
    if (graph.m_pSession != nullptr) graph.m_pSession->AddRef();
    if (graph.m_pSource != nullptr) graph.m_pSource->AddRef();
    return graph;
}

// Makes the thread's wait for the session's next event fail.
void CMediaFoundationWriter::ForceEnd()
{
    SWriteGraph graph = ShareGraph();
    ShutDownWriteGraph(graph, *m_pHandover);
    ReleaseWriteGraph(graph);
}

// Nothing of this object may be destroyed as long as the thread runs, so a wait that the system can't do is done again.
// dwResult is that of a first wait for the thread, with a limit.
void CMediaFoundationWriter::JoinThread(DWORD dwResult)
{
    while (dwResult != WAIT_OBJECT_0)
    {
        if (dwResult == WAIT_FAILED) Rest(g_uiRest);
        dwResult = AwaitAny(&m_hWriterThread, 1, INFINITE);
    }
    CloseHandle(m_hWriterThread);
    m_hWriterThread = nullptr;
}

// --- frames ---

// Everything that can fail comes before the pending picture changes: it stays the newest one that was taken.
EPictureFate CMediaFoundationWriter::WriteFrame(std::uint32_t uiIndex, const SHostPicture& picture,
                                                const SFrameTimes& times)
{
    CRawPicture raw;
    if (raw.Take(picture) != QM_OK) return EPictureFate::Lost;
    if (uiIndex != 0 && HandOverPending(picture.m_attrSource, times.m_dSampleTime) != QM_OK) return EPictureFate::Lost;
    m_pHandover->SetPending(raw.Get());
    m_dSampleTime = times.m_dSampleTime;
    return EPictureFate::Taken;
}

QmStatus CMediaFoundationWriter::HandOverPending(const SQmImageAttributes& attrSource, double dSampleTime)
{
    if (!HasSession()) return QM_ERR_FAIL;
    if (!m_pHandover->IsPending()) return QM_OK;  // the host began with a later index: there is no picture before
    m_pHandover->HandOver(dSampleTime, false);
    const bool bStarted = WaitForSingleObject(m_pHandover->m_hSessionStarted, 0) == WAIT_OBJECT_0;
    const std::uint64_t uiPixels = std::uint64_t{attrSource.m_uiHeight} * attrSource.m_uiWidth;
    return AwaitTaken(CalcStallLimit(uiPixels, bStarted));
}

bool CMediaFoundationWriter::HasSession()
{
    const CSectionLock lock(m_csGraph.Get());
    return m_graph.m_pSession != nullptr;
}

// The picture is handed over once: the event stays set through all restarts, and the source takes it when the session
// next asks for one.
QmStatus CMediaFoundationWriter::AwaitTaken(std::uint32_t uiLimit)
{
    const HANDLE ahAny[] = {m_pHandover->m_hFrameTaken, m_hWriterThread};
    while (AwaitAny(ahAny, std::size(ahAny), uiLimit) != WAIT_OBJECT_0)
    {
        StopSession();
        if (uiLimit > g_uiLongestLimit / 2)
        {
            m_pHandover->EndStream();
            const DWORD dwResult = AwaitAny(&m_hWriterThread, 1, g_uiLongestLimit);
            if (dwResult != WAIT_OBJECT_0) ForceEnd();
            JoinThread(dwResult);
            return QM_ERR_FAIL;
        }
        uiLimit *= 2;
        Rest(g_uiRest);
        RestartSession();
    }
    ResetEvent(m_pHandover->m_hFrameTaken);
    return QM_OK;
}

// Neither a stop nor a start that fails changes anything: the next wait shows what became of the session. If it has
// just ended, there is nothing to stop, and the writer thread is about to set m_hFrameTaken.
void CMediaFoundationWriter::StopSession()
{
    SWriteGraph graph = ShareGraph();
    if (graph.m_pSession != nullptr) graph.m_pSession->Stop();
    ReleaseWriteGraph(graph);
    ResetEvent(m_pHandover->m_hSourceStarted);  // the source does it too, but maybe later
    ResetEvent(m_pHandover->m_hSessionStarted);
}

void CMediaFoundationWriter::RestartSession()
{
    SWriteGraph graph = ShareGraph();
    if (graph.m_pSession != nullptr) StartFromBeginning(graph.m_pSession);
    ReleaseWriteGraph(graph);
}

// The times of frames that were refused don't count.
void CMediaFoundationWriter::Close(const SFrameTimes& /*times*/)
{
    End();
}

// A stream that is at its end already when it is started reports its end before its last picture, and the session takes
// no picture after that. So the end is announced to a source that has started. The session's own report of its start
// isn't waited for: a session may give it only after the source has served its first requests, and one of them may wait
// for the last picture. After a restart the source may be late for the same reason. Then the wait takes its limit.
void CMediaFoundationWriter::AwaitStart()
{
    const HANDLE ahAny[] = {m_pHandover->m_hSourceStarted, m_hWriterThread};
    AwaitAny(ahAny, std::size(ahAny), g_uiLongestLimit);
}

// The last picture's duration is not known; it takes the newest distance between two frames.
void CMediaFoundationWriter::End()
{
    if (IsRunning())
    {
        CTargetGrowth growth(m_pwszPath);
        if (m_pHandover->IsPending())
        {
            AwaitStart();
            m_pHandover->HandOver(m_dSampleTime, true);
            // The thread's end counts too: the event that it sets at its end may have been taken for an earlier frame.
            const HANDLE ahAny[] = {m_pHandover->m_hFrameTaken, m_hWriterThread};
            if (growth.AwaitAny(ahAny, std::size(ahAny)) == WAIT_TIMEOUT) ForceEnd();
            ResetEvent(m_pHandover->m_hFrameTaken);
            m_pHandover->WakeSource();
        }
        else
        {
            ForceEnd();  // no picture was ever taken, so none can be the stream's last
        }
        const DWORD dwResult = growth.AwaitAny(&m_hWriterThread, 1);
        if (dwResult == WAIT_TIMEOUT) ForceEnd();
        JoinThread(dwResult);
    }
    if (m_pHandover != nullptr) EndGraph();
    DropHandover();
}
