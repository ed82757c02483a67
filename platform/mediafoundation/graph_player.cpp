#include "platform/mediafoundation/graph_player.h"

#include "platform/mediafoundation/reading_player.h"
#include "platform/mediafoundation/source_node.h"
#include "platform/mediafoundation/writing/writing_player.h"

namespace mediafoundation
{

HRESULT MakePlayer(IMFTopology* pTopology, const std::shared_ptr<IPlayerHost>& host,
                   std::shared_ptr<GraphPlayer>* pPlayer)
{
    SourceNode node;
    HRESULT hr = FindSourceNode(pTopology, &node);
    if (FAILED(hr)) return hr;
    if (!node.m_source.As<IFileSource>()) return WritingPlayer::Create(node, host, pPlayer);
    std::unique_ptr<ResolvedTopology> topology;
    hr = ResolvedTopology::Resolve(node, &topology);
    if (SUCCEEDED(hr)) *pPlayer = std::make_shared<ReadingPlayer>(std::move(topology), *host);
    return hr;
}

}  // namespace mediafoundation
