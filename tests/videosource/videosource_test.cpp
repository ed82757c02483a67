// A media source by itself: how it is made, and what it says about its presentation.
#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "counted_item.h"
#include "source_fixture.h"

namespace
{

using MediaSource = VideoSourceTest;

UINT64 DurationOf(IMFPresentationDescriptor* pDescriptor)
{
    UINT64 ullDuration = 0;
    EXPECT_EQ(pDescriptor->GetUINT64(MF_PD_DURATION, &ullDuration), S_OK);
    return ullDuration;
}

TOwned<IMFStreamDescriptor> OnlyStreamOf(IMFPresentationDescriptor* pDescriptor)
{
    DWORD dwCount = 0;
    EXPECT_EQ(pDescriptor->GetStreamDescriptorCount(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 1U);
    BOOL bSelected = FALSE;
    IMFStreamDescriptor* pStream = nullptr;
    EXPECT_EQ(pDescriptor->GetStreamDescriptorByIndex(0, &bSelected, &pStream), S_OK);
    EXPECT_TRUE(bSelected);
    return TOwned<IMFStreamDescriptor>(pStream);
}

TEST_F(MediaSource, IsAskedForByInterface)
{
    void* pObject = this;
    EXPECT_EQ(CreateVideoSource(IID_IMFMediaStream, &pObject), HRESULT{E_NOINTERFACE});
    EXPECT_EQ(pObject, nullptr);
    EXPECT_EQ(CreateVideoSource(IID_IMFMediaSource, nullptr), HRESULT{E_POINTER});
    ASSERT_EQ(CreateVideoSource(IID_IUnknown, &pObject), S_OK);
    EXPECT_EQ(static_cast<IUnknown*>(pObject)->Release(), 0U);
}

TEST_F(MediaSource, AnswersForItsInterfacesAndHasOneIdentity)
{
    Make();
    const auto pUnknown = Query<IUnknown>(m_pSource.get(), IID_IUnknown);
    const auto pGenerator = Query<IMFMediaEventGenerator>(m_pSource.get(), IID_IMFMediaEventGenerator);
    ASSERT_TRUE(pGenerator);
    EXPECT_EQ(Query<IMFMediaSource>(pGenerator.get(), IID_IMFMediaSource).get(), m_pSource.get());
    EXPECT_EQ(Query<IUnknown>(pGenerator.get(), IID_IUnknown).get(), pUnknown.get());
    EXPECT_FALSE(Query<IUnknown>(m_pSource.get(), IID_IMFMediaStream));
    ASSERT_EQ(Start(), S_OK);
    EXPECT_TRUE(Query<IMFMediaEventGenerator>(m_pStream.get(), IID_IMFMediaEventGenerator));
    EXPECT_FALSE(Query<IUnknown>(m_pStream.get(), IID_IMFMediaSource));
}

TEST_F(MediaSource, CountsItsReferences)
{
    Make();
    EXPECT_EQ(m_pSource->AddRef(), 2U);
    EXPECT_EQ(m_pSource->Release(), 1U);
    ASSERT_EQ(Start(), S_OK);  // source and stream hold each other
    EXPECT_EQ(m_pSource->AddRef(), 3U);
    EXPECT_EQ(m_pSource->Release(), 2U);
    EXPECT_EQ(m_pSource->Shutdown(), S_OK);
    EXPECT_EQ(m_pStream.release()->Release(), 0U);
    EXPECT_EQ(m_pSource.release()->Release(), 0U);
}

TEST_F(MediaSource, OneThatWasNeverStartedEndsWithoutAShutdown)
{
    Make();
    EXPECT_EQ(m_pSource.release()->Release(), 0U);
}

TEST_F(MediaSource, DescribesItsPictures)
{
    Make();
    const VIDEOINFOHEADER2& info = Source().GetVideoInfo();
    EXPECT_EQ(info.AvgTimePerFrame, 400000);
    EXPECT_EQ(info.dwPictAspectRatioX, 1U);
    EXPECT_EQ(info.dwPictAspectRatioY, 1U);
    EXPECT_EQ(info.bmiHeader.biSize, 40U);
    EXPECT_EQ(info.bmiHeader.biWidth, 4);
    EXPECT_EQ(info.bmiHeader.biHeight, 2);
    EXPECT_EQ(info.bmiHeader.biBitCount, 16U);
    EXPECT_EQ(info.bmiHeader.biCompression, DWORD{'Y'} | DWORD{'U'} << 8 | DWORD{'Y'} << 16 | DWORD{'2'} << 24);
    EXPECT_EQ(info.bmiHeader.biSizeImage, 16U);

    VIDEOINFOHEADER2 rest = info;
    rest.AvgTimePerFrame = 0;
    rest.dwPictAspectRatioX = 0;
    rest.dwPictAspectRatioY = 0;
    rest.bmiHeader.biSize = 0;
    rest.bmiHeader.biWidth = 0;
    rest.bmiHeader.biHeight = 0;
    rest.bmiHeader.biBitCount = 0;
    rest.bmiHeader.biCompression = 0;
    rest.bmiHeader.biSizeImage = 0;
    const auto* const pbRest = reinterpret_cast<const std::uint8_t*>(&rest);
    EXPECT_EQ(Bytes(pbRest, pbRest + sizeof(rest)), Bytes(112, 0));
}

TEST_F(MediaSource, ThePicturesSizeInBytesHasRowsRoundedUpTo4Bytes)
{
    const struct
    {
        std::uint32_t m_nWidth;
        std::uint32_t m_nHeight;
        std::uint32_t m_uiBytes;
    } aSizes[] = {{2, 2, 8}, {3, 2, 16}, {4, 2, 16}, {1920, 1080, 1920 * 2 * 1080}, {5, 3, 36}};
    for (const auto& size : aSizes)
    {
        Make();
        ASSERT_EQ(Source().Configure(size.m_nWidth, size.m_nHeight, &m_owner.m_hFrameReady, &m_owner.m_hFrameTaken,
                                     &m_owner.m_csPicture, m_owner.m_vPicture.data(), &m_owner.m_nEndOfInput, 1,
                                     &m_owner.m_dDuration),
                  0);
        EXPECT_EQ(Source().GetVideoInfo().bmiHeader.biSizeImage, size.m_uiBytes);
        m_pDescriptor.reset();
    }
}

TEST_F(MediaSource, HasOneSelectedStreamOfYuy2Pictures)
{
    Make();
    const auto pStream = OnlyStreamOf(m_pDescriptor.get());
    DWORD dwIdentifier = 1;
    EXPECT_EQ(pStream->GetStreamIdentifier(&dwIdentifier), S_OK);
    EXPECT_EQ(dwIdentifier, 0U);
    IMFMediaTypeHandler* pHandler = nullptr;
    ASSERT_EQ(pStream->GetMediaTypeHandler(&pHandler), S_OK);
    DWORD dwTypes = 0;
    EXPECT_EQ(pHandler->GetMediaTypeCount(&dwTypes), S_OK);
    EXPECT_EQ(dwTypes, 1U);
    IMFMediaType* pType = nullptr;
    ASSERT_EQ(pHandler->GetCurrentMediaType(&pType), S_OK);
    GUID subtype = GUID_NULL;
    EXPECT_EQ(pType->GetGUID(MF_MT_SUBTYPE, &subtype), S_OK);
    EXPECT_TRUE(subtype == MFVideoFormat_YUY2);
    UINT64 ullValue = 0;
    EXPECT_EQ(pType->GetUINT64(MF_MT_FRAME_SIZE, &ullValue), S_OK);
    EXPECT_EQ(ullValue, UINT64{4} << 32 | 2);
    EXPECT_EQ(pType->GetUINT64(MF_MT_FRAME_RATE, &ullValue), S_OK);
    EXPECT_EQ(ullValue, UINT64{25} << 32 | 1);
    pType->Release();
    pHandler->Release();
}

TEST_F(MediaSource, TheDurationOfAnUnknownNumberOfFramesIsThatOfAMillion)
{
    Make(UNKNOWN_FRAME_COUNT);
    EXPECT_EQ(DurationOf(m_pDescriptor.get()), UINT64{1000000} * 400000);
}

TEST_F(MediaSource, TheDurationOfCountedFramesIsNominal)
{
    Make(3);
    EXPECT_EQ(DurationOf(m_pDescriptor.get()), UINT64{3} * 400000);
    m_pDescriptor.reset();
    Make(0xFFFFFFFE);
    EXPECT_EQ(DurationOf(m_pDescriptor.get()), UINT64{0xFFFFFFFE} * 400000);
}

TEST_F(MediaSource, EveryDescriptorIsACloneWithTheSameStream)
{
    Make();
    EXPECT_EQ(m_pDescriptor->DeselectStream(0), S_OK);
    IMFPresentationDescriptor* pSecond = nullptr;
    ASSERT_EQ(Source().CreatePresentationDescriptor(&pSecond), S_OK);
    const TOwned<IMFPresentationDescriptor> pOwned(pSecond);
    EXPECT_NE(pSecond, m_pDescriptor.get());
    const auto pStream = OnlyStreamOf(pSecond);
    BOOL bSelected = FALSE;
    IMFStreamDescriptor* pFirstStream = nullptr;
    EXPECT_EQ(m_pDescriptor->GetStreamDescriptorByIndex(0, &bSelected, &pFirstStream), S_OK);
    EXPECT_EQ(pFirstStream, pStream.get());
    pFirstStream->Release();
}

TEST_F(MediaSource, CanSeekAndPause)
{
    Make();
    DWORD dwFlags = 0;
    EXPECT_EQ(Source().GetCharacteristics(&dwFlags), S_OK);
    EXPECT_EQ(dwFlags, 6U);
}

TEST_F(MediaSource, GivesEventsThatOthersQueue)
{
    Make();
    EXPECT_EQ(Source().QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr), S_OK);
    EXPECT_EQ(TakeEvents(Source()), std::vector<std::string>{"1 failed 80004005"});
}

TEST_F(MediaSource, OneThatWasNotConfiguredServesNoRequest)
{
    void* pObject = nullptr;
    ASSERT_EQ(CreateVideoSource(IID_IMFMediaSource, &pObject), S_OK);
    TOwned<IMFMediaSource> pUnconfigured(static_cast<IMFMediaSource*>(pObject));
    Make();  // for a descriptor
    m_pSource->Shutdown();
    m_pSource = std::move(pUnconfigured);
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Stream().RequestSample(nullptr), HRESULT{E_UNEXPECTED});
}

}  // namespace
