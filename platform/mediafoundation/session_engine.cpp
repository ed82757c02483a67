#include "platform/mediafoundation/session_engine.h"

#include <chrono>

#include "mfapi.h"
#include "mferror.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

constexpr LONGLONG PER_MILLISECOND = 10000;  // 100 ns steps

MFTIME SystemTime()
{
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::duration<MFTIME, std::ratio<1, 10000000>>>(sinceStart).count();
}

}  // namespace

SessionEngine::SessionEngine() : m_hrTopology(MF_E_INVALIDREQUEST) {}

SessionEngine::~SessionEngine() = default;

HRESULT SessionEngine::Post(SessionCommand command)
{
    return WithoutExceptions([&] {
        {
            const std::lock_guard lock(m_lock);
            if (m_bShutdown) return MF_E_SHUTDOWN;
            if (!m_thread.joinable())
            {
                m_thread = std::thread([self = shared_from_this()] { self->Run(); });
            }
            m_commands.push_back(std::move(command));
        }
        m_changed.notify_one();
        return S_OK;
    });
}

void SessionEngine::Shutdown()
{
    std::thread ending;
    {
        const std::lock_guard lock(m_lock);
        m_bShutdown = true;
        ending = std::move(m_thread);
    }
    m_events.Shutdown();
    m_changed.notify_all();
    if (!ending.joinable()) return;
    if (ending.get_id() == std::this_thread::get_id())
    {
        ending.detach();
    }
    else
    {
        ending.join();
    }
}

void SessionEngine::Run()
{
    std::optional<SessionCommand> command;
    while (WaitForWork(&command))
    {
        const HRESULT hr = WithoutExceptions([&] {
            if (command)
            {
                Execute(*command);
            }
            else
            {
                Play();
            }
            return S_OK;
        });
        if (FAILED(hr)) EndWithError(hr);
    }
    m_topology.reset();
}

// False when the session has been shut down. No command means that it is time to play on.
bool SessionEngine::WaitForWork(std::optional<SessionCommand>* pCommand)
{
    pCommand->reset();
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_bShutdown || !m_commands.empty() || m_state == State::Started; });
    if (m_bShutdown) return false;
    if (!m_commands.empty())
    {
        *pCommand = std::move(m_commands.front());
        m_commands.pop_front();
    }
    return true;
}

bool SessionEngine::HasCommand()
{
    const std::lock_guard lock(m_lock);
    return m_bShutdown || !m_commands.empty();
}

void SessionEngine::Execute(const SessionCommand& command)
{
    switch (command.m_kind)
    {
    case SessionCommand::Kind::SetTopology:
        return SetTopology(command.m_topology.Get());
    case SessionCommand::Kind::ClearTopologies:
        DropTopology();
        (void)m_events.Add(MESessionTopologiesCleared, S_OK);
        return;
    case SessionCommand::Kind::Start:
        return Start(command.m_position);
    case SessionCommand::Kind::Pause:
        return Pause();
    case SessionCommand::Kind::Stop:
        Stop();
        (void)m_events.Add(MESessionStopped, S_OK);
        return;
    case SessionCommand::Kind::Close:
        DropTopology();
        (void)m_events.Add(MESessionClosed, S_OK);
        return;
    case SessionCommand::Kind::SetRate:
        return SetRate(command.m_fRate);
    }
}

void SessionEngine::DropTopology()
{
    Stop();
    m_topology.reset();
    m_hrTopology = MF_E_INVALIDREQUEST;
    m_pending.reset();
}

void SessionEngine::SetTopology(IMFTopology* pTopology)
{
    DropTopology();
    m_hrTopology = WithoutExceptions([&] { return ResolvedTopology::Resolve(pTopology, &m_topology); });
    (void)m_events.Add(MESessionTopologySet, m_hrTopology);
    if (FAILED(m_hrTopology)) return;

    ComPtr<IMFMediaEvent> event;
    HRESULT hr = MakeEvent(MESessionTopologyStatus, GUID_NULL, S_OK, nullptr, &event);
    if (SUCCEEDED(hr)) hr = event->SetUINT32(MF_EVENT_TOPOLOGY_STATUS, MF_TOPOSTATUS_READY);
    if (SUCCEEDED(hr)) (void)m_events.Add(std::move(event));
}

HRESULT SessionEngine::CheckStart()
{
    if (!m_topology) return m_hrTopology;
    return m_topology->Source().IsShutdown() ? MF_E_SHUTDOWN : S_OK;
}

void SessionEngine::Start(const std::optional<LONGLONG>& position)
{
    const HRESULT hr = CheckStart();
    if (SUCCEEDED(hr))
    {
        const bool bPaused = m_state == State::Paused;
        const bool bGoesOn = !position && m_state != State::Stopped;
        if (!bGoesOn)
        {
            PendingStart pending;
            pending.m_nPosition = position.value_or(0);
            pending.m_bMayGoOn = bPaused && !m_pending;
            pending.m_bRateWasSet = m_bRateWasSet;
            m_pending = pending;
        }
        m_bRateWasSet = false;
        m_state = State::Started;
        IMFSampleGrabberSinkCallback& callback = m_topology->Callback();
        (void)(bPaused && bGoesOn ? callback.OnClockRestart(SystemTime())
                                  : callback.OnClockStart(SystemTime(), position.value_or(0)));
    }
    (void)m_events.Add(MESessionStarted, hr);
}

void SessionEngine::Pause()
{
    HRESULT hr = S_OK;
    switch (m_state)
    {
    case State::Started:
        m_state = State::Paused;
        (void)m_topology->Callback().OnClockPause(SystemTime());
        break;
    case State::Paused:
        // Nothing is paused by this. A good status would be taken for the pause of a start that follows.
        hr = MF_E_INVALIDREQUEST;
        break;
    case State::Stopped:
        hr = MF_E_SESSION_PAUSEWHILESTOPPED;
        break;
    }
    (void)m_events.Add(MESessionPaused, hr);
}

void SessionEngine::Stop()
{
    if (m_state == State::Stopped) return;
    m_state = State::Stopped;
    m_pending.reset();
    (void)m_topology->Callback().OnClockStop(SystemTime());
}

void SessionEngine::SetRate(float fRate)
{
    m_bRateWasSet = true;
    if (m_topology) (void)m_topology->Callback().OnClockSetRate(SystemTime(), fRate);
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_R4;
    value.fltVal = fRate;
    (void)m_events.Add(MESessionRateChanged, GUID_NULL, S_OK, &value);
}

void SessionEngine::Play()
{
    if (m_topology->Source().IsShutdown()) return EndWithError(MF_E_SHUTDOWN);
    SampleReader& reader = m_topology->Reader();
    if (!reader.IsPrepared())
    {
        const HRESULT hr = reader.Prepare();
        return FAILED(hr) ? EndWithError(hr) : void();
    }
    PlaceReader();
    switch (reader.Step())
    {
    case SampleReader::Progress::Working:
        break;
    case SampleReader::Progress::HasSample:
        // A command that came meanwhile goes first: after a pause was asked for, a sample that isn't under way yet
        // waits for the next start.
        if (!HasCommand()) Deliver();
        break;
    case SampleReader::Progress::Ended:
        EndPresentation();
        break;
    case SampleReader::Progress::Failed:
        EndWithError(reader.Status());
        break;
    }
}

// From a position to a picture. A start at the very place where the session was paused goes on there with all that is
// decoded already. If several pictures share the position's millisecond, it is that place as long as no rate was set
// in between: a caller that means to go back to the first of them sets the rate before it starts.
void SessionEngine::PlaceReader()
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
    if (!bGoesOn) reader.StartAt(uiWanted);
}

void SessionEngine::Deliver()
{
    SampleReader& reader = m_topology->Reader();
    const MediaSample& sample = reader.Current();
    const HRESULT hr =
        m_topology->Callback().OnProcessSample(m_topology->MajorType(), 0, sample.m_nTime, sample.m_nDuration,
                                               sample.m_pData, static_cast<DWORD>(sample.m_uiSize));
    reader.MarkDelivered();
    if (FAILED(hr)) EndWithError(hr);
}

void SessionEngine::EndPresentation()
{
    Stop();
    (void)m_events.Add(MEEndOfPresentation, S_OK);
    (void)m_events.Add(MESessionEnded, S_OK);
}

// The error, and the end of playing that it means: a caller that waits for the end need not know of errors.
void SessionEngine::EndWithError(HRESULT hr)
{
    Stop();
    (void)m_events.Add(MEError, hr);
    (void)m_events.Add(MESessionEnded, hr);
}

}  // namespace mediafoundation
