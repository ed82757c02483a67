#include "mp4filesimpl/readgraph.h"

#include <mfapi.h>

#include "common/saferelease.h"
#include "mp4filesimpl/readtopology.h"
#include "mp4filesimpl/streamformat.h"

HRESULT CReadGraph::MakeForCounting(const wchar_t* pwszPath, REFGUID guidSubtype)
{
    HRESULT hr = MFCreateMediaType(&m_pMediaType);
    if (SUCCEEDED(hr)) hr = m_pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = m_pMediaType->SetGUID(MF_MT_SUBTYPE, guidSubtype);
    if (SUCCEEDED(hr)) hr = MakeSink();
    if (SUCCEEDED(hr)) hr = MFCreateMediaSession(nullptr, &m_pSession);
    if (SUCCEEDED(hr)) hr = CreateMediaSource(pwszPath, &m_pSource);
    if (SUCCEEDED(hr)) hr = BuildTopology(false, m_pSource, m_pSinkActivate, &m_pTopology, nullptr, nullptr, nullptr);
    if (SUCCEEDED(hr)) hr = SetTopology();
    if (SUCCEEDED(hr)) GetStore()->CountSamples();
    return hr;
}

HRESULT CReadGraph::MakeForFrames(const wchar_t* pwszPath, std::atomic<bool>* pbStop, SQmImageAttributes* pAttributes,
                                  bool* pbShape)
{
    *pbShape = false;
    HRESULT hr = MFCreateMediaType(&m_pMediaType);
    if (SUCCEEDED(hr)) hr = CreateMediaSource(pwszPath, &m_pSource);
    if (SUCCEEDED(hr)) hr = ChooseOutputType(m_pSource, m_pMediaType);
    if (SUCCEEDED(hr)) hr = MakeSink();
    if (SUCCEEDED(hr)) hr = MFCreateMediaSession(nullptr, &m_pSession);
    if (FAILED(hr)) return hr;

    GUID guidSubtype = GUID_NULL;
    m_pMediaType->GetGUID(MF_MT_SUBTYPE, &guidSubtype);
    GetStore()->Connect(m_pSession, pbStop, guidSubtype == MFVideoFormat_NV12);

    const MPEG2VIDEOINFO* pMpeg2 = nullptr;
    const VIDEOINFOHEADER2* pVideoInfo2 = nullptr;
    LONGLONG llDuration = 0;
    hr = BuildTopology(false, m_pSource, m_pSinkActivate, &m_pTopology, &pMpeg2, &pVideoInfo2, &llDuration);
    if (FAILED(hr) || (pMpeg2 == nullptr && pVideoInfo2 == nullptr)) return hr;

    *pbShape = FillPictureShape(pMpeg2 != nullptr ? pMpeg2->hdr : *pVideoInfo2, pAttributes);
    return S_OK;
}

HRESULT CReadGraph::MakeSink()
{
    HRESULT hr = SampleGrabberCB::Create(&m_pGrabber);
    if (SUCCEEDED(hr)) hr = MFCreateSampleGrabberSinkActivate(m_pMediaType, m_pGrabber, &m_pSinkActivate);
    if (SUCCEEDED(hr)) hr = m_pSinkActivate->SetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, 1);
    return hr;
}

HRESULT CReadGraph::SetTopology()
{
    return m_pSession->SetTopology(0, m_pTopology);
}

void CReadGraph::Adopt(IMFMediaSession* pSession, SampleGrabberCB* pGrabber, std::atomic<bool>* pbStop, bool bNV12)
{
    m_pSession = pSession;
    m_pGrabber = pGrabber;
    GetStore()->Connect(m_pSession, pbStop, bNV12);
}

void CReadGraph::ShutDown()
{
    if (m_pSource != nullptr) m_pSource->Shutdown();
    if (m_pSession != nullptr) m_pSession->Shutdown();
}

void CReadGraph::Release()
{
    SafeRelease(&m_pSession);
    SafeRelease(&m_pSource);
    SafeRelease(&m_pGrabber);
    SafeRelease(&m_pSinkActivate);
    SafeRelease(&m_pTopology);
    SafeRelease(&m_pMediaType);
}
