#include "platform/mediafoundation/reading_player.h"

#include "mferror.h"
#include "platform/mediafoundation/system_time.h"

namespace mediafoundation
{
namespace
{

constexpr LONGLONG PER_MILLISECOND = 10000;  // 100 ns steps

// Longer than a caller takes that asks for the pause as soon as it has the sample.
constexpr std::chrono::milliseconds TIME_FOR_A_PAUSE{5};

}  // namespace

HRESULT ReadingPlayer::Start(const StartRequest& request)
{
    if (m_topology->Source().IsShutdown()) return MF_E_SHUTDOWN;
    const bool bPaused = request.m_state == SessionState::Paused;
    const bool bGoesOn = !request.m_position && request.m_state != SessionState::Stopped;
    if (!bGoesOn)
    {
        PendingStart pending;
        pending.m_nPosition = request.m_position.value_or(0);
        pending.m_bMayGoOn = bPaused && !m_pending;
        pending.m_bRateWasSet = request.m_bRateWasSet;
        m_pending = pending;
    }
    IMFSampleGrabberSinkCallback& callback = m_topology->Callback();
    (void)(bPaused && bGoesOn ? callback.OnClockRestart(SystemTime())
                              : callback.OnClockStart(SystemTime(), request.m_position.value_or(0)));
    (void)m_host.Events().Add(MESessionStarted, S_OK);
    return S_OK;
}

void ReadingPlayer::Pause()
{
    (void)m_topology->Callback().OnClockPause(SystemTime());
}

void ReadingPlayer::Stop()
{
    m_pending.reset();
    (void)m_topology->Callback().OnClockStop(SystemTime());
}

void ReadingPlayer::SetRate(float fRate)
{
    (void)m_topology->Callback().OnClockSetRate(SystemTime(), fRate);
}

bool ReadingPlayer::Play()
{
    SampleReader& reader = m_topology->Reader();
    HRESULT hr = m_topology->Source().IsShutdown() ? MF_E_SHUTDOWN : S_OK;
    if (SUCCEEDED(hr) && !reader.IsPrepared())
    {
        hr = reader.Prepare();
        ReportBuffering(hr == S_FALSE);
        if (SUCCEEDED(hr)) return true;
    }
    if (FAILED(hr))
    {
        m_host.EndWithError(hr);
        return true;
    }
    PlaceReader();
    switch (reader.Step())
    {
    case SampleReader::Progress::Working:
        break;
    case SampleReader::Progress::HasSample:
        // A command that came meanwhile goes first: after a pause was asked for, a sample that isn't under way yet
        // waits for the next start.
        if (!m_host.HasCommand()) Deliver();
        break;
    case SampleReader::Progress::Ended:
        m_host.EndSession();
        break;
    case SampleReader::Progress::Failed:
        m_host.EndWithError(reader.Status());
        break;
    }
    return true;
}

// A file without an index is read whole before its first sample. A caller that judges the session by its events learns
// that it works: there is another event as soon as those before it were taken.
void ReadingPlayer::ReportBuffering(bool bBuffers)
{
    EventQueue& events = m_host.Events();
    if (bBuffers && (!m_bBuffering || events.IsEmpty())) (void)events.Add(MEBufferingStarted, S_OK);
    if (!bBuffers && m_bBuffering) (void)events.Add(MEBufferingStopped, S_OK);
    m_bBuffering = bBuffers;
}

// From a position to a picture. A start at the very place where the session was paused goes on there with all that is
// decoded already. If several pictures share the position's millisecond, it is that place as long as no rate was set
// in between: a caller that means to go back to the first of them sets the rate before it starts.
void ReadingPlayer::PlaceReader()
{
    if (!m_pending) return;
    SampleReader& reader = m_topology->Reader();
    const SampleTable& table = reader.Table();
    const PendingStart pending = *m_pending;
    m_pending.reset();

    const std::uint64_t uiWanted = table.FirstAt(pending.m_nPosition);
    const std::uint64_t uiNext = reader.Next();
    const bool bSameMillisecond =
        uiNext < table.Count() && table.MillisecondsOf(uiNext) == pending.m_nPosition / PER_MILLISECOND;
    const bool bGoesOn = pending.m_bMayGoOn && (uiWanted == uiNext || (bSameMillisecond && !pending.m_bRateWasSet));
    if (bGoesOn) return;
    m_bJumped = uiWanted != uiNext;
    reader.StartAt(uiWanted);
}

// A caller that jumps about uses only the first sample of each play. Decoding that is under way when it asks for the
// pause delays the pause, and so the next play. The decoder is given no other packet before the caller had time to ask.
void ReadingPlayer::Deliver()
{
    SampleReader& reader = m_topology->Reader();
    const MediaSample& sample = reader.Current();
    const HRESULT hr =
        m_topology->Callback().OnProcessSample(m_topology->MajorType(), 0, sample.m_nTime, sample.m_nDuration,
                                               sample.m_pData, static_cast<DWORD>(sample.m_uiSize));
    reader.MarkDelivered();
    if (FAILED(hr)) return m_host.EndWithError(hr);
    if (m_bJumped) m_host.AwaitCommand(TIME_FOR_A_PAUSE);
    m_bJumped = false;
}

}  // namespace mediafoundation
