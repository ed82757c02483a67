#include "scripted_session.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "mp4filesimpl/samplegrabber.h"
#include "numbered_picture.h"

namespace
{

constexpr std::chrono::seconds LONGEST_HOLD{30};

}  // namespace

CScriptedSession::CScriptedSession(SScript script, SampleGrabberCB* pGrabber)
    : m_script(std::move(script)), m_pGrabber(pGrabber), m_player([this] { Run(); })
{}

CScriptedSession::~CScriptedSession()
{
    Shutdown();
}

std::vector<std::string> CScriptedSession::Calls() const
{
    const std::lock_guard lock(m_mtx);
    return m_vCalls;
}

int CScriptedSession::CountCalls(const std::string& strCall) const
{
    const std::vector<std::string> vCalls = Calls();
    return static_cast<int>(std::count(vCalls.begin(), vCalls.end(), strCall));
}

int CScriptedSession::CountStarts() const
{
    const std::lock_guard lock(m_mtx);
    return m_nStarts;
}

STDMETHODIMP CScriptedSession::QueryInterface(REFIID riid, void** ppObject)
{
    *ppObject = nullptr;
    if (riid == IID_IUnknown || riid == IID_IMFMediaSession) *ppObject = static_cast<IMFMediaSession*>(this);
    if (riid == IID_IMFGetService) *ppObject = static_cast<IMFGetService*>(this);
    if (riid == IID_IMFRateControl) *ppObject = static_cast<IMFRateControl*>(this);
    if (*ppObject == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CScriptedSession::Release()
{
    const ULONG nLeft = --m_nRefCount;
    if (nLeft == 0) delete this;
    return nLeft;
}

// --- calls ---

STDMETHODIMP CScriptedSession::SetTopology(DWORD, IMFTopology*)
{
    const std::lock_guard lock(m_mtx);
    m_vCalls.emplace_back("SetTopology");
    return m_script.m_hrSetTopology;
}

STDMETHODIMP CScriptedSession::Start(const GUID*, const PROPVARIANT* pvarPosition)
{
    int nStart = 0;
    {
        const std::lock_guard lock(m_mtx);
        nStart = m_nStarts++;
    }
    m_script.m_fnOnStart(nStart);

    const std::lock_guard lock(m_mtx);
    const HRESULT hr = m_bShutDown ? MF_E_SHUTDOWN : m_script.m_fnStart(nStart);
    std::size_t uiPicture = 0;
    if (pvarPosition->vt == VT_I8)
    {
        const auto uiTime = static_cast<std::uint64_t>(pvarPosition->hVal.QuadPart / 10000);
        m_vCalls.push_back("Start " + std::to_string(uiTime));
        const std::vector<std::uint64_t>& vTimes = m_script.m_vTimesMs;
        uiPicture = static_cast<std::size_t>(std::lower_bound(vTimes.begin(), vTimes.end(), uiTime) - vTimes.begin());
    }
    else
    {
        m_vCalls.emplace_back(m_bPaused ? "Resume" : "Start");
        if (m_bPaused) uiPicture = m_uiNext;
    }
    if (FAILED(hr)) return hr;
    m_commands.push_back({ECommand::Seek, uiPicture, nStart, m_bRateIs0 && m_script.m_nScrubbed >= 0});
    m_cv.notify_all();
    return hr;
}

STDMETHODIMP CScriptedSession::Pause()
{
    const std::lock_guard lock(m_mtx);
    m_vCalls.emplace_back("Pause");
    const int nPause = m_nPauses++;
    const HRESULT hr = m_script.m_fnPause(nPause);
    if (FAILED(hr)) return hr;
    m_commands.push_back({ECommand::Pause, 0, nPause, false});
    m_cv.notify_all();
    return hr;
}

STDMETHODIMP CScriptedSession::Stop()
{
    const std::lock_guard lock(m_mtx);
    m_vCalls.emplace_back("Stop");
    if (FAILED(m_script.m_hrStop)) return m_script.m_hrStop;
    m_commands.push_back({ECommand::Stop, 0, 0, false});
    m_cv.notify_all();
    return S_OK;
}

STDMETHODIMP CScriptedSession::Shutdown()
{
    {
        const std::lock_guard lock(m_mtx);
        if (!m_bShutDown)
        {
            m_vCalls.emplace_back("Shutdown");
            m_script.m_fnOnShutdown();
        }
        m_bShutDown = true;
        m_cv.notify_all();
    }
    m_events.Shutdown();
    if (m_player.joinable()) m_player.join();
    return S_OK;
}

STDMETHODIMP CScriptedSession::GetService(REFGUID guidService, REFIID riid, LPVOID* ppObject)
{
    *ppObject = nullptr;
    if (guidService != MF_RATE_CONTROL_SERVICE || m_script.m_bNoRates) return MF_E_UNSUPPORTED_SERVICE;
    return QueryInterface(riid, ppObject);
}

STDMETHODIMP CScriptedSession::SetRate(BOOL, float fRate)
{
    const std::lock_guard lock(m_mtx);
    m_vCalls.push_back("SetRate " + std::to_string(static_cast<int>(fRate)));
    if (fRate == 0.0F || !m_script.m_bKeepsRate) m_bRateIs0 = fRate == 0.0F;
    return S_OK;
}

// --- events ---

void CScriptedSession::Report(MediaEventType eType, HRESULT hrStatus)
{
    if (m_script.m_bMute || (m_script.m_bSilent && eType != MESessionStopped)) return;
    m_events.Add(eType, hrStatus);
}

void CScriptedSession::WaitUntilEventsAreTaken()
{
    while (!m_events.AreTaken())
        Sleep(1);
}

void CScriptedSession::WaitUntilStuckAfter(const std::string& strCall)
{
    const auto IsStuck = [&] {
        const std::lock_guard lock(m_mtx);
        return m_bStuck && m_commands.empty() && std::find(m_vCalls.begin(), m_vCalls.end(), strCall) != m_vCalls.end();
    };
    while (!IsStuck())
        Sleep(1);
    WaitUntilEventsAreTaken();
}

void CScriptedSession::GoOn()
{
    const std::lock_guard lock(m_mtx);
    m_bGoesOn = true;
    m_cv.notify_all();
}

// --- the player ---

void CScriptedSession::Run()
{
    std::unique_lock lock(m_mtx);
    const auto HasWork = [this] { return m_bShutDown || !m_commands.empty(); };
    const auto IsStuck = [this] { return m_uiNext >= m_script.m_uiStuckAt && !m_bGoesOn; };
    while (!m_bShutDown)
    {
        if (!m_commands.empty())
        {
            const SCommand command = m_commands.front();
            m_commands.pop_front();
            lock.unlock();
            m_bHeld = false;
            Obey(command);
            lock.lock();
        }
        else if (m_bPlaying && IsStuck())
        {
            m_bStuck = true;
            m_cv.wait(lock, [&] { return HasWork() || !IsStuck(); });
            m_bStuck = false;
        }
        else if (m_bPlaying && !m_bHeld)
        {
            const std::size_t uiPicture = m_uiNext;
            lock.unlock();
            DeliverNext();
            m_bHeld = m_bPlaying && m_script.m_fnHold(uiPicture);
            lock.lock();
            if (!m_bHeld) m_cv.wait_for(lock, m_script.m_pace, HasWork);
        }
        else if (m_bPlaying)
        {
            m_bHeld = m_cv.wait_for(lock, LONGEST_HOLD, HasWork);
            if (!m_bHeld) ADD_FAILURE() << "no call came after picture " << m_uiNext - 1;
        }
        else
        {
            m_cv.wait(lock, HasWork);
        }
    }
}

void CScriptedSession::Obey(const SCommand& command)
{
    switch (command.m_eCommand)
    {
    case ECommand::Seek: {
        for (const MediaEventType eStale : m_script.m_fnStale(command.m_nNumber))
            Report(eStale, S_OK);
        if (command.m_bScrubs && m_script.m_bScrubReportFirst) Report(MESessionScrubSampleComplete, S_OK);
        const HRESULT hrStarted = m_script.m_fnStarted(command.m_nNumber);
        Report(MESessionStarted, hrStarted);
        m_bPlaying = SUCCEEDED(hrStarted);
        m_bScrubbed = m_bPlaying && command.m_bScrubs;
        {
            const std::lock_guard lock(m_mtx);
            m_uiNext = command.m_uiPicture;
            m_bPaused = false;
        }
        if (m_bScrubbed) Scrub();
        break;
    }

    case ECommand::Pause: {
        for (int i = 0; i < m_script.m_nLate && m_bPlaying; ++i)
            DeliverNext();
        if (m_bScrubbed && m_script.m_bScrubReportFirst) DeliverScrubbed();
        const HRESULT hrPaused =
            m_bPlaying || m_bScrubbed ? m_script.m_fnPaused(command.m_nNumber) : MF_E_SESSION_PAUSEWHILESTOPPED;
        if (SUCCEEDED(hrPaused)) m_bPlaying = false;
        {
            const std::lock_guard lock(m_mtx);
            m_bPaused = SUCCEEDED(hrPaused);
        }
        Report(MESessionPaused, hrPaused);
        break;
    }

    case ECommand::Stop:
        m_bPlaying = false;
        Report(MESessionStopped, S_OK);
        break;
    }
}

void CScriptedSession::Scrub()
{
    m_bPlaying = false;
    if (m_script.m_bScrubReportFirst) return;
    DeliverScrubbed();
    Report(MESessionScrubSampleComplete, S_OK);
}

void CScriptedSession::DeliverScrubbed()
{
    for (int i = 0; i < m_script.m_nScrubbed; ++i)
        DeliverNext();
}

void CScriptedSession::DeliverNext()
{
    std::size_t uiPicture = 0;
    {
        const std::lock_guard lock(m_mtx);
        uiPicture = m_uiNext;
    }
    if (uiPicture >= m_script.m_vTimesMs.size())
    {
        m_bPlaying = false;
        Report(MESessionEnded, S_OK);
        return;
    }
    const std::uint32_t uiNumber = m_script.m_uiFirstNumber + static_cast<std::uint32_t>(uiPicture);
    const std::vector<unsigned char> vSample = MakeNumberedSample(m_script.m_uiWidth, m_script.m_uiHeight, uiNumber);
    const std::size_t uiBytes = uiPicture == m_script.m_uiShortSample ? vSample.size() / 2 : vSample.size();
    {
        const std::lock_guard lock(m_mtx);
        m_uiNext = uiPicture + 1;
    }
    ++m_uiDelivered;
    m_pGrabber->OnProcessSample(MFMediaType_Video, 0, 0, 0, vSample.data(), static_cast<DWORD>(uiBytes));
}
