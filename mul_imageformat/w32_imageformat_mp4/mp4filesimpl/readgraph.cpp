// Opening an input file. A first graph finds the times of the frames, if the boxes don't tell them; a second one is
// made for reading frames and tells the picture's shape.
#include <cstdlib>
#include <exception>

#include <mfapi.h>

#include "mp4filesimpl/boxwalk.h"
#include "mp4filesimpl/mp4inputfile.h"
#include "mp4filesimpl/readtopology.h"
#include "common/saferelease.h"
#include "mp4filesimpl/streamformat.h"

namespace
{

// Formats that the counting sink may ask for, in the order in which they are tried. It looks at durations only, so
// compressed samples serve as well as pictures.
const GUID* const g_apCountingSubtypes[] = {
    &MFVideoFormat_H264, &MFVideoFormat_MP4S, &MFVideoFormat_M4S2,  &MFVideoFormat_MP4V,
    &MFVideoFormat_WVC1, &MFVideoFormat_YUY2, &MFVideoFormat_RGB32,
};

constexpr std::uint64_t NO_FRAME = ~std::uint64_t{0};
constexpr std::uint32_t COUNT_ONLY = 0xFFFFFFFF;
constexpr std::int64_t HNS_PER_MS = 10000;

constexpr std::uint32_t COMPONENTS = 3;
constexpr std::uint32_t BITS = 8;

void FillPictureShape(const VIDEOINFOHEADER2& format, SQmImageAttributes& attributes)
{
    // Rows of a bottom-up source have a negative height. Its absolute value in 32 bits exists for every one.
    const std::uint32_t uiHeight = static_cast<std::uint32_t>(format.bmiHeader.biHeight);
    attributes.m_uiWidth = static_cast<std::uint32_t>(format.bmiHeader.biWidth);
    attributes.m_uiHeight = format.bmiHeader.biHeight < 0 ? 0 - uiHeight : uiHeight;
    attributes.m_uiWidthBytes = ((attributes.m_uiWidth * (COMPONENTS * BITS) / 8 - 1) & ~3U) + 4;
    attributes.m_uiComponents = COMPONENTS;
    attributes.m_uiBitsInMemory = BITS;
    attributes.m_uiBitsSignificant = BITS;
    attributes.m_uiReservedAttr = 0;
    attributes.m_uiTileWidth = 0;
    attributes.m_uiTileHeight = 0;
    attributes.m_uiCompression = 1;
    attributes.m_dCompressionParam = 1.0;
}

}  // namespace

// A file whose source could be made is tried once; any other failure may be tried again.
QmStatus CQmMP4InputFile::OpenGraph()
try
{
    if (m_pSource == nullptr)
    {
        ShutDownGraph();
        ReleaseGraph();
        m_vFrameTimesMs.clear();
        if (SUCCEEDED(FindFrameTimes())) MakeFrameGraph();
    }
    return m_bOpen ? QM_OK : QM_ERR_FAIL;
}
catch (const std::exception&)
{
    return QM_ERR_FAIL;
}

// --- the times of the frames ---

HRESULT CQmMP4InputFile::FindFrameTimes()
{
    bool bRefused = false;
    for (const GUID* pguidSubtype : g_apCountingSubtypes)
    {
        if (bRefused)
        {
            ShutDownGraph();
            ReleaseGraph();
        }
        HRESULT hr = MakeCountingGraph(*pguidSubtype);
        if (FAILED(hr)) return hr;
        if (ReadFrameTimes(m_strPath, m_vFrameTimesMs) == QM_OK) return S_OK;
        hr = CountSamples(&bRefused);
        if (FAILED(hr) || !bRefused) return hr;
    }
    return E_FAIL;
}

HRESULT CQmMP4InputFile::MakeCountingGraph(REFGUID guidSubtype)
{
    HRESULT hr = MFCreateMediaType(&m_pMediaType);
    if (SUCCEEDED(hr)) hr = m_pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = m_pMediaType->SetGUID(MF_MT_SUBTYPE, guidSubtype);
    if (SUCCEEDED(hr)) hr = SampleGrabberCB::Create(&m_pGrabber);
    if (SUCCEEDED(hr)) hr = MFCreateSampleGrabberSinkActivate(m_pMediaType, m_pGrabber, &m_pSinkActivate);
    if (SUCCEEDED(hr)) hr = m_pSinkActivate->SetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, 1);
    if (SUCCEEDED(hr)) hr = MFCreateMediaSession(nullptr, &m_pSession);
    if (SUCCEEDED(hr)) hr = CreateMediaSource(m_strPath, &m_pSource);
    if (SUCCEEDED(hr)) hr = BuildTopology(false, m_pSource, m_pSinkActivate, &m_pTopology, nullptr, nullptr, nullptr);
    if (SUCCEEDED(hr)) hr = m_pSession->SetTopology(0, m_pTopology);
    if (SUCCEEDED(hr)) m_pGrabber->SetWindow(0, 0, NO_FRAME, NO_FRAME, COUNT_ONLY, COUNT_ONLY);
    return hr;
}

// Plays the file through and makes the list of times from the durations of its samples. *pbRefused tells that the
// session doesn't play it in this format.
HRESULT CQmMP4InputFile::CountSamples(bool* pbRefused)
{
    *pbRefused = false;
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    HRESULT hr = m_pSession->Start(&GUID_NULL, &varBeginning);
    for (MediaEventType eType = MEUnknown; SUCCEEDED(hr) && eType != MESessionEnded;)
    {
        IMFMediaEvent* pEvent = nullptr;
        HRESULT hrStatus = S_OK;
        hr = m_pSession->GetEvent(0, &pEvent);
        if (SUCCEEDED(hr)) hr = pEvent->GetStatus(&hrStatus);
        if (SUCCEEDED(hr)) hr = pEvent->GetType(&eType);
        SafeRelease(&pEvent);
        if (SUCCEEDED(hr) && FAILED(hrStatus))
        {
            *pbRefused = true;
            return S_OK;
        }
    }
    if (FAILED(hr)) return hr;

    std::list<LONGLONG>& lstTimes = m_pGrabber->m_lstSampleTimes;
    if (lstTimes.empty()) return E_FAIL;  // it played, and there was nothing in it
    lstTimes.pop_back();                  // the end of the last sample
    m_vFrameTimesMs.resize(lstTimes.size());
    std::uint64_t* puiTime = m_vFrameTimesMs.data();
    for (const LONGLONG llTime : lstTimes)
        *puiTime++ = static_cast<std::uint64_t>(llTime / HNS_PER_MS);
    return S_OK;
}

// --- the graph that delivers frames ---

HRESULT CQmMP4InputFile::MakeFrameGraph()
{
    m_Attributes.m_uiSequenceCount = static_cast<std::uint32_t>(m_vFrameTimesMs.size());
    ShutDownGraph();
    ReleaseGraph();

    HRESULT hr = MFCreateMediaType(&m_pMediaType);
    if (SUCCEEDED(hr)) hr = CreateMediaSource(m_strPath, &m_pSource);
    if (SUCCEEDED(hr)) hr = ChooseOutputType(m_pSource, m_pMediaType);
    if (SUCCEEDED(hr)) hr = SampleGrabberCB::Create(&m_pGrabber);
    if (SUCCEEDED(hr)) hr = MFCreateSampleGrabberSinkActivate(m_pMediaType, m_pGrabber, &m_pSinkActivate);
    if (SUCCEEDED(hr)) hr = m_pSinkActivate->SetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, 1);
    if (SUCCEEDED(hr)) hr = MFCreateMediaSession(nullptr, &m_pSession);
    if (FAILED(hr)) return hr;

    GUID guidSubtype = GUID_NULL;
    m_pMediaType->GetGUID(MF_MT_SUBTYPE, &guidSubtype);
    m_pGrabber->m_pSession = m_pSession;
    m_pGrabber->m_pStopFlag = &m_bStop;
    m_pGrabber->m_bNV12 = guidSubtype == MFVideoFormat_NV12;

    const MPEG2VIDEOINFO* pMpeg2 = nullptr;
    const VIDEOINFOHEADER2* pVideoInfo2 = nullptr;
    LONGLONG llDuration = 0;
    hr = BuildTopology(false, m_pSource, m_pSinkActivate, &m_pTopology, &pMpeg2, &pVideoInfo2, &llDuration);
    if (FAILED(hr) || (pMpeg2 == nullptr && pVideoInfo2 == nullptr)) return hr;

    FillPictureShape(pMpeg2 != nullptr ? pMpeg2->hdr : *pVideoInfo2, m_Attributes);
    m_bOpen = true;
    return S_OK;
}

// --- the end of a graph ---

void CQmMP4InputFile::ShutDownGraph()
{
    if (m_pSource != nullptr) m_pSource->Shutdown();
    if (m_pSession != nullptr) m_pSession->Shutdown();
}

void CQmMP4InputFile::ReleaseGraph()
{
    SafeRelease(&m_pSession);
    SafeRelease(&m_pSource);
    SafeRelease(&m_pGrabber);
    SafeRelease(&m_pSinkActivate);
    SafeRelease(&m_pTopology);
    SafeRelease(&m_pMediaType);
}
