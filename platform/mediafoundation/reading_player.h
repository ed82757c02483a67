// Plays a file into a callback.
#pragma once

#include "platform/mediafoundation/graph_player.h"
#include "platform/mediafoundation/resolved_topology.h"

namespace mediafoundation
{

class ReadingPlayer final : public GraphPlayer
{
public:
    // The host owns the player.
    ReadingPlayer(std::unique_ptr<ResolvedTopology> topology, IPlayerHost& host)
        : m_topology(std::move(topology)), m_host(host)
    {}

    HRESULT Start(const StartRequest& request) override;
    void Pause() override;
    void Stop() override;
    void SetRate(float fRate) override;
    bool Play() override;

private:
    // A start whose place can be worked out only once the stream's samples are known.
    struct PendingStart
    {
        LONGLONG m_nPosition = 0;
        bool m_bMayGoOn = false;     // the session was paused at a known picture
        bool m_bRateWasSet = false;  // since the start before
    };

    void ReportBuffering(bool bBuffers);
    void PlaceReader();
    void Deliver();

    const std::unique_ptr<ResolvedTopology> m_topology;
    IPlayerHost& m_host;
    std::optional<PendingStart> m_pending;
    bool m_bJumped = false;     // the reader was sent to another place, and no sample was taken since then
    bool m_bBuffering = false;  // as was last reported
};

}  // namespace mediafoundation
