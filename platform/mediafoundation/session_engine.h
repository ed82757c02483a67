// What a media session does, on a thread of its own.
//
// Callers only post commands. The thread executes them one after the other, between two steps of playing, and reports
// the results by events. So no command can wait for itself, even if a callback posts it.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "mfidl.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/event_queue.h"
#include "platform/mediafoundation/resolved_topology.h"

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

class SessionEngine : public std::enable_shared_from_this<SessionEngine>
{
public:
    SessionEngine();
    ~SessionEngine();
    SessionEngine(const SessionEngine&) = delete;
    SessionEngine& operator=(const SessionEngine&) = delete;

    EventQueue& Events() { return m_events; }

    // From any thread. MF_E_SHUTDOWN after Shutdown.
    HRESULT Post(SessionCommand command);

    // Ends every wait for events, and the thread: when it returns, no callback runs or will run. Called from a
    // callback, which can't wait for its own end, it returns at once and the thread ends after the callback.
    void Shutdown();

private:
    enum class State
    {
        Stopped,
        Started,
        Paused
    };

    // A start whose place can be worked out only once the stream's samples are known.
    struct PendingStart
    {
        LONGLONG m_nPosition = 0;
        bool m_bMayGoOn = false;     // the session was paused at a known picture
        bool m_bRateWasSet = false;  // since the start before
    };

    void Run();
    bool WaitForWork(std::optional<SessionCommand>* pCommand);
    bool HasCommand();
    void Execute(const SessionCommand& command);
    void SetTopology(IMFTopology* pTopology);
    void DropTopology();
    void Start(const std::optional<LONGLONG>& position);
    HRESULT CheckStart();
    void Pause();
    void Stop();
    void SetRate(float fRate);

    void Play();
    void PlaceReader();
    void Deliver();
    void EndPresentation();
    void EndWithError(HRESULT hr);

    EventQueue m_events;

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<SessionCommand> m_commands;
    bool m_bShutdown = false;
    std::thread m_thread;

    // Of the session's thread alone
    State m_state = State::Stopped;
    std::unique_ptr<ResolvedTopology> m_topology;
    HRESULT m_hrTopology;
    std::optional<PendingStart> m_pending;
    bool m_bRateWasSet = false;
};

}  // namespace mediafoundation
