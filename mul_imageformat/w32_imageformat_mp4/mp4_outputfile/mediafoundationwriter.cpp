#include "mp4_outputfile/mediafoundationwriter.h"

#include <algorithm>
#include <utility>

#include "mp4_outputfile/sessionwaits.h"
#include "mp4filesimpl/saferelease.h"

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

QmStatus CMediaFoundationWriter::OpenHandover(const SQmImageAttributes& attrSource,
                                              const SQmImageAttributes& attrEncoded)
{
    return m_bFailed ? QM_ERR_FAIL : m_handover.Open(attrSource, attrEncoded);
}

HRESULT CMediaFoundationWriter::BuildGraph()
{
    return BuildWriteGraph(m_graph, m_handover);
}

QmStatus CMediaFoundationWriter::StartThread()
{
    if (m_graph.m_pSession != nullptr) m_hWriterThread = CreateThread(nullptr, 0, RunWriterThread, this, 0, nullptr);
    if (m_hWriterThread != nullptr) return QM_OK;
    ReleaseWriteGraph(m_graph);
    return QM_ERR_FAIL;
}

// --- the thread ---

DWORD WINAPI CMediaFoundationWriter::RunWriterThread(void* pWriter)
{
    auto* const pThis = static_cast<CMediaFoundationWriter*>(pWriter);
    RunSession(pThis->m_graph.m_pSession, pThis->m_graph.m_pTopology, pThis->m_handover.m_hSessionStarted);

    SWriteGraph graph;
    {
        const std::lock_guard lock(pThis->m_mtxGraph);
        std::swap(graph, pThis->m_graph);
    }
    ReleaseWriteGraph(graph);

    SetEvent(pThis->m_handover.m_hFrameTaken);  // whoever waits for a frame to be fetched goes on
    return 0;
}

// The session with a reference for the caller, or null when it has come to its end.
IMFMediaSession* CMediaFoundationWriter::TakeSession()
{
    const std::lock_guard lock(m_mtxGraph);
    if (m_graph.m_pSession != nullptr) m_graph.m_pSession->AddRef();
    return m_graph.m_pSession;
}

// Makes the thread's wait for the session's next event fail.
void CMediaFoundationWriter::ShutDownSession()
{
    IMFMediaSession* pSession = TakeSession();
    if (pSession != nullptr) pSession->Shutdown();
    SafeRelease(&pSession);
}

void CMediaFoundationWriter::JoinThread(std::uint32_t uiLimit)
{
    if (AwaitThreadEnd(m_hWriterThread, uiLimit) == WAIT_TIMEOUT)
    {
        ShutDownSession();
        AwaitThreadEnd(m_hWriterThread, INFINITE);
    }
    CloseHandle(m_hWriterThread);
    m_hWriterThread = nullptr;
}

// --- frames ---

// Whatever can fail comes before the pending picture changes: it stays the newest one that was taken on.
QmStatus CMediaFoundationWriter::WriteFrame(const void* pPixels, bool bHandOver, const SQmImageAttributes& attrSource)
{
    SQmPicBuf picture;
    m_bFailed = m_bFailed || m_handover.Shape(pPixels, attrSource, picture) != QM_OK ||
                (bHandOver && HandOverPending(attrSource) != QM_OK);
    if (m_bFailed) return QM_ERR_FAIL;
    m_handover.SetPending(picture);
    return QM_OK;
}

QmStatus CMediaFoundationWriter::HandOverPending(const SQmImageAttributes& attrSource)
{
    IMFMediaSession* pSession = TakeSession();
    if (pSession == nullptr) return QM_ERR_FAIL;

    QmStatus nStatus = QM_OK;
    if (m_handover.IsPending())  // else the host began with a later index, and there is no picture to hand over
    {
        m_handover.HandOver(false);
        const bool bStarted = WaitForSingleObject(m_handover.m_hSessionStarted, 0) == WAIT_OBJECT_0;
        const std::uint64_t uiPixels = std::uint64_t{attrSource.m_uiHeight} * attrSource.m_uiWidth;
        nStatus = AwaitTaken(pSession, CalcStallLimit(uiPixels, bStarted));
    }
    SafeRelease(&pSession);
    return nStatus;
}

// The picture is handed over once: the event stays set through all restarts, and the source takes it when the session
// next asks for one.
QmStatus CMediaFoundationWriter::AwaitTaken(IMFMediaSession* pSession, std::uint32_t uiLimit)
{
    while (AwaitFrameTaken(m_handover.m_hFrameTaken, m_hWriterThread, uiLimit) != WAIT_OBJECT_0)
    {
        pSession->Stop();
        ResetEvent(m_handover.m_hSessionStarted);
        if (uiLimit > g_uiLongestLimit / 2)
        {
            m_handover.EndStream();
            JoinThread(g_uiLongestLimit);
            return QM_ERR_FAIL;
        }
        uiLimit *= 2;
        RestBeforeRestart(g_uiRest);
        StartFromBeginning(pSession);
    }
    ResetEvent(m_handover.m_hFrameTaken);
    return QM_OK;
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
                ShutDownSession();
            ResetEvent(m_handover.m_hFrameTaken);
            SetEvent(m_handover.m_hFrameReady);
        }
        else
        {
            // No picture was ever taken on, so there is none that could be the stream's last. The source wakes up when
            // nobody listens to it any more.
            ShutDownSession();
            m_handover.EndStream();
        }
        JoinThread(g_uiLongestClose);
    }
    ReleaseWriteGraph(m_graph);
    m_handover.Close();
}
