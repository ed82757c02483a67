#include "mp4filesimpl/readworker.h"

#include <algorithm>

#include <mfapi.h>

#include "common/criticalsection.h"
#include "common/saferelease.h"

namespace
{

constexpr std::uint64_t FIRST_WINDOW_END = 47;
constexpr std::int64_t UNITS_PER_MS = 10000;  // positions are in units of 100 ns
constexpr DWORD POLL_MS = 5;
constexpr float SCRUBBING_RATE = 0.0F;
constexpr float PLAYING_RATE = 1.0F;

// Plays that may fail to bring a requested frame nearer before the request is refused. A frame is the first sample of
// the play that looks for it, so one should be enough; two more forgive a pause or an error left from before.
constexpr int MAX_FRUITLESS_PLAYS = 3;

}  // namespace

void CReadWorker::Run()
{
    if (SUCCEEDED(StartFromBeginning()))
    {
        while (WaitWhilePlaying() && ServeRequest())
            m_Plan.m_Store.RestUnlessHostWaits(POLL_MS);
    }
    m_Plan.m_Store.EndPlays();
    m_Plan.m_Session.Stop();  // else it would decode the rest of the file into the store
}

HRESULT CReadWorker::StartFromBeginning()
{
    const CSectionLock play(&m_Plan.m_PlayLock);
    m_Plan.m_Store.BeginFirstPlay(std::min(FIRST_WINDOW_END, LastFrame()), m_Plan.m_uiWidth, m_Plan.m_uiHeight);
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    return m_Plan.m_Session.Start(&GUID_NULL, &varBeginning);
}

// --- events ---

// Takes events until the session doesn't play any more. False when the thread is to end.
bool CReadWorker::WaitWhilePlaying()
{
    while (m_Plan.m_Store.IsPlaying())
    {
        MediaEventType eType = MEUnknown;
        HRESULT hrStatus = S_OK;
        const HRESULT hr = m_Events.Take(INFINITE, m_Plan.m_hEnd, &eType, &hrStatus);
        if (FAILED(hr) || (FAILED(hrStatus) && m_bFirst)) return false;
        if (hr == S_OK)
        {
            m_Plan.m_Store.NoteEvent();
            TakeEvent(eType, hrStatus);
        }
        if (hr != S_OK || m_Plan.m_Store.IsClosing()) m_Plan.m_Store.EndPlay();
        // After a pause a sample may still be on its way into the store. It must not be numbered by the next play.
        if (eType == MESessionPaused || eType == MESessionScrubSampleComplete)
            Sleep(POLL_MS);
        else if (eType != MESessionEnded)
            m_Plan.m_Store.RestUnlessHostWaits(POLL_MS);
    }
    return true;
}

// A play is over when it is paused, ended, or couldn't begin. Ends that arrive before the session has reported that the
// current play began belong to an earlier one.
//
// A session that takes the rate 0 at its word shows the picture at the start position, or nothing, and waits. Its play
// was as long as that. The first one says only that this session needs another rate. It isn't held against the request.
// It may report that before it reports that the play began. Its pictures may still come then, so it is paused. A
// session that refuses the pause rests already.
//
// An error is no end: the session may survive it and deliver on, and those pictures would be numbered from the start of
// the next play. A session that can't continue reports its end as well, or is silent from then on.
void CReadWorker::TakeEvent(MediaEventType eType, HRESULT hrStatus)
{
    EPlayEnd eEnd = EPlayEnd::None;
    switch (eType)
    {
    case MESessionStarted:
        m_bStarted = SUCCEEDED(hrStatus);
        if (!m_bStarted) eEnd = EPlayEnd::Other;
        if (m_bStarted && m_bScrubReported && !PausePlay()) eEnd = NoteScrub();
        break;

    case MESessionPaused:
        if (!m_bStarted) break;
        if (m_bScrubReported)
            eEnd = NoteScrub();
        else if (SUCCEEDED(hrStatus))
            eEnd = EPlayEnd::Paused;
        else
            m_Plan.m_Store.WithdrawPause();
        break;

    case MESessionEnded:
        if (m_bStarted) eEnd = EPlayEnd::Other;
        break;

    case MESessionScrubSampleComplete:
        m_bScrubReported = true;
        if (m_bStarted) eEnd = NoteScrub();
        break;

    default:
        break;
    }
    if (eEnd == EPlayEnd::None) return;
    m_ePlayEnd = eEnd;
    m_bPaused = eEnd == EPlayEnd::Paused;
    m_Plan.m_Store.EndPlay();
}

// False when the session refuses. True also when the pump has asked for the pause already.
bool CReadWorker::PausePlay()
{
    const CSectionLock play(&m_Plan.m_PlayLock);
    m_Plan.m_Store.WantPause();
    return !m_Plan.m_Store.TakePauseRequest() || SUCCEEDED(m_Plan.m_Session.Pause());
}

CReadWorker::EPlayEnd CReadWorker::NoteScrub()
{
    const EPlayEnd eEnd = m_bScrubs ? EPlayEnd::Other : EPlayEnd::FirstScrub;
    m_bScrubs = true;
    return eEnd;
}

// --- requests ---

// With the session at rest: sees to it that the requested frame comes, or more after it when the host is about to run
// out of stored ones. False when the thread is to end.
bool CReadWorker::ServeRequest()
{
    const CSectionLock playLock(&m_Plan.m_PlayLock);
    SPlayDecision decision = {};
    if (!m_Plan.m_Store.BeginPlay([this](const SRestingStore& store) { return Decide(store); }, LastFrame(),
                                  m_Plan.m_uiWidth, m_Plan.m_uiHeight, &decision))
    {
        return false;
    }
    return decision.m_eKind != SPlayDecision::EKind::Play || SUCCEEDED(StartPlay(decision.m_Play));
}

// Called with the store's lock held.
SPlayDecision CReadWorker::Decide(const SRestingStore& store)
{
    JudgeLastPlay(store);
    // Continuing after the tail would drop the frames that a walk back wants next.
    if (store.m_bStored && store.m_bWalksBack) return {SPlayDecision::EKind::Rest, {}};
    if (store.m_bStored && (!store.m_bNearTail || !CanContinueAfterTail(store)))
        return {SPlayDecision::EKind::Rest, {}};
    if (m_nFruitless >= MAX_FRUITLESS_PLAYS)
    {
        return {store.m_bStored ? SPlayDecision::EKind::Rest : SPlayDecision::EKind::Refuse, {}};
    }

    const SPlay play = ChoosePlay(store);
    m_bFirst = false;
    m_bStarted = false;
    m_bScrubReported = false;
    m_uiPlayRequest = store.m_uiRequestNumber;
    m_uiPlayKeepFrom = play.m_uiKeepFrom;
    return {SPlayDecision::EKind::Play, play};
}

// Counts the plays that brought the current request nothing. Without that count, a frame that never comes, or frames
// that the list of times has and the file hasn't, would keep the session starting for ever.
void CReadWorker::JudgeLastPlay(const SRestingStore& store)
{
    const EPlayEnd eEnd = m_ePlayEnd;
    m_ePlayEnd = EPlayEnd::None;
    if (m_uiJudgedRequest != store.m_uiRequestNumber)
    {
        m_uiJudgedRequest = store.m_uiRequestNumber;
        m_nFruitless = 0;
    }
    if (eEnd == EPlayEnd::None || eEnd == EPlayEnd::FirstScrub || m_uiPlayRequest != m_uiJudgedRequest) return;

    // A sample that there was no memory for is numbered and not stored.
    const bool bDelivered = store.m_uiNextFrame > m_uiPlayKeepFrom;
    const bool bKept = store.m_bStored && (!store.m_bNearTail || store.m_uiNewest >= m_uiPlayKeepFrom);
    m_nFruitless = bDelivered && bKept ? 0 : m_nFruitless + 1;
}

// Frames that share a millisecond share a position, and a seek lands on the first of them. It is numbered as that one,
// and the play continues to the requested frame without storing those before it. A session that was paused between the
// two continues from there.
SPlay CReadWorker::ChoosePlay(const SRestingStore& store) const
{
    if (store.m_bStored && store.m_bNearTail) return ContinueAfterTail(store);

    const std::uint64_t uiRequested = store.m_uiRequested;
    if (store.m_bWalksBack && m_nFruitless == 0) return BringFramesBefore(store);
    const std::uint64_t uiFirst = FirstOfMillisecond(uiRequested);
    const std::uint64_t uiNext = store.m_uiNextFrame;
    if (m_bPaused && uiNext > uiFirst && uiNext <= uiRequested)
    {
        return {false, EPlayStart::Resume, uiNext, uiRequested};
    }
    return {false, EPlayStart::Seek, uiFirst, uiRequested};
}

// The requested frame is the last of a window: the session mostly decodes the frames before it anyway.
SPlay CReadWorker::BringFramesBefore(const SRestingStore& store) const
{
    const std::uint64_t uiBefore = std::min<std::uint64_t>(store.m_uiRequested, store.m_uiWindow - 1);
    const std::uint64_t uiKeepFrom = store.m_uiRequested - uiBefore;
    return {false, EPlayStart::Seek, FirstOfMillisecond(uiKeepFrom), uiKeepFrom};
}

std::uint64_t CReadWorker::NextAfterTail(const SRestingStore& store) const
{
    return std::min(LastFrame(), store.m_uiNewest + 1);
}

// In the middle of a millisecond only a session continues that was paused just there. Any other would look for the
// first frame of the millisecond, and old pictures would be taken for new ones.
bool CReadWorker::CanContinueAfterTail(const SRestingStore& store) const
{
    const std::uint64_t uiNext = NextAfterTail(store);
    return (m_bPaused && store.m_uiNextFrame == uiNext) || FirstOfMillisecond(uiNext) == uiNext;
}

// A session that was paused further on, since the store had no memory for its last samples, has to go back.
SPlay CReadWorker::ContinueAfterTail(const SRestingStore& store) const
{
    const std::uint64_t uiNext = NextAfterTail(store);
    EPlayStart eStart = EPlayStart::Position;
    if (m_bPaused && store.m_uiNextFrame != uiNext) eStart = EPlayStart::Seek;
    if (FirstOfMillisecond(uiNext) != uiNext) eStart = EPlayStart::Resume;
    return {true, eStart, uiNext, uiNext};
}

std::uint64_t CReadWorker::FirstOfMillisecond(std::uint64_t uiFrame) const
{
    const std::vector<std::uint64_t>& vTimes = m_Plan.m_vFrameTimesMs;
    const auto itFrame = vTimes.begin() + static_cast<std::ptrdiff_t>(uiFrame);
    return static_cast<std::uint64_t>(std::lower_bound(vTimes.begin(), itFrame, *itFrame) - vTimes.begin());
}

HRESULT CReadWorker::StartPlay(const SPlay& play)
{
    IMFRateControl* pRateControl = SetRateFor(play);
    PROPVARIANT varPosition;
    PropVariantInit(&varPosition);
    if (play.m_eStart != EPlayStart::Resume)
    {
        varPosition.vt = VT_I8;
        varPosition.hVal.QuadPart =
            static_cast<LONGLONG>(m_Plan.m_vFrameTimesMs[play.m_uiStart] * static_cast<std::uint64_t>(UNITS_PER_MS));
    }
    const HRESULT hr = m_Plan.m_Session.Start(&GUID_NULL, &varPosition);
    SafeRelease(&pRateControl);
    return hr;
}

// Returns the rate control, which is the caller's to release after the start, or null.
//
// A seek sets the rate to 0. Once the session has scrubbed it is a rate that plays instead, and the start after the
// first scrub gets it too, whatever kind of start that is.
IMFRateControl* CReadWorker::SetRateFor(const SPlay& play)
{
    const bool bWanted = play.m_eStart == EPlayStart::Seek || (m_bScrubs && !m_bPlayingRateSet);
    IMFRateControl* pRateControl = nullptr;
    if (!bWanted || FAILED(MFGetService(&m_Plan.m_Session, MF_RATE_CONTROL_SERVICE, IID_IMFRateControl,
                                        reinterpret_cast<void**>(&pRateControl))))
    {
        return nullptr;
    }
    // A session that refuses the rate plays as it does then.
    const HRESULT hr = pRateControl->SetRate(FALSE, m_bScrubs ? PLAYING_RATE : SCRUBBING_RATE);
    m_bPlayingRateSet = m_bScrubs && SUCCEEDED(hr);
    return pRateControl;
}
