#include "platform/mediafoundation/source_node.h"

#include "mferror.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

HRESULT FindConnected(IMFTopology* pTopology, ComPtr<IMFTopologyNode>* pSource, ComPtr<IMFTopologyNode>* pNext)
{
    WORD wCount = 0;
    HRESULT hr = pTopology->GetNodeCount(&wCount);
    for (WORD i = 0; SUCCEEDED(hr) && i < wCount; ++i)
    {
        ComPtr<IMFTopologyNode> node;
        hr = pTopology->GetNode(i, node.Put());
        MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
        DWORD dwInput = 0;
        if (SUCCEEDED(hr)) hr = node->GetNodeType(&type);
        if (SUCCEEDED(hr) && type == MF_TOPOLOGY_SOURCESTREAM_NODE &&
            SUCCEEDED(node->GetOutput(0, pNext->Put(), &dwInput)))
        {
            *pSource = std::move(node);
            return S_OK;
        }
    }
    return FAILED(hr) ? hr : MF_E_TOPO_MISSING_SOURCE;
}

HRESULT RequireSelected(IMFPresentationDescriptor* pPresentation, DWORD dwStream)
{
    DWORD dwCount = 0;
    HRESULT hr = pPresentation->GetStreamDescriptorCount(&dwCount);
    for (DWORD i = 0; SUCCEEDED(hr) && i < dwCount; ++i)
    {
        BOOL fSelected = FALSE;
        DWORD dwIdentifier = 0;
        ComPtr<IMFStreamDescriptor> stream;
        hr = pPresentation->GetStreamDescriptorByIndex(i, &fSelected, stream.Put());
        if (SUCCEEDED(hr)) hr = stream->GetStreamIdentifier(&dwIdentifier);
        if (SUCCEEDED(hr) && dwIdentifier == dwStream)
        {
            return fSelected ? S_OK : MF_E_TOPO_STREAM_DESCRIPTOR_NOT_SELECTED;
        }
    }
    return FAILED(hr) ? hr : MF_E_TOPO_MISSING_STREAM_DESCRIPTOR;
}

}  // namespace

HRESULT FindSourceNode(IMFTopology* pTopology, SourceNode* pFound)
{
    ComPtr<IMFTopologyNode> node;
    HRESULT hr = FindConnected(pTopology, &node, &pFound->m_next);
    if (FAILED(hr)) return hr;
    if (FAILED(node->GetUnknown(MF_TOPONODE_SOURCE, IID_IMFMediaSource, pFound->m_source.PutVoid())))
    {
        return MF_E_TOPO_MISSING_SOURCE;
    }
    if (FAILED(node->GetUnknown(MF_TOPONODE_PRESENTATION_DESCRIPTOR, IID_IMFPresentationDescriptor,
                                pFound->m_presentation.PutVoid())))
    {
        return MF_E_TOPO_MISSING_PRESENTATION_DESCRIPTOR;
    }
    if (FAILED(node->GetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, IID_IMFStreamDescriptor, pFound->m_stream.PutVoid())))
    {
        return MF_E_TOPO_MISSING_STREAM_DESCRIPTOR;
    }
    hr = pFound->m_stream->GetStreamIdentifier(&pFound->m_dwStream);
    return FAILED(hr) ? hr : RequireSelected(pFound->m_presentation.Get(), pFound->m_dwStream);
}

bool LeavesSink(IMFTopologyNode* pNode)
{
    UINT32 unLeave = 0;
    return SUCCEEDED(pNode->GetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, &unLeave)) && unLeave != 0;
}

}  // namespace mediafoundation
