#include "common/sourcenode.h"

#include <mfapi.h>

#include "common/modulestate.h"

HRESULT AddSourceNode(IMFTopology* pTopology, IMFMediaSource* pSource, IMFPresentationDescriptor* pPresentation,
                      IMFStreamDescriptor* pStream, IMFTopologyNode** ppNode)
{
    HRESULT hr = MFCreateTopologyNode(MF_TOPOLOGY_SOURCESTREAM_NODE, ppNode);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUnknown(MF_TOPONODE_SOURCE, pSource);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUnknown(MF_TOPONODE_PRESENTATION_DESCRIPTOR, pPresentation);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, pStream);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUINT32(MF_TOPONODE_WORKQUEUE_ID, g_uiInputFileCount);
    if (SUCCEEDED(hr)) hr = pTopology->AddNode(*ppNode);
    return hr;
}
