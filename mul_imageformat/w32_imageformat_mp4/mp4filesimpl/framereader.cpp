#include "mp4filesimpl/framereader.h"

#include <algorithm>

#include "hostapi/iqminputimagefile.h"
#include "mp4filesimpl/readgraph.h"
#include "mp4filesimpl/readworker.h"

namespace
{

constexpr DWORD NOTHING_TO_PAUSE_MS = 10;

}  // namespace

CFrameReader::CFrameReader(CReadGraph& graph, const std::vector<std::uint64_t>& vFrameTimesMs,
                           const SQmImageAttributes& attributes)
    : m_Graph(graph),
      m_vFrameTimesMs(vFrameTimesMs),
      m_Attributes(attributes),
      m_bTopologySet(false),
      m_hWorkerThread(nullptr),
      m_hPumpThread(nullptr),
      m_hEndWorker(nullptr)
{}

CFrameReader::~CFrameReader()
{
    if (m_hEndWorker != nullptr) CloseHandle(m_hEndWorker);
}

QmStatus CFrameReader::Read(std::uint32_t uiIndex, void* pBuffer)
{
    if (uiIndex >= m_vFrameTimesMs.size()) return QM_ERR_FAIL;
    if (StartThreads() != QM_OK) return QM_ERR_FAIL;
    QmStatus nStatus = QM_OK;
    if (m_Graph.GetStore()->AskForFrame(uiIndex, pBuffer, &nStatus)) return nStatus;
    nStatus = m_Graph.GetStore()->WaitForFrame(pBuffer);
    // A session that was silent for too long may not wake the worker either.
    if (m_Graph.GetStore()->HavePlaysEnded()) SetEvent(m_hEndWorker);
    return nStatus;
}

// Gives the topology to the session and starts the threads, each once.
QmStatus CFrameReader::StartThreads()
{
    if (!m_bTopologySet)
    {
        // Times that fall can't be positions of frames that follow each other.
        if (!std::is_sorted(m_vFrameTimesMs.begin(), m_vFrameTimesMs.end())) return QM_ERR_FAIL;
        if (FAILED(m_Graph.SetTopology())) return QM_ERR_FAIL;
        m_bTopologySet = true;
    }
    if (m_hEndWorker == nullptr) m_hEndWorker = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (m_hEndWorker == nullptr) return QM_ERR_FAIL;
    if (m_hPumpThread == nullptr) m_hPumpThread = CreateThread(nullptr, 0, PumpThread, this, 0, nullptr);
    if (m_hPumpThread == nullptr) return QM_ERR_FAIL;
    if (m_hWorkerThread == nullptr) m_hWorkerThread = CreateThread(nullptr, 0, WorkerThread, this, 0, nullptr);
    return m_hWorkerThread != nullptr ? QM_OK : QM_ERR_FAIL;
}

void CFrameReader::End()
{
    CFrameStore* pStore = m_Graph.GetStore();
    if (pStore == nullptr) return;
    pStore->Close();
    if (m_hPumpThread != nullptr)
    {
        WaitForSingleObject(m_hPumpThread, INFINITE);
        CloseHandle(m_hPumpThread);
        m_hPumpThread = nullptr;
    }
    if (m_hWorkerThread != nullptr)
    {
        // The worker may be waiting for an event that never comes.
        SetEvent(m_hEndWorker);
        WaitForSingleObject(m_hWorkerThread, INFINITE);
        CloseHandle(m_hWorkerThread);
        m_hWorkerThread = nullptr;
    }
    pStore->Disconnect();
}

DWORD WINAPI CFrameReader::WorkerThread(void* pReader)
{
    CFrameReader& reader = *static_cast<CFrameReader*>(pReader);
    const SReadPlan plan = {*reader.m_Graph.GetSession(),
                            *reader.m_Graph.GetStore(),
                            reader.m_vFrameTimesMs,
                            reader.m_Attributes.m_uiWidth,
                            reader.m_Attributes.m_uiHeight,
                            *reader.m_PlayLock.Get(),
                            reader.m_hEndWorker};
    CReadWorker(plan).Run();
    return 0;
}

// --- the pump ---

DWORD WINAPI CFrameReader::PumpThread(void* pReader)
{
    static_cast<CFrameReader*>(pReader)->RunPump();
    return 0;
}

// Pauses the session when the store has enough frames.
void CFrameReader::RunPump()
{
    CFrameStore& store = *m_Graph.GetStore();
    while (!store.IsClosing())
    {
        store.WaitForPauseRequest();
        if (!store.IsClosing() && !PausePlay()) Sleep(NOTHING_TO_PAUSE_MS);
    }
}

// Pauses the current play if it wants that and wasn't paused yet. False when there was nothing to pause.
//
// The event of a second pause would arrive in the middle of the next play and be taken for its end. The samples
// still on their way would then be numbered from the start of the play after it.
bool CFrameReader::PausePlay()
{
    const CSectionLock play(m_PlayLock.Get());
    if (!m_Graph.GetStore()->TakePauseRequest()) return false;
    if (FAILED(m_Graph.GetSession()->Pause())) m_Graph.GetStore()->WithdrawPause();
    return true;
}
