#include "windows_bridge/file_source.h"

#include <mfapi.h>

#include "windows_bridge/com_calls.h"

namespace windows_bridge
{

namespace
{

IUnknown* TakeObject(IMFMediaEvent* pEvent)
{
    PROPVARIANT varValue;
    PropVariantInit(&varValue);
    Check(pEvent->GetValue(&varValue), "IMFMediaEvent::GetValue");
    return varValue.punkVal;
}

}  // namespace

CFileSource::CFileSource(const std::filesystem::path& path)
{
    IMFSourceResolver* pResolver = nullptr;
    Check(MFCreateSourceResolver(&pResolver), "MFCreateSourceResolver");
    MF_OBJECT_TYPE eType = MF_OBJECT_INVALID;
    IUnknown* pObject = nullptr;
    const HRESULT hr =
        pResolver->CreateObjectFromURL(path.wstring().c_str(), MF_RESOLUTION_MEDIASOURCE, nullptr, &eType, &pObject);
    Release(&pResolver);
    Check(hr, "IMFSourceResolver::CreateObjectFromURL");
    pObject->QueryInterface(IID_IMFMediaSource, reinterpret_cast<void**>(&m_pSource));
    Release(&pObject);
    Check(m_pSource->CreatePresentationDescriptor(&m_pDescriptor), "IMFMediaSource::CreatePresentationDescriptor");
    Check(m_pDescriptor->SelectStream(0), "IMFPresentationDescriptor::SelectStream");
}

CFileSource::~CFileSource()
{
    if (m_pSource != nullptr) m_pSource->Shutdown();
    Release(&m_pStream);
    Release(&m_pDescriptor);
    Release(&m_pSource);
}

IMFMediaType* CFileSource::GetType()
{
    BOOL bSelected = FALSE;
    IMFStreamDescriptor* pStream = nullptr;
    IMFMediaTypeHandler* pHandler = nullptr;
    IMFMediaType* pType = nullptr;
    HRESULT hr = m_pDescriptor->GetStreamDescriptorByIndex(0, &bSelected, &pStream);
    if (SUCCEEDED(hr)) hr = pStream->GetMediaTypeHandler(&pHandler);
    if (SUCCEEDED(hr)) hr = pHandler->GetCurrentMediaType(&pType);
    Release(&pHandler);
    Release(&pStream);
    Check(hr, "IMFMediaTypeHandler::GetCurrentMediaType");
    return pType;
}

void CFileSource::Start(LONGLONG llPosition)
{
    PROPVARIANT varPosition;
    PropVariantInit(&varPosition);
    varPosition.vt = VT_I8;
    varPosition.hVal.QuadPart = llPosition;
    Check(m_pSource->Start(m_pDescriptor, &GUID_NULL, &varPosition), "IMFMediaSource::Start");
    AwaitSourceEvent(MESourceStarted, MESourceSeeked);
}

void CFileSource::Pause()
{
    Check(m_pSource->Pause(), "IMFMediaSource::Pause");
    AwaitSourceEvent(MESourcePaused, MESourcePaused);
}

bool CFileSource::EndsWithin(std::chrono::milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end)
    {
        IMFMediaEvent* pEvent = nullptr;
        MediaEventType eType = MEUnknown;
        if (SUCCEEDED(m_pSource->GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent)))
            pEvent->GetType(&eType);
        else
            Sleep(1);
        Release(&pEvent);
        if (eType == MEEndOfPresentation) return true;
    }
    return false;
}

HRESULT CFileSource::PauseAtEnd()
{
    // A source may report its end only when it is asked for more, and may refuse that when it has reported it.
    m_pStream->RequestSample(nullptr);
    AwaitSourceEvent(MEEndOfPresentation, MEEndOfPresentation);
    return m_pSource->Pause();
}

void CFileSource::AwaitSourceEvent(MediaEventType eWanted, MediaEventType eOrThis)
{
    MediaEventType eType = MEUnknown;
    while (eType != eWanted && eType != eOrThis)
    {
        IMFMediaEvent* pEvent = nullptr;
        Check(m_pSource->GetEvent(0, &pEvent), "IMFMediaSource::GetEvent");
        pEvent->GetType(&eType);
        if (eType == MENewStream && m_pStream == nullptr)
        {
            IUnknown* pStream = TakeObject(pEvent);
            pStream->QueryInterface(IID_IMFMediaStream, reinterpret_cast<void**>(&m_pStream));
            Release(&pStream);
        }
        Release(&pEvent);
    }
}

void CFileSource::RequestSample(IUnknown* pToken)
{
    Check(m_pStream->RequestSample(pToken), "IMFMediaStream::RequestSample");
}

IMFSample* CFileSource::AwaitSample()
{
    IMFSample* pSample = nullptr;
    while (pSample == nullptr)
    {
        IMFMediaEvent* pEvent = nullptr;
        Check(m_pStream->GetEvent(0, &pEvent), "IMFMediaStream::GetEvent");
        MediaEventType eType = MEUnknown;
        pEvent->GetType(&eType);
        if (eType == MEMediaSample)
        {
            IUnknown* pObject = TakeObject(pEvent);
            pObject->QueryInterface(IID_IMFSample, reinterpret_cast<void**>(&pSample));
            Release(&pObject);
        }
        Release(&pEvent);
    }
    return pSample;
}

}  // namespace windows_bridge
