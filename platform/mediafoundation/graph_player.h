// What a session does with one topology.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "mfidl.h"
#include "platform/mediafoundation/event_queue.h"

namespace mediafoundation
{

enum class SessionState
{
    Stopped,
    Started,
    Paused
};

// The session, as its player sees it. All but PostTask is for the session's thread alone.
class IPlayerHost
{
public:
    virtual EventQueue& Events() = 0;
    // Whether a command waits for its turn, or the session is being shut down.
    virtual bool HasCommand() = 0;
    // Returns when there is such a command, or after that time. A task that is posted doesn't end the wait.
    virtual void AwaitCommand(std::chrono::milliseconds time) = 0;
    // Stops the player, and reports the end of the presentation, which MEEndOfPresentation precedes.
    virtual void EndSession() = 0;
    // Stops the player, and reports the error and the end of playing that it means: a caller that waits for the end
    // need not know of errors.
    virtual void EndWithError(HRESULT hr) = 0;
    // From any thread: task runs on the session's thread, before the next command. Dropped after the shut-down.
    virtual void PostTask(std::function<void()> task) = 0;

protected:
    ~IPlayerHost() = default;
};

// Every operation is called on the session's thread. The destructor releases everything of the topology.
class GraphPlayer
{
public:
    virtual ~GraphPlayer() = default;

    struct StartRequest
    {
        SessionState m_state = SessionState::Stopped;  // of the session so far
        std::optional<LONGLONG> m_position;            // in 100 ns; none: go on, or from the beginning
        bool m_bRateWasSet = false;                    // since the start before
    };
    // Reports MESessionStarted, at once or when it has started. A failing result changes nothing and reports nothing.
    virtual HRESULT Start(const StartRequest& request) = 0;
    virtual void Pause() = 0;  // while it plays
    virtual void Stop() = 0;   // while it plays or is paused
    virtual void SetRate(float fRate) = 0;

    // False while a start is under way: commands wait for its end.
    virtual bool AcceptsCommands() const { return true; }

    // One step of playing, while the session is started. False if there is nothing to do before the next task or
    // command.
    virtual bool Play() = 0;
};

// A player for the topology: the platform's source of a file plays into a callback, any other source through an encoder
// into a sink. The player uses the host without a counted reference, since the host owns it.
HRESULT MakePlayer(IMFTopology* pTopology, const std::shared_ptr<IPlayerHost>& host,
                   std::shared_ptr<GraphPlayer>* pPlayer);

}  // namespace mediafoundation
