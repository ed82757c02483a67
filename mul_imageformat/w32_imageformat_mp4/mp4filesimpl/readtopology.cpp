#include "mp4filesimpl/readtopology.h"

#include <mfapi.h>
#include <propvarutil.h>

#include "common/saferelease.h"
#include "common/sourcenode.h"
#include "mp4filesimpl/streamformat.h"

namespace
{

// No failure without it: some files have no length, and can be played.
void ReadDuration(IMFPresentationDescriptor* pPresentation, LONGLONG* pllDuration)
{
    PROPVARIANT varDuration;
    PropVariantInit(&varDuration);
    LONGLONG llDuration = 0;
    HRESULT hr = pPresentation->GetItem(MF_PD_DURATION, &varDuration);
    if (SUCCEEDED(hr)) hr = PropVariantToInt64(varDuration, &llDuration);
    if (SUCCEEDED(hr) && pllDuration != nullptr) *pllDuration = llDuration;
    PropVariantClear(&varDuration);
}

HRESULT AddSinkNode(IMFTopology* pTopology, IMFActivate* pSinkActivate, IMFTopologyNode** ppNode)
{
    HRESULT hr = MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, ppNode);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetObject(pSinkActivate);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUINT32(MF_TOPONODE_STREAMID, 0);
    if (SUCCEEDED(hr)) hr = (*ppNode)->SetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, 0);
    if (SUCCEEDED(hr)) hr = pTopology->AddNode(*ppNode);
    return hr;
}

}  // namespace

HRESULT CreateMediaSource(const wchar_t* pwszPath, IMFMediaSource** ppSource)
{
    IMFSourceResolver* pResolver = nullptr;
    IUnknown* pObject = nullptr;
    MF_OBJECT_TYPE eType = MF_OBJECT_INVALID;
    HRESULT hr = MFCreateSourceResolver(&pResolver);
    if (SUCCEEDED(hr))
    {
        hr = pResolver->CreateObjectFromURL(pwszPath, MF_RESOLUTION_MEDIASOURCE, nullptr, &eType, &pObject);
    }
    if (SUCCEEDED(hr)) hr = pObject->QueryInterface(IID_IMFMediaSource, reinterpret_cast<void**>(ppSource));
    SafeRelease(&pObject);
    SafeRelease(&pResolver);
    return hr;
}

HRESULT BuildTopology(bool bAudio, IMFMediaSource* pSource, IMFActivate* pSinkActivate, IMFTopology** ppTopology,
                      const MPEG2VIDEOINFO** ppMpeg2, const VIDEOINFOHEADER2** ppVideoInfo2, LONGLONG* pllDuration)
{
    IMFTopology* pTopology = nullptr;
    IMFPresentationDescriptor* pPresentation = nullptr;
    IMFStreamDescriptor* pDescriptor = nullptr;
    IMFMediaTypeHandler* pHandler = nullptr;
    IMFTopologyNode* pSourceNode = nullptr;
    IMFTopologyNode* pSinkNode = nullptr;

    HRESULT hr = MFCreateTopology(&pTopology);
    if (SUCCEEDED(hr)) hr = pSource->CreatePresentationDescriptor(&pPresentation);
    if (SUCCEEDED(hr)) ReadDuration(pPresentation, pllDuration);
    if (SUCCEEDED(hr))
    {
        hr = FindStream(pPresentation, bAudio ? MFMediaType_Audio : MFMediaType_Video, &pDescriptor, &pHandler);
    }
    if (hr == S_OK)
    {
        hr = AddSourceNode(pTopology, pSource, pPresentation, pDescriptor, &pSourceNode);
        if (SUCCEEDED(hr)) hr = AddSinkNode(pTopology, pSinkActivate, &pSinkNode);
        if (SUCCEEDED(hr)) hr = pSourceNode->ConnectOutput(0, pSinkNode, 0);
        if (SUCCEEDED(hr) && ppMpeg2 != nullptr) hr = FindFormatBlock(pHandler, ppMpeg2, ppVideoInfo2);
    }
    if (SUCCEEDED(hr))
    {
        *ppTopology = pTopology;
        pTopology->AddRef();
    }

    SafeRelease(&pSinkNode);
    SafeRelease(&pSourceNode);
    SafeRelease(&pHandler);
    SafeRelease(&pDescriptor);
    SafeRelease(&pPresentation);
    SafeRelease(&pTopology);
    return hr;
}
