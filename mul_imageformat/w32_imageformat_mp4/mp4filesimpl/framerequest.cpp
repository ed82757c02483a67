// Frames by index: the host's side of the frame store, and the life of the two threads behind it.
#include <cstring>

#include "mp4filesimpl/mp4inputfile.h"
#include "mp4filesimpl/readworker.h"

namespace
{

// Copies a stored frame into the host's buffer. One whose pixels could not be had is refused.
QmStatus CopyFrame(const SQmGrabbedFrame& frame, void* pBuffer)
{
    if (frame.m_Picture.m_pData == nullptr) return QM_ERR_FAIL;
    std::memcpy(pBuffer, frame.m_Picture.m_pData, frame.m_Picture.m_uiSize);
    return QM_OK;
}

}  // namespace

// Gives the frame if it is stored, else waits until the worker has it played. The wait ends with the frame, with the
// worker's word that it can't be had, or with the worker.
QmStatus CQmMP4InputFile::RequestFrame(std::uint32_t uiIndex, void* pBuffer)
{
    if (pBuffer == nullptr) return QM_OK;
    if (m_bWrittenFile && !m_bStop) return QM_ERR_FAIL;
    NeedOpen();
    if (!m_bOpen || uiIndex >= m_vFrameTimesMs.size()) return QM_ERR_FAIL;
    if (StartThreads() != QM_OK) return QM_ERR_FAIL;

    {
        CGrabberLock lock(m_pGrabber);
        const SQmGrabbedFrame* pFrame = m_pGrabber->FindFrame(uiIndex);
        m_pGrabber->m_uiPrevRequested = m_pGrabber->m_uiRequested;
        m_pGrabber->m_uiRequested = uiIndex;
        ++m_pGrabber->m_uiRequestNumber;
        m_pGrabber->m_bRequestFailed = false;
        if (pFrame != nullptr) return CopyFrame(*pFrame, pBuffer);

        // Cleared before anybody else can see the request, so that no signal for it is lost.
        ResetEvent(m_pGrabber->m_hFrameReady);
        if (m_pGrabber->m_bWorkerEnded) return QM_ERR_FAIL;
    }

    for (;;)
    {
        WaitForSingleObject(m_pGrabber->m_hFrameReady, INFINITE);
        CGrabberLock lock(m_pGrabber);
        const SQmGrabbedFrame* pFrame = m_pGrabber->FindFrame(uiIndex);
        if (pFrame != nullptr) return CopyFrame(*pFrame, pBuffer);
        if (m_pGrabber->m_bRequestFailed || m_pGrabber->m_bWorkerEnded) return QM_ERR_FAIL;
        // The signal came without the frame: it went away again, or never got memory. Saying that it was read would
        // leave the host with another picture under its index, so the worker has another go.
    }
}

// Hands the topology to the session and starts the threads, each once.
QmStatus CQmMP4InputFile::StartThreads()
{
    if (!m_bTopologySet)
    {
        if (FAILED(m_pSession->SetTopology(0, m_pTopology))) return QM_ERR_FAIL;
        m_bTopologySet = true;
    }
    if (m_hPumpThread == nullptr) m_hPumpThread = CreateThread(nullptr, 0, PumpThread, this, 0, nullptr);
    if (m_hPumpThread == nullptr) return QM_ERR_FAIL;
    if (m_hWorkerThread == nullptr) m_hWorkerThread = CreateThread(nullptr, 0, WorkerThread, this, 0, nullptr);
    return m_hWorkerThread != nullptr ? QM_OK : QM_ERR_FAIL;
}

DWORD WINAPI CQmMP4InputFile::PumpThread(void* pFile)
{
    RunReadPump(static_cast<CQmMP4InputFile*>(pFile)->GetReadGraph());
    return 0;
}

DWORD WINAPI CQmMP4InputFile::WorkerThread(void* pFile)
{
    CReadWorker(static_cast<CQmMP4InputFile*>(pFile)->GetReadGraph()).Run();
    return 0;
}

SReadGraph CQmMP4InputFile::GetReadGraph()
{
    return {m_pSession, m_pGrabber, m_vFrameTimesMs, m_Attributes.m_uiWidth, m_Attributes.m_uiHeight,
            m_bStop,    m_mtxPlay};
}

// Sets m_bStop and comes back when no thread of the object's own runs any more.
void CQmMP4InputFile::EndThreads()
{
    if (m_pGrabber == nullptr)
    {
        m_bStop = true;
        return;
    }
    {
        // Under the lock, since the worker clears the event under it while m_bStop isn't set.
        CGrabberLock lock(m_pGrabber);
        m_bStop = true;
        SetEvent(m_pGrabber->m_hPauseRequest);
    }
    if (m_hPumpThread != nullptr)
    {
        WaitForSingleObject(m_hPumpThread, INFINITE);
        CloseHandle(m_hPumpThread);
        m_hPumpThread = nullptr;
    }
    if (m_hWorkerThread != nullptr)
    {
        // The worker may be waiting for an event of a session that has nothing to tell. A stop is always told of, and
        // a session that refuses to stop lets go of everybody when it is shut down.
        if (FAILED(m_pSession->Stop())) m_pSession->Shutdown();
        WaitForSingleObject(m_hWorkerThread, INFINITE);
        CloseHandle(m_hWorkerThread);
        m_hWorkerThread = nullptr;
    }
    // A sample that is still under way must find nothing of this object.
    CGrabberLock lock(m_pGrabber);
    m_pGrabber->m_pStopFlag = nullptr;
    m_pGrabber->m_pSession = nullptr;
}
