// What a client leaves without ending it is reported.
#include "client.h"

namespace
{

constexpr amf_int32 c_nWidth = 64;
constexpr amf_int32 c_nHeight = 48;

}  // namespace

TEST_F(AmfRuntime, ACarefulClientLeavesNothingAndBreaksNoRule)
{
    {
        Client client(c_nWidth, c_nHeight);
        client.Start();
        for (int i = 0; i < 40; ++i)
        {
            client.Send(NaturalPicture(c_nWidth, c_nHeight, i));
        }
        client.Finish();
        EXPECT_EQ(client.Buffers().size(), 40u);
    }
    const AmfRuntimeBreaches breaches = m_script.GetBreaches();
    EXPECT_EQ(breaches.left.uiContexts, 0u);
    EXPECT_EQ(breaches.uiContextsNotTerminated, 0u);
    EXPECT_EQ(breaches.uiComponentsNotTerminated, 0u);
    EXPECT_EQ(breaches.uiPicturesLost, 0u);
    EXPECT_EQ(breaches.uiCallsOutOfOrder, 0u);
    EXPECT_EQ(breaches.uiPropertiesRefused, 0u);
}

TEST_F(AmfRuntime, WhatIsAliveWhenAContextEndsIsReported)
{
    Held<AMFContext> pContext = MakeDeviceContext();
    Held<AMFSurface> pFirst = MakeSurface(pContext.Get(), AMF_SURFACE_BGRA, 16, 16);
    Held<AMFSurface> pSecond = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 16, 16);
    Held<AMFBuffer> pBuffer;
    ASSERT_EQ(pContext->AllocBuffer(AMF_MEMORY_HOST, 10, pBuffer.Put()), AMF_OK);
    Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
    ASSERT_EQ(pEncoder->Init(AMF_SURFACE_NV12, 16, 16), AMF_OK);
    EXPECT_EQ(m_script.CountObjects().uiSurfaces, 2u);
    EXPECT_EQ(m_script.CountObjects().uiInitializedComponents, 1u);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
    const AmfRuntimeBreaches breaches = m_script.GetBreaches();
    EXPECT_EQ(breaches.left.uiContexts, 1u);
    EXPECT_EQ(breaches.left.uiSurfaces, 2u);
    EXPECT_EQ(breaches.left.uiBuffers, 1u);
    EXPECT_EQ(breaches.left.uiInitializedComponents, 1u);
    EXPECT_EQ(breaches.uiContextsNotTerminated, 0u);
    EXPECT_EQ(pEncoder->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, AContextThatIsReleasedWithoutItsEndIsReported)
{
    Held<AMFContext> pContext = MakeContext();
    EXPECT_EQ(pContext.Release(), 0);
    EXPECT_EQ(m_script.GetBreaches().uiContextsNotTerminated, 1u);
    EXPECT_EQ(m_script.GetBreaches().left.uiContexts, 0u);
}

TEST_F(AmfRuntime, AComponentThatIsReleasedWithoutItsEndIsReportedWithItsPictures)
{
    Held<AMFContext> pContext = MakeDeviceContext();
    {
        Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 16, 16);
        Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
        ASSERT_EQ(pEncoder->Init(AMF_SURFACE_NV12, 16, 16), AMF_OK);
        EXPECT_EQ(pEncoder->SubmitInput(pSurface.Get()), AMF_OK);
        EXPECT_EQ(pEncoder->SubmitInput(pSurface.Get()), AMF_OK);
        EXPECT_EQ(pEncoder.Release(), 0);
    }
    EXPECT_EQ(m_script.GetBreaches().uiComponentsNotTerminated, 1u);
    EXPECT_EQ(m_script.GetBreaches().uiPicturesLost, 2u);
    EXPECT_EQ(m_script.CountObjects().uiPendingPictures, 0u);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, PicturesThatAConverterStillHoldsAreReported)
{
    Client client(c_nWidth, c_nHeight);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_BGRA, c_nWidth, c_nHeight);
    ASSERT_EQ(client.Converter().Init(AMF_SURFACE_BGRA, c_nWidth, c_nHeight), AMF_OK);
    ASSERT_EQ(client.Converter().SubmitInput(pSurface.Get()), AMF_OK);
    EXPECT_EQ(m_script.CountObjects().uiPendingPictures, 1u);
    EXPECT_EQ(client.Converter().Terminate(), AMF_OK);
    EXPECT_EQ(m_script.GetBreaches().uiPicturesLost, 1u);
    EXPECT_EQ(m_script.CountObjects().uiPendingPictures, 0u);
}

TEST_F(AmfRuntime, ASurfaceOutlivesItsContextAndItsDevice)
{
    Held<AMFContext> pContext = MakeDeviceContext();
    Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_BGRA, 16, 16);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
    EXPECT_EQ(pContext.Release(), 0);
    PaintSurface(pSurface.Get(), NaturalPicture(16, 16, 0));
    EXPECT_EQ(pSurface.Release(), 0);
}

TEST_F(AmfRuntime, AComponentHoldsItsContext)
{
    Held<AMFContext> pContext = MakeDeviceContext();
    Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
    EXPECT_EQ(pContext.Release(), 1);
    EXPECT_EQ(m_script.CountObjects().uiContexts, 1u);
    EXPECT_EQ(pEncoder->GetContext()->Terminate(), AMF_OK);
    EXPECT_EQ(pEncoder.Release(), 0);
    EXPECT_EQ(m_script.CountObjects().uiContexts, 0u);
}
