#include "writing_session.h"

#include <chrono>
#include <new>

#include <gtest/gtest.h>

#include "common/waits.h"
#include "mp4_outputfile/writegraph.h"

namespace
{
WritingRecord* g_pRecord = nullptr;
std::mutex g_mtxSession;
WritingSession* g_pSession = nullptr;  // the newest, while it lives; the graph or its user holds it

// The clock moves when a wait comes to its limit.
std::atomic<std::uint64_t> g_uiNow{1'000'000};

// A wait with this limit is one of many, as long as the target grows.
constexpr DWORD LOOK_EVERY_MS = 1000;

std::string LimitOf(DWORD dwLimit)
{
    if (dwLimit == INFINITE) return "for ever";
    return dwLimit == LOOK_EVERY_MS ? "while it grows" : std::to_string(dwLimit);
}

// Whether nothing will signal the handles any more unless the host's thread does something.
bool IsIdle(bool bForThread)
{
    const std::lock_guard lock(g_mtxSession);
    return g_pSession != nullptr && (bForThread ? g_pSession->NeverEnds() : g_pSession->StandsStill());
}
// Until the source has started, or the session doesn't start it. Isn't noted: its time is the writer thread's.
DWORD AwaitStart(const HANDLE* phAny, DWORD dwLimit)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (;;)
    {
        const bool bSilent = [] {
            const std::lock_guard lock(g_mtxSession);
            return g_pSession != nullptr && g_pSession->HasReported();
        }();
        const DWORD dwResult = WaitForMultipleObjects(2, phAny, FALSE, 1);
        if (dwResult == WAIT_TIMEOUT && bSilent) g_pRecord->m_vMissedStarts.push_back(dwLimit);
        if (dwResult != WAIT_TIMEOUT || bSilent) return dwResult;
        if (std::chrono::steady_clock::now() > end)
        {
            ADD_FAILURE() << "a wait for the start has no end";
            return WAIT_FAILED;
        }
    }
}
}  // namespace

// --- in the place of the module's ---

std::uint64_t GetMilliseconds()
{
    return g_uiNow;
}

// Of the host's thread: for a frame to be taken, or with one handle for the thread's end. It waits for real, but no
// longer than the session may have something to do. A session that works never takes a minute.
DWORD AwaitAny(const HANDLE* phAny, DWORD dwCount, DWORD dwLimit)
{
    if (!g_pRecord->IsHostThread()) return WaitForMultipleObjects(dwCount, phAny, FALSE, dwLimit);

    if (phAny[0] == g_pRecord->m_pHandover->m_hSourceStarted) return AwaitStart(phAny, dwLimit);
    const bool bForThread = dwCount == 1;
    const std::string strCall = (bForThread ? "Join " : "Await ") + LimitOf(dwLimit);
    if (dwLimit == LOOK_EVERY_MS)
        g_pRecord->NoteOnce(strCall);
    else
        g_pRecord->Note(strCall);
    if (bForThread && g_pRecord->m_nWaitsFailed < g_pRecord->m_script.m_nFailedWaits)
    {
        ++g_pRecord->m_nWaitsFailed;
        return WAIT_FAILED;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (;;)
    {
        const bool bIdle = dwLimit != INFINITE && IsIdle(bForThread);
        const DWORD dwResult = WaitForMultipleObjects(dwCount, phAny, FALSE, 1);
        if (dwResult == WAIT_TIMEOUT && bIdle) g_uiNow += dwLimit;
        if (dwResult != WAIT_TIMEOUT || bIdle) return dwResult;
        if (std::chrono::steady_clock::now() > end)
        {
            ADD_FAILURE() << "a wait has no end";
            return WAIT_FAILED;
        }
    }
}

void Rest(DWORD dwMilliseconds)
{
    if (g_pRecord->IsHostThread())
        g_pRecord->Note("Rest " + std::to_string(dwMilliseconds));
    else
        Sleep(1);  // for what the host's thread is about to do
    g_uiNow += dwMilliseconds;
}

// --- in the place of the system's graph ---

HRESULT BuildWriteGraph(SWriteGraph& graph, const SEncoderSettings& settings, CPictureHandover& handover)
{
    g_pRecord->NoteSettings(settings);
    g_pRecord->Note("Build");
    if (g_pRecord->m_funcBuilt) g_pRecord->m_funcBuilt(handover);
    if (FAILED(g_pRecord->m_script.m_hrBuild)) return g_pRecord->m_script.m_hrBuild;
    g_pRecord->m_pHandover = &handover;
    WritingSession* pSession = nullptr;
    if (g_pRecord->m_script.m_bWithSession) pSession = new WritingSession(*g_pRecord, handover);
    graph.m_pSession = pSession;
    graph.m_pSource = new WritingSource(*g_pRecord, pSession);
    if (g_pRecord->m_script.m_bNoMemory) throw std::bad_alloc();
    return g_pRecord->m_script.m_hrBuild;
}

void FinalizeWriteGraph(SWriteGraph& graph, const wchar_t* /*pwszPath*/)
{
    if (graph.m_pSession != nullptr || graph.m_pSource != nullptr) g_pRecord->Note("Finalize");
}

// --- the record ---

WritingRecord::WritingRecord()
{
    g_pRecord = this;
}

WritingRecord::~WritingRecord()
{
    EXPECT_EQ(m_nSessions, 0) << "sessions are left";
    EXPECT_EQ(m_nSources, 0) << "sources are left";
    g_pRecord = nullptr;
}

std::vector<std::string> WritingRecord::Calls() const
{
    const std::lock_guard lock(m_mtx);
    return m_vCalls;
}

std::vector<double> WritingRecord::Durations() const
{
    const std::lock_guard lock(m_mtx);
    return m_vDurations;
}

std::vector<Bytes> WritingRecord::Pictures() const
{
    const std::lock_guard lock(m_mtx);
    return m_vPictures;
}

void WritingRecord::Note(const std::string& strCall)
{
    const std::lock_guard lock(m_mtx);
    m_vCalls.push_back(strCall);
}

void WritingRecord::NoteOnce(const std::string& strCall)
{
    const std::lock_guard lock(m_mtx);
    if (m_vCalls.empty() || m_vCalls.back() != strCall) m_vCalls.push_back(strCall);
}

void WritingRecord::NotePicture(Bytes vRows, double dDuration)
{
    const std::lock_guard lock(m_mtx);
    m_vPictures.push_back(std::move(vRows));
    m_vDurations.push_back(dDuration);
}

void WritingRecord::NoteSettings(const SEncoderSettings& settings)
{
    m_settings = {settings.m_strFileName.GetString(),
                  {settings.m_uiWidth, settings.m_uiHeight, settings.m_uiSourceWidth, settings.m_uiSourceHeight,
                   settings.m_uiSequenceCount},
                  settings.m_pwszCode};
}

// --- the session ---

WritingSession::WritingSession(WritingRecord& record, CPictureHandover& handover)
    : m_record(record), m_handover(handover), m_source([this] { Run(); })
{
    ++m_record.m_nSessions;
    const std::lock_guard lock(g_mtxSession);
    g_pSession = this;
}

WritingSession::~WritingSession()
{
    {
        const std::lock_guard lock(g_mtxSession);
        if (g_pSession == this) g_pSession = nullptr;
    }
    EXPECT_TRUE(m_bShutDown) << "a session was released without being shut down";
    Shutdown();
    --m_record.m_nSessions;
}

bool WritingSession::StandsStill()
{
    const std::lock_guard lock(m_mtx);
    return m_nStarts > 0 && !Takes() && !m_bOver && !m_bShutDown;
}

bool WritingSession::HasReported()
{
    const std::lock_guard lock(m_mtx);
    return m_nStarts > 0 && m_events.AreTaken();
}

bool WritingSession::NeverEnds()
{
    const std::lock_guard lock(m_mtx);
    const bool bEnds = m_record.m_script.m_bEnds && (m_bActive || m_record.m_script.m_bEndsStopped);
    return !bEnds && !m_bOver && !m_bShutDown;
}

STDMETHODIMP WritingSession::QueryInterface(REFIID, void** ppObject)
{
    *ppObject = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) WritingSession::Release()
{
    const ULONG nLeft = --m_nRefCount;
    if (nLeft == 0) delete this;
    return nLeft;
}

STDMETHODIMP WritingSession::SetTopology(DWORD, IMFTopology*)
{
    m_record.Note("SetTopology");
    return m_record.m_script.m_hrSetTopology;
}

STDMETHODIMP WritingSession::Start(const GUID* pguidTimeFormat, const PROPVARIANT* pvarPosition)
{
    const bool bFromBeginning = *pguidTimeFormat == GUID_NULL && pvarPosition->vt == VT_EMPTY;
    m_record.Note(bFromBeginning ? "Start" : "Start elsewhere");
    const std::lock_guard lock(m_mtx);
    if (m_bShutDown) return MF_E_SHUTDOWN;
    const int nStart = m_nStarts++;
    m_bActive = true;
    m_nTakenSinceStart = 0;
    const SWritingScript& script = m_record.m_script;
    const bool bReports = nStart >= script.m_nReportsFrom && nStart < script.m_nReportsUntil;
    if (bReports || script.m_bStartsSilently) SetEvent(m_handover.m_hSourceStarted);
    if (bReports) m_events.Add(MESessionStarted, S_OK);
    if (script.m_bTakesInStart) ServeSource();
    return S_OK;
}

STDMETHODIMP WritingSession::Stop()
{
    m_record.Note("Stop");
    const std::lock_guard lock(m_mtx);
    if (m_bShutDown) return MF_E_SHUTDOWN;
    m_bActive = false;
    if (m_record.m_script.m_bStopDropsPicture) ResetEvent(m_handover.m_hFrameReady);
    m_events.Add(MESessionStopped, S_OK);
    return S_OK;
}

STDMETHODIMP WritingSession::Shutdown()
{
    std::thread source;
    {
        const std::lock_guard lock(m_mtx);
        if (!m_bShutDown) m_record.Note("Shutdown");
        m_bShutDown = true;
        source.swap(m_source);
    }
    m_events.Shutdown();
    if (source.joinable()) source.join();
    return S_OK;
}

// --- the source ---

void WritingSession::ShutDownSource()
{
    const std::lock_guard lock(m_mtx);
    m_bSourceShutDown = true;
}

// Waits for pictures without an end, as a source does that was asked for one.
void WritingSession::Run()
{
    for (;;)
    {
        WaitForSingleObject(m_handover.m_hFrameReady, INFINITE);
        {
            const std::lock_guard lock(m_mtx);
            if (m_bShutDown || m_bSourceShutDown || m_bOver || ServeSource()) return;
        }
        Sleep(1);
    }
}

// Under the lock. True when it has nothing to do any more.
bool WritingSession::ServeSource()
{
    const SWritingScript& script = m_record.m_script;
    if (WaitForSingleObject(m_handover.m_hFrameReady, 0) != WAIT_OBJECT_0) return false;
    const bool bLast = m_handover.m_nEndOfStream != 0;
    if (m_bStreamEnded)
    {
        m_bOver = script.m_bEnds;
        if (m_bOver) m_events.Add(MESessionEnded, S_OK);
    }
    else if (Plays() && m_nTaken >= script.m_nFailsAt)
    {
        m_bOver = true;
        m_events.Add(MEError, E_FAIL);
    }
    else if (Takes())
    {
        TakePicture();
        m_bStreamEnded = bLast;
        m_bOver = m_nTaken >= script.m_nEndsAfter || m_nTaken >= script.m_nFailsAfter ||
                  (bLast && script.m_bEnds && !script.m_bEndsWhenWoken);
        if (m_nTaken >= script.m_nFailsAfter)
            m_events.Add(MEError, E_FAIL);
        else if (m_bOver)
            m_events.Add(MESessionEnded, S_OK);
        if (!bLast || script.m_bEndsWhenWoken) ResetEvent(m_handover.m_hFrameReady);
        SetEvent(m_handover.m_hFrameTaken);
    }
    else if (bLast && script.m_bEndsStopped)
    {
        m_bOver = true;
        m_events.Add(MESessionEnded, S_OK);
    }
    return m_bOver || (m_bStreamEnded && !script.m_bEnds);
}

void WritingSession::TakePicture()
{
    EnterCriticalSection(&m_handover.m_csPicture);
    const SQmPicBuf& picture = m_handover.m_picHandover;
    Bytes vRows;
    for (std::uint32_t y = 0; y < picture.m_uiHeight; ++y)
    {
        const unsigned char* const pRow = picture.m_pData + std::size_t{y} * picture.m_uiWidthBytes;
        vRows.insert(vRows.end(), pRow, pRow + std::size_t{picture.m_uiWidth} * 2);
    }
    const double dDuration = m_handover.m_dSampleTime;
    const bool bLast = m_handover.m_nEndOfStream != 0;
    LeaveCriticalSection(&m_handover.m_csPicture);

    m_record.NotePicture(std::move(vRows), dDuration);
    m_record.Note(bLast ? "Taken last" : "Taken");
    ++m_nTaken;
    ++m_nTakenSinceStart;
}

WritingSource::WritingSource(WritingRecord& record, WritingSession* pSession) : m_record(record), m_pSession(pSession)
{
    ++m_record.m_nSources;
    if (m_pSession != nullptr) m_pSession->AddRef();
}

WritingSource::~WritingSource()
{
    EXPECT_TRUE(m_bShutDown) << "a source was released without being shut down";
    if (m_pSession != nullptr) m_pSession->Release();
    --m_record.m_nSources;
}

STDMETHODIMP WritingSource::QueryInterface(REFIID, void** ppObject)
{
    *ppObject = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) WritingSource::Release()
{
    const ULONG nLeft = --m_nRefCount;
    if (nLeft == 0) delete this;
    return nLeft;
}

STDMETHODIMP WritingSource::Shutdown()
{
    if (!m_bShutDown.exchange(true)) m_record.Note("Shutdown source");
    if (m_pSession != nullptr) m_pSession->ShutDownSource();
    return S_OK;
}
