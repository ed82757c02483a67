#include "mp4filesimpl/readworker.h"

#include <algorithm>

#include <mfapi.h>

#include "common/saferelease.h"

namespace
{

constexpr std::uint64_t FIRST_WINDOW_END = 47;
constexpr std::int64_t HNS_PER_MS = 10000;
constexpr DWORD POLL_MS = 5;

// Plays that may fail to bring a requested frame nearer before the request is given up. A frame is the first sample of
// the play that looks for it, so one ought to do; two more forgive a pause or an error left from before.
constexpr int MAX_FRUITLESS_PLAYS = 3;

}  // namespace

void CReadWorker::Run()
{
    if (SUCCEEDED(StartFromBeginning()))
    {
        while (WaitWhilePlaying() && ServeRequest())
            Sleep(POLL_MS);
    }
    CGrabberLock lock(m_graph.m_pGrabber);
    m_graph.m_pGrabber->m_nRunning = 0;
    m_graph.m_pGrabber->m_bWorkerEnded = true;
    SetEvent(m_graph.m_pGrabber->m_hFrameReady);
}

HRESULT CReadWorker::StartFromBeginning()
{
    const std::lock_guard play(m_graph.m_mtxPlay);
    {
        CGrabberLock lock(m_graph.m_pGrabber);
        const std::uint64_t uiEnd = std::min(FIRST_WINDOW_END, LastFrame());
        m_graph.m_pGrabber->SetWindow(0, 0, uiEnd, uiEnd, m_graph.m_uiWidth, m_graph.m_uiHeight);
        m_graph.m_pGrabber->m_nRunning = 1;
    }
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    return m_graph.m_pSession->Start(&GUID_NULL, &varBeginning);
}

// --- events ---

// Takes events until the session doesn't play any more. False when the thread is to end.
bool CReadWorker::WaitWhilePlaying()
{
    std::atomic<std::int32_t>& nRunning = m_graph.m_pGrabber->m_nRunning;
    while (nRunning != 0)
    {
        IMFMediaEvent* pEvent = nullptr;
        HRESULT hrStatus = S_OK;
        MediaEventType eType = MEUnknown;
        HRESULT hr = m_graph.m_pSession->GetEvent(0, &pEvent);
        if (SUCCEEDED(hr)) hr = pEvent->GetStatus(&hrStatus);
        if (SUCCEEDED(hr)) hr = pEvent->GetType(&eType);
        SafeRelease(&pEvent);
        if (FAILED(hr) || (FAILED(hrStatus) && m_bFirst)) return false;

        TakeEvent(eType, hrStatus);
        if (m_graph.m_bStop) nRunning = 0;
        if (eType != MESessionEnded) Sleep(POLL_MS);
    }
    return true;
}

// A play is over when it is paused, ended, or couldn't begin. Ends that arrive before the session has told that the
// current play began belong to an earlier one.
void CReadWorker::TakeEvent(MediaEventType eType, HRESULT hrStatus)
{
    SampleGrabberCB* pGrabber = m_graph.m_pGrabber;
    EPlayEnd eEnd = EPlayEnd::None;
    switch (eType)
    {
    case MESessionStarted:
        m_bStarted = SUCCEEDED(hrStatus);
        if (!m_bStarted) eEnd = EPlayEnd::Other;
        break;

    case MESessionPaused:
        if (!m_bStarted) break;
        if (SUCCEEDED(hrStatus))
        {
            eEnd = EPlayEnd::Paused;
            break;
        }
        {
            CGrabberLock lock(pGrabber);
            pGrabber->m_ePause = EPauseState::NotWanted;  // it plays on, and the next sample asks again
        }
        break;

    case MESessionEnded:
        if (m_bStarted) eEnd = EPlayEnd::Other;
        break;

    case MEError:
        eEnd = EPlayEnd::Other;
        break;

    default:
        break;
    }
    if (eEnd == EPlayEnd::None) return;
    m_ePlayEnd = eEnd;
    m_bPaused = eEnd == EPlayEnd::Paused;
    pGrabber->m_nRunning = 0;
}

// --- requests ---

// With the session at rest: sees to it that the requested frame comes, or more behind it when the host is about to run
// out of stored ones. False when the thread is to end.
bool CReadWorker::ServeRequest()
{
    SampleGrabberCB* pGrabber = m_graph.m_pGrabber;
    const std::lock_guard playLock(m_graph.m_mtxPlay);
    CGrabberLock lock(pGrabber);
    if (m_graph.m_bStop)
    {
        lock.Release();
        m_graph.m_pSession->Stop();
        return false;
    }

    const SQmGrabbedFrame* pRequested = pGrabber->FindFrame(pGrabber->m_uiRequested);
    if (pRequested != nullptr) SetEvent(pGrabber->m_hFrameReady);
    JudgeLastPlay(pRequested != nullptr);

    const std::uint32_t uiWindow = pGrabber->GetWindowSize();
    const bool bNearTail = pGrabber->IsNearTail(static_cast<std::uint32_t>(pGrabber->m_uiRequested), uiWindow,
                                                static_cast<std::uint32_t>(LastFrame()));
    if (pRequested != nullptr && (!bNearTail || !CanGoOnBehindTail())) return true;
    if (m_nFruitless >= MAX_FRUITLESS_PLAYS)
    {
        if (pRequested == nullptr)
        {
            pGrabber->m_bRequestFailed = true;
            SetEvent(pGrabber->m_hFrameReady);
        }
        return true;
    }

    const SPlay play = ChoosePlay(pRequested, bNearTail);
    SetUpPlay(play, uiWindow);
    lock.Release();
    return SUCCEEDED(StartPlay(play));
}

// Counts the plays that brought the current request nothing, so that a frame that never comes, or frames that the list
// of times promises and the file hasn't got, don't keep the session starting for ever.
void CReadWorker::JudgeLastPlay(bool bFrameStored)
{
    const SampleGrabberCB* pGrabber = m_graph.m_pGrabber;
    const EPlayEnd eEnd = m_ePlayEnd;
    m_ePlayEnd = EPlayEnd::None;
    if (m_uiJudgedRequest != pGrabber->m_uiRequestNumber)
    {
        m_uiJudgedRequest = pGrabber->m_uiRequestNumber;
        m_nFruitless = 0;
        m_bResumable = false;
    }
    if (eEnd == EPlayEnd::None || m_uiPlayRequest != m_uiJudgedRequest) return;

    const std::uint64_t uiNext = pGrabber->m_uiNextFrame;
    const bool bDelivered = uiNext > m_uiPlayStart;
    m_bResumable = !bFrameStored && bDelivered && eEnd == EPlayEnd::Paused && uiNext <= pGrabber->m_uiRequested;
    if (bDelivered && bFrameStored)
        m_nFruitless = 0;
    else if (!m_bResumable)
        ++m_nFruitless;
}

// Frames that share a millisecond share a position, and a seek lands on the first of them. It is numbered as that one,
// and the play goes on from it to the requested frame, in several plays if they are more than the store may hold: the
// ones after the first resume where the session was paused.
CReadWorker::SPlay CReadWorker::ChoosePlay(const SQmGrabbedFrame* pRequested, bool bNearTail) const
{
    const SampleGrabberCB* pGrabber = m_graph.m_pGrabber;
    const std::vector<std::uint64_t>& vTimes = m_graph.m_vFrameTimesMs;
    if (pRequested != nullptr && bNearTail)
    {
        return {true, false, NextBehindTail()};
    }
    const std::uint64_t uiRequested = pGrabber->m_uiRequested;
    if (m_bResumable && vTimes[pGrabber->m_uiNextFrame] == vTimes[uiRequested])
    {
        return {false, false, pGrabber->m_uiNextFrame};
    }
    std::uint64_t uiFirst = uiRequested;
    while (uiFirst > 0 && vTimes[uiFirst - 1] == vTimes[uiRequested])
        --uiFirst;
    return {false, true, uiFirst};
}

std::uint64_t CReadWorker::NextBehindTail() const
{
    return std::min(LastFrame(), m_graph.m_pGrabber->m_lstFrames.back()->m_uiFrameIndex + 1);
}

// Only a paused session goes on in the middle of a millisecond; one that ended would look for its first frame again,
// and old pictures would be taken for new ones.
bool CReadWorker::CanGoOnBehindTail() const
{
    const std::uint64_t uiNext = NextBehindTail();
    const std::vector<std::uint64_t>& vTimes = m_graph.m_vFrameTimesMs;
    return m_bPaused || uiNext == 0 || vTimes[uiNext - 1] != vTimes[uiNext];
}

// Makes the grabber ready for a play. The caller holds its lock.
void CReadWorker::SetUpPlay(const SPlay& play, std::uint32_t uiWindow)
{
    SampleGrabberCB* pGrabber = m_graph.m_pGrabber;
    std::uint64_t uiEnd = std::min(LastFrame(), play.m_uiStart + uiWindow);
    if (pGrabber->m_uiWindowStart > pGrabber->m_uiRequested) uiEnd = play.m_uiStart;

    if (!play.m_bNearTail) pGrabber->ClearFrames(0);
    pGrabber->SetWindow(pGrabber->m_uiRequested, play.m_uiStart, uiEnd, LastFrame(), m_graph.m_uiWidth,
                        m_graph.m_uiHeight);
    if (play.m_bNearTail) pGrabber->TrimFrames();

    pGrabber->m_nRunning = 1;
    pGrabber->m_ePause = EPauseState::NotWanted;
    if (!m_graph.m_bStop) ResetEvent(pGrabber->m_hPauseRequest);

    m_bFirst = false;
    m_bStarted = false;
    m_uiPlayRequest = pGrabber->m_uiRequestNumber;
    m_uiPlayStart = play.m_uiStart;
}

HRESULT CReadWorker::StartPlay(const SPlay& play)
{
    IMFRateControl* pRateControl = nullptr;
    if (play.m_bSeek && SUCCEEDED(MFGetService(m_graph.m_pSession, MF_RATE_CONTROL_SERVICE, IID_IMFRateControl,
                                               reinterpret_cast<void**>(&pRateControl))))
    {
        pRateControl->SetRate(FALSE, 0.0F);  // not examined: a session without rates plays as it does
    }

    PROPVARIANT varPosition;
    PropVariantInit(&varPosition);
    varPosition.vt = VT_I8;
    varPosition.hVal.QuadPart =
        static_cast<LONGLONG>(m_graph.m_vFrameTimesMs[play.m_uiStart] * static_cast<std::uint64_t>(HNS_PER_MS));
    const HRESULT hr = m_graph.m_pSession->Start(&GUID_NULL, &varPosition);
    SafeRelease(&pRateControl);
    return hr;
}
