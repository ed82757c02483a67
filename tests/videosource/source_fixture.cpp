#include "source_fixture.h"

#include <cstdio>

#include <mfapi.h>

namespace
{

std::string DescribeObject(IUnknown* pObject)
{
    if (Query<IMFMediaStream>(pObject, IID_IMFMediaStream)) return " stream";
    const auto pSample = Query<IMFSample>(pObject, IID_IMFSample);
    if (!pSample) return " object";
    LONGLONG hnsTime = -1;
    LONGLONG hnsDuration = -1;
    pSample->GetSampleTime(&hnsTime);
    pSample->GetSampleDuration(&hnsDuration);
    return " sample " + std::to_string(hnsTime) + "+" + std::to_string(hnsDuration);
}

}  // namespace

std::string Describe(IMFMediaEvent* pEvent)
{
    MediaEventType eType = MEUnknown;
    HRESULT hrStatus = S_OK;
    PROPVARIANT varValue;
    PropVariantInit(&varValue);
    UINT64 ullActual = 0;
    EXPECT_EQ(pEvent->GetType(&eType), S_OK);
    EXPECT_EQ(pEvent->GetStatus(&hrStatus), S_OK);
    EXPECT_EQ(pEvent->GetValue(&varValue), S_OK);
    std::string text = std::to_string(eType);
    if (FAILED(hrStatus))
    {
        char szStatus[32];
        std::snprintf(szStatus, sizeof(szStatus), " failed %08x", static_cast<unsigned>(hrStatus));
        text += szStatus;
    }
    if (varValue.vt == VT_I8) text += " at " + std::to_string(varValue.hVal.QuadPart);
    if (varValue.vt == VT_UNKNOWN) text += DescribeObject(varValue.punkVal);
    if (SUCCEEDED(pEvent->GetUINT64(MF_EVENT_SOURCE_ACTUAL_START, &ullActual)))
    {
        text += " actual " + std::to_string(ullActual);
    }
    PropVariantClear(&varValue);
    return text;
}

void VideoSourceTest::SetUp()
{
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
}

void VideoSourceTest::TearDown()
{
    if (m_pSource) m_pSource->Shutdown();
    m_pStream.reset();
    m_pDescriptor.reset();
    m_pSource.reset();
    MFShutdown();
}

void VideoSourceTest::MakeConfigured(std::uint32_t nFrameCount)
{
    void* pObject = nullptr;
    ASSERT_EQ(CreateVideoSource(IID_IMFMediaSource, &pObject), S_OK);
    m_pSource.reset(static_cast<IMFMediaSource*>(pObject));
    ASSERT_EQ(Source().Configure(CPictureOwner::WIDTH, CPictureOwner::HEIGHT, &m_owner.m_hFrameReady,
                                 &m_owner.m_hFrameTaken, &m_owner.m_csPicture, m_owner.m_vPicture.data(),
                                 &m_owner.m_nEndOfInput, nFrameCount, &m_owner.m_dDuration),
              0);
}

void VideoSourceTest::Make(std::uint32_t nFrameCount)
{
    MakeConfigured(nFrameCount);
    IMFPresentationDescriptor* pDescriptor = nullptr;
    ASSERT_EQ(Source().CreatePresentationDescriptor(&pDescriptor), S_OK);
    m_pDescriptor.reset(pDescriptor);
}

HRESULT VideoSourceTest::Start()
{
    PROPVARIANT varNothing;
    PropVariantInit(&varNothing);
    return Start(varNothing);
}

HRESULT VideoSourceTest::StartAt(LONGLONG hnsTime)
{
    PROPVARIANT varTime;
    PropVariantInit(&varTime);
    varTime.vt = VT_I8;
    varTime.hVal.QuadPart = hnsTime;
    return Start(varTime);
}

HRESULT VideoSourceTest::Start(const PROPVARIANT& varPosition)
{
    const HRESULT hr = Source().Start(m_pDescriptor.get(), nullptr, &varPosition);
    if (m_pStream) return hr;
    IMFMediaEvent* pEvent = nullptr;
    if (FAILED(Source().GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent))) return hr;
    const TOwned<IMFMediaEvent> pOwned(pEvent);
    EXPECT_EQ(Describe(pEvent), "205 stream");
    PROPVARIANT varStream;
    PropVariantInit(&varStream);
    EXPECT_EQ(pEvent->GetValue(&varStream), S_OK);
    m_pStream = Query<IMFMediaStream>(varStream.punkVal, IID_IMFMediaStream);
    PropVariantClear(&varStream);
    return hr;
}

HRESULT VideoSourceTest::Request(std::uint8_t uiNumber, double dDuration, IUnknown* pToken)
{
    m_owner.HandOver(uiNumber, dDuration);
    return Stream().RequestSample(pToken);
}

std::vector<std::string> VideoSourceTest::TakeEvents(IMFMediaEventGenerator& generator)
{
    std::vector<std::string> vTexts;
    IMFMediaEvent* pEvent = nullptr;
    while (SUCCEEDED(generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent)))
    {
        vTexts.push_back(Describe(pEvent));
        pEvent->Release();
    }
    return vTexts;
}

SSampleView VideoSourceTest::TakeSample()
{
    SSampleView view;
    IMFMediaEvent* pEvent = nullptr;
    EXPECT_EQ(Stream().GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent), S_OK);
    if (pEvent == nullptr) return view;
    const TOwned<IMFMediaEvent> pOwned(pEvent);
    PROPVARIANT varSample;
    PropVariantInit(&varSample);
    EXPECT_EQ(pEvent->GetValue(&varSample), S_OK);
    EXPECT_EQ(varSample.vt, VT_UNKNOWN);
    const auto pSample = Query<IMFSample>(varSample.punkVal, IID_IMFSample);
    PropVariantClear(&varSample);
    EXPECT_TRUE(pSample);
    if (!pSample) return view;

    IMFMediaBuffer* pBuffer = nullptr;
    EXPECT_EQ(pSample->ConvertToContiguousBuffer(&pBuffer), S_OK);
    BYTE* pbBytes = nullptr;
    DWORD cbBytes = 0;
    EXPECT_EQ(pBuffer->Lock(&pbBytes, nullptr, &cbBytes), S_OK);
    view.m_vBytes.assign(pbBytes, pbBytes + cbBytes);
    EXPECT_EQ(pBuffer->Unlock(), S_OK);
    pBuffer->Release();
    EXPECT_EQ(pSample->GetSampleTime(&view.m_hnsTime), S_OK);
    EXPECT_EQ(pSample->GetSampleDuration(&view.m_hnsDuration), S_OK);
    UINT32 unDiscontinuity = 0;
    view.m_bDiscontinuity =
        SUCCEEDED(pSample->GetUINT32(MFSampleExtension_Discontinuity, &unDiscontinuity)) && unDiscontinuity == 1;
    void* pToken = nullptr;
    if (SUCCEEDED(pSample->GetUnknown(MFSampleExtension_Token, IID_IUnknown, &pToken)))
    {
        view.m_pToken.reset(static_cast<IUnknown*>(pToken));
    }
    return view;
}
