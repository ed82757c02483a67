// What a media session does, on a thread of its own.
//
// Callers only post commands. The thread executes them one after the other, between two steps of playing, and reports
// the results by events. So no command can wait for itself, even if a callback posts it.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "mfidl.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/event_queue.h"
#include "platform/mediafoundation/graph_player.h"

namespace mediafoundation
{

struct SessionCommand
{
    enum class Kind
    {
        SetTopology,  // m_topology
        ClearTopologies,
        Start,  // m_position; none: go on, or from the beginning
        Pause,
        Stop,
        Close,
        SetRate  // m_fRate
    };
    Kind m_kind = Kind::Stop;
    platform::ComPtr<IMFTopology> m_topology;
    std::optional<LONGLONG> m_position;  // in 100 ns
    float m_fRate = 1.0F;
};

class SessionEngine final : public IPlayerHost, public std::enable_shared_from_this<SessionEngine>
{
public:
    SessionEngine();
    ~SessionEngine();
    SessionEngine(const SessionEngine&) = delete;
    SessionEngine& operator=(const SessionEngine&) = delete;

    EventQueue& Events() override { return m_events; }

    // From any thread. MF_E_SHUTDOWN after Shutdown.
    HRESULT Post(SessionCommand command);

    // Ends every wait for events, and the thread: when it returns, no callback runs or will run. Called from a
    // callback, which can't wait for its own end, it returns at once and the thread ends after the callback. A source
    // that has been shut down isn't called any more either; see SampleRequester for one that hasn't.
    void Shutdown();

private:
    bool HasCommand() override;
    void AwaitCommand(std::chrono::milliseconds time) override;
    void EndSession() override;
    void EndWithError(HRESULT hr) override;
    void PostTask(std::function<void()> task) override;

    void Run();
    void DropTasks();
    std::function<void()> WaitForWork();
    void Execute(const SessionCommand& command);
    void SetTopology(IMFTopology* pTopology);
    void DropTopology();
    void Start(const std::optional<LONGLONG>& position);
    void Pause();
    void Stop();
    void SetRate(float fRate);

    EventQueue m_events;

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<SessionCommand> m_commands;
    std::deque<std::function<void()>> m_tasks;
    bool m_bShutdown = false;
    std::thread m_thread;

    // Of the session's thread alone
    SessionState m_state = SessionState::Stopped;
    std::shared_ptr<GraphPlayer> m_player;
    HRESULT m_hrTopology;  // why there is no player
    bool m_bRateWasSet = false;
    bool m_bMayPlay = false;  // the player may have something to do
};

}  // namespace mediafoundation
