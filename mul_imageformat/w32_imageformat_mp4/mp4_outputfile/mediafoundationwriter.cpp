#include "mp4_outputfile/mediafoundationwriter.h"

#include <algorithm>
#include <new>
#include <utility>

#include "mp4_outputfile/sessionwaits.h"
#include "common/saferelease.h"

namespace
{

// All in milliseconds.
constexpr std::uint32_t g_uiLongestLimit = 20000;
constexpr std::uint32_t g_uiRest = 50;
constexpr std::uint32_t g_uiLongestClose = 10 * 60 * 1000;  // for the frames that the encoder holds back

}  // namespace

std::uint32_t CalcStallLimit(std::uint64_t uiPixels, bool bStarted)
{
    constexpr std::uint64_t uiReferencePixels = 1920 * 1080;
    const auto uiScaled = static_cast<std::uint32_t>(uiPixels * 300 / uiReferencePixels);
    return std::max<std::uint32_t>(bStarted ? 100 : 2500, uiScaled);
}

CMediaFoundationWriter::~CMediaFoundationWriter()
{
    Close();
}

// --- the set-up ---

QmStatus CMediaFoundationWriter::OpenHandover(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    return m_bFailed ? QM_ERR_FAIL : m_handover.Open(uiWidth, uiHeight);
}

HRESULT CMediaFoundationWriter::BuildGraph()
{
    HRESULT hr = E_OUTOFMEMORY;
    try
    {
        hr = BuildWriteGraph(m_graph, m_handover);
    }
    catch (const std::bad_alloc&)
    {}
    if (hr != S_OK) EndGraph();
    return hr;
}

QmStatus CMediaFoundationWriter::StartThread()
{
    if (m_graph.m_pSession != nullptr) m_hWriterThread = CreateThread(nullptr, 0, RunWriterThread, this, 0, nullptr);
    if (m_hWriterThread != nullptr) return QM_OK;
    EndGraph();
    return QM_ERR_FAIL;
}

// --- the thread ---

DWORD WINAPI CMediaFoundationWriter::RunWriterThread(void* pWriter)
{
    auto* const pThis = static_cast<CMediaFoundationWriter*>(pWriter);
    // However it ends, what the session got is a file; the host is told by the session's absence.
    RunSession(pThis->m_graph.m_pSession, pThis->m_graph.m_pTopology, pThis->m_handover.m_hSessionStarted);
    pThis->EndGraph();
    SetEvent(pThis->m_handover.m_hFrameTaken);  // whoever waits for a frame to be fetched goes on
    return 0;
}

// The session may wait for its source when it is shut down, and the source for a picture. It is woken when it can't
// make a sample of one any more.
void CMediaFoundationWriter::ShutDown(const SWriteGraph& graph)
{
    if (graph.m_pSource == nullptr && graph.m_pSession == nullptr) return;
    if (graph.m_pSource != nullptr) graph.m_pSource->Shutdown();
    m_handover.WakeSource();
    if (graph.m_pSession != nullptr) graph.m_pSession->Shutdown();
}

// For whoever has the graph to itself: the thread while it runs, else the host's.
void CMediaFoundationWriter::EndGraph()
{
    SWriteGraph graph;
    {
        const CSectionLock lock(m_csGraph.Get());
        std::swap(graph, m_graph);
    }
    ShutDown(graph);
    ReleaseWriteGraph(graph);
}

// The session and its source, with references of the caller's own; null when they have come to their end.
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
    ShutDown(graph);
    ReleaseWriteGraph(graph);
}

// Nothing of this object may go as long as the thread runs, so a wait that the system can't do is done again.
void CMediaFoundationWriter::JoinThread(std::uint32_t uiLimit)
{
    DWORD dwResult = AwaitThreadEnd(m_hWriterThread, uiLimit);
    if (dwResult == WAIT_TIMEOUT) ForceEnd();
    while (dwResult != WAIT_OBJECT_0)
    {
        if (dwResult == WAIT_FAILED) RestBeforeRestart(g_uiRest);
        dwResult = AwaitThreadEnd(m_hWriterThread, INFINITE);
    }
    CloseHandle(m_hWriterThread);
    m_hWriterThread = nullptr;
}

// --- frames ---

// Whatever can fail comes before the pending picture changes: it stays the newest one that was taken on.
QmStatus CMediaFoundationWriter::WriteFrame(const void* pPixels, bool bHandOver, const SQmImageAttributes& attrSource,
                                            const SQmImageAttributes& attrEncoded)
{
    if (m_bFailed) return QM_ERR_FAIL;
    CEncodedPicture picture;
    QmStatus nStatus = picture.Take(pPixels, attrSource, attrEncoded);
    if (nStatus == QM_OK && bHandOver) nStatus = HandOverPending(attrSource);
    m_bFailed = nStatus != QM_OK;
    if (m_bFailed) return QM_ERR_FAIL;
    m_handover.SetPending(picture.Get());
    return QM_OK;
}

QmStatus CMediaFoundationWriter::HandOverPending(const SQmImageAttributes& attrSource)
{
    if (!HasSession()) return QM_ERR_FAIL;
    if (!m_handover.IsPending()) return QM_OK;  // the host began with a later index: nothing was drawn before
    m_handover.HandOver(false);
    const bool bStarted = WaitForSingleObject(m_handover.m_hSessionStarted, 0) == WAIT_OBJECT_0;
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
    while (AwaitFrameTaken(m_handover.m_hFrameTaken, m_hWriterThread, uiLimit) != WAIT_OBJECT_0)
    {
        StopSession();
        if (uiLimit > g_uiLongestLimit / 2)
        {
            m_handover.EndStream();
            JoinThread(g_uiLongestLimit);
            return QM_ERR_FAIL;
        }
        uiLimit *= 2;
        RestBeforeRestart(g_uiRest);
        RestartSession();
    }
    ResetEvent(m_handover.m_hFrameTaken);
    return QM_OK;
}

// Neither a stop nor a start that fails changes anything: the next wait tells what became of the session. One that has
// just ended isn't there any more, and the thread's word is to come.
void CMediaFoundationWriter::StopSession()
{
    SWriteGraph graph = ShareGraph();
    if (graph.m_pSession != nullptr) graph.m_pSession->Stop();
    ReleaseWriteGraph(graph);
    ResetEvent(m_handover.m_hSessionStarted);
}

void CMediaFoundationWriter::RestartSession()
{
    SWriteGraph graph = ShareGraph();
    if (graph.m_pSession != nullptr) StartFromBeginning(graph.m_pSession);
    ReleaseWriteGraph(graph);
}

void CMediaFoundationWriter::Close()
{
    if (IsRunning())
    {
        if (m_handover.IsPending())
        {
            m_handover.HandOver(true);
            // The thread's end counts too: its last word may have been taken for that of an earlier frame.
            if (AwaitFrameTaken(m_handover.m_hFrameTaken, m_hWriterThread, g_uiLongestClose) == WAIT_TIMEOUT)
                ForceEnd();
            ResetEvent(m_handover.m_hFrameTaken);
            m_handover.WakeSource();
        }
        else
        {
            ForceEnd();  // no picture was ever taken on, so there is none that could be the stream's last
        }
        JoinThread(g_uiLongestClose);
    }
    EndGraph();
    m_handover.Close();
}
