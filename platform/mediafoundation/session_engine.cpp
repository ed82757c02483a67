#include "platform/mediafoundation/session_engine.h"

#include "mfapi.h"
#include "mferror.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation
{

using platform::ComPtr;

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

void SessionEngine::PostTask(std::function<void()> task)
{
    {
        const std::lock_guard lock(m_lock);
        if (m_bShutdown) return;
        m_tasks.push_back(std::move(task));
    }
    m_changed.notify_one();
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
    for (bool bShutdown = false; !bShutdown;)
    {
        // Memory may be missing for taking up the work, too.
        const HRESULT hr = WithoutExceptions([&] {
            const std::function<void()> work = WaitForWork();
            bShutdown = !work;
            if (work) work();
            return S_OK;
        });
        if (FAILED(hr)) EndWithError(hr);
    }
    m_player.reset();
    DropTasks();
}

// One at a time, and without the lock: what a task holds may need it.
void SessionEngine::DropTasks()
{
    for (;;)
    {
        std::function<void()> dropped;
        const std::lock_guard lock(m_lock);
        if (m_tasks.empty()) return;
        dropped = std::move(m_tasks.front());
        m_tasks.pop_front();
    }
}

// Nothing when the session has been shut down. Tasks come first, then commands, then playing.
std::function<void()> SessionEngine::WaitForWork()
{
    std::unique_lock lock(m_lock);
    const bool bCommands = !m_player || m_player->AcceptsCommands();
    const bool bPlay = m_bMayPlay && m_state == SessionState::Started;
    m_changed.wait(lock,
                   [&] { return m_bShutdown || !m_tasks.empty() || (bCommands && !m_commands.empty()) || bPlay; });
    if (m_bShutdown) return nullptr;
    if (!m_tasks.empty())
    {
        std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        m_bMayPlay = true;
        return task;
    }
    if (bCommands && !m_commands.empty())
    {
        SessionCommand command = std::move(m_commands.front());
        m_commands.pop_front();
        m_bMayPlay = true;
        return [this, command] { Execute(command); };
    }
    return [this] { m_bMayPlay = m_player->Play(); };
}

bool SessionEngine::HasCommand()
{
    const std::lock_guard lock(m_lock);
    return m_bShutdown || !m_commands.empty();
}

void SessionEngine::AwaitCommand(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_lock);
    (void)m_changed.wait_for(lock, time, [this] { return m_bShutdown || !m_commands.empty(); });
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
    m_player.reset();
    m_hrTopology = MF_E_INVALIDREQUEST;
}

void SessionEngine::SetTopology(IMFTopology* pTopology)
{
    DropTopology();
    m_hrTopology = WithoutExceptions([&] { return MakePlayer(pTopology, shared_from_this(), &m_player); });
    (void)m_events.Add(MESessionTopologySet, m_hrTopology);
    if (FAILED(m_hrTopology)) return;

    ComPtr<IMFMediaEvent> event;
    HRESULT hr = MakeEvent(MESessionTopologyStatus, GUID_NULL, S_OK, nullptr, &event);
    if (SUCCEEDED(hr)) hr = event->SetUINT32(MF_EVENT_TOPOLOGY_STATUS, MF_TOPOSTATUS_READY);
    if (SUCCEEDED(hr)) (void)m_events.Add(std::move(event));
}

void SessionEngine::Start(const std::optional<LONGLONG>& position)
{
    const HRESULT hr = m_player ? m_player->Start({m_state, position, m_bRateWasSet}) : m_hrTopology;
    if (FAILED(hr))
    {
        (void)m_events.Add(MESessionStarted, hr);
        return;
    }
    m_bRateWasSet = false;
    m_state = SessionState::Started;
}

void SessionEngine::Pause()
{
    HRESULT hr = S_OK;
    switch (m_state)
    {
    case SessionState::Started:
        m_state = SessionState::Paused;
        m_player->Pause();
        break;
    case SessionState::Paused:
        // Nothing is paused by this. A good status would be taken for the pause of a start that follows.
        hr = MF_E_INVALIDREQUEST;
        break;
    case SessionState::Stopped:
        hr = MF_E_SESSION_PAUSEWHILESTOPPED;
        break;
    }
    (void)m_events.Add(MESessionPaused, hr);
}

void SessionEngine::Stop()
{
    if (m_state == SessionState::Stopped) return;
    m_state = SessionState::Stopped;
    m_player->Stop();
}

void SessionEngine::SetRate(float fRate)
{
    m_bRateWasSet = true;
    if (m_player) m_player->SetRate(fRate);
    PROPVARIANT value;
    PropVariantInit(&value);
    value.vt = VT_R4;
    value.fltVal = fRate;
    (void)m_events.Add(MESessionRateChanged, GUID_NULL, S_OK, &value);
}

void SessionEngine::EndSession()
{
    Stop();
    (void)m_events.Add(MEEndOfPresentation, S_OK);
    (void)m_events.Add(MESessionEnded, S_OK);
}

void SessionEngine::EndWithError(HRESULT hr)
{
    Stop();
    (void)m_events.Add(MEError, hr);
    (void)m_events.Add(MESessionEnded, hr);
}

}  // namespace mediafoundation
