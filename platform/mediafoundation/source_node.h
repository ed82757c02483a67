// Where a topology begins.
#pragma once

#include "mfidl.h"
#include "platform/com/com_ptr.h"

namespace mediafoundation
{

struct SourceNode
{
    platform::ComPtr<IMFMediaSource> m_source;
    platform::ComPtr<IMFPresentationDescriptor> m_presentation;
    platform::ComPtr<IMFStreamDescriptor> m_stream;
    DWORD m_dwStream = 0;                      // its identifier
    platform::ComPtr<IMFTopologyNode> m_next;  // the node that takes its samples
};

// The first source node that is connected, with a stream that is selected. MF_E_TOPO_ statuses for what is missing.
HRESULT FindSourceNode(IMFTopology* pTopology, SourceNode* pFound);

// MF_TOPONODE_NOSHUTDOWN_ON_REMOVE of an output node.
bool LeavesSink(IMFTopologyNode* pNode);

}  // namespace mediafoundation
