#include "mp4_outputfile/writetopology.h"

#include <mfapi.h>

#include "common/saferelease.h"
#include "common/sourcenode.h"

namespace
{

// S_OK with the stream, S_FALSE without one.
HRESULT SelectVideoStream(IMFPresentationDescriptor* pPresentation, IMFStreamDescriptor** ppStream)
{
    DWORD dwStreams = 0;
    HRESULT hr = pPresentation->GetStreamDescriptorCount(&dwStreams);
    for (DWORD dwStream = 0; SUCCEEDED(hr) && dwStream < dwStreams; ++dwStream)
    {
        BOOL bSelected = FALSE;
        IMFStreamDescriptor* pStream = nullptr;
        IMFMediaTypeHandler* pHandler = nullptr;
        GUID guidMajorType = GUID_NULL;
        hr = pPresentation->GetStreamDescriptorByIndex(dwStream, &bSelected, &pStream);
        if (SUCCEEDED(hr)) hr = pStream->GetMediaTypeHandler(&pHandler);
        if (SUCCEEDED(hr)) hr = pHandler->GetMajorType(&guidMajorType);
        SafeRelease(&pHandler);
        if (SUCCEEDED(hr) && bSelected && guidMajorType == MFMediaType_Video)
        {
            *ppStream = pStream;
            return S_OK;
        }
        SafeRelease(&pStream);
        if (SUCCEEDED(hr)) hr = pPresentation->DeselectStream(dwStream);
    }
    return SUCCEEDED(hr) ? S_FALSE : hr;
}

HRESULT AddTransformNode(IMFTopology* pTopology, IMFTransform* pTransform, IMFTopologyNode** ppNode)
{
    HRESULT hr = MFCreateTopologyNode(MF_TOPOLOGY_TRANSFORM_NODE, ppNode);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetObject(pTransform);
    if (SUCCEEDED(hr)) hr = pTopology->AddNode(*ppNode);
    return hr;
}

// The sink outlives the session's hold on it: it is finalised afterwards.
HRESULT AddSinkNode(IMFTopology* pTopology, IMFStreamSink* pStreamSink, IMFTopologyNode** ppNode)
{
    HRESULT hr = MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, ppNode);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetObject(pStreamSink);
    if (SUCCEEDED(hr)) hr = pTopology->AddNode(*ppNode);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, 1);
    return hr;
}

}  // namespace

HRESULT BuildWriteTopology(IMFMediaSource* pSource, IMFTransform* pTransform, IMFStreamSink* pStreamSink,
                           IMFTopology** ppTopology)
{
    IMFTopology* pTopology = nullptr;
    IMFPresentationDescriptor* pPresentation = nullptr;
    IMFStreamDescriptor* pStream = nullptr;
    IMFTopologyNode* pSourceNode = nullptr;
    IMFTopologyNode* pTransformNode = nullptr;
    IMFTopologyNode* pSinkNode = nullptr;

    HRESULT hr = MFCreateTopology(&pTopology);
    if (SUCCEEDED(hr)) hr = pSource->CreatePresentationDescriptor(&pPresentation);
    if (SUCCEEDED(hr)) hr = SelectVideoStream(pPresentation, &pStream);
    if (hr == S_OK)
    {
        hr = AddSourceNode(pTopology, pSource, pPresentation, pStream, &pSourceNode);
        if (SUCCEEDED(hr) && pTransform != nullptr) hr = AddTransformNode(pTopology, pTransform, &pTransformNode);
        if (SUCCEEDED(hr) && pStreamSink != nullptr) hr = AddSinkNode(pTopology, pStreamSink, &pSinkNode);
        if (SUCCEEDED(hr)) hr = pSourceNode->ConnectOutput(0, pTransformNode, 0);
        if (SUCCEEDED(hr)) hr = pTransformNode->ConnectOutput(0, pSinkNode, 0);
    }
    if (SUCCEEDED(hr))
    {
        *ppTopology = pTopology;
        pTopology->AddRef();
        hr = S_OK;
    }

    SafeRelease(&pSinkNode);
    SafeRelease(&pTransformNode);
    SafeRelease(&pSourceNode);
    SafeRelease(&pStream);
    SafeRelease(&pPresentation);
    SafeRelease(&pTopology);
    return hr;
}
