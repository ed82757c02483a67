// What calls out of order return, and that they are counted.
#include "client.h"

namespace
{

constexpr amf_int32 c_nWidth = 64;
constexpr amf_int32 c_nHeight = 48;

}  // namespace

TEST_F(AmfRuntime, NothingGoesInOrOutBeforeInit)
{
    Client client(c_nWidth, c_nHeight);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_NV12, c_nWidth, c_nHeight);
    for (AMFComponent* pComponent : {&client.Encoder(), &client.Converter()})
    {
        AMFData* pData = nullptr;
        EXPECT_EQ(pComponent->SubmitInput(pSurface.Get()), AMF_NOT_INITIALIZED);
        EXPECT_EQ(pComponent->QueryOutput(&pData), AMF_NOT_INITIALIZED);
        EXPECT_EQ(pComponent->Drain(), AMF_NOT_INITIALIZED);
        EXPECT_EQ(pComponent->Flush(), AMF_NOT_INITIALIZED);
        EXPECT_EQ(pComponent->ReInit(c_nWidth, c_nHeight), AMF_NOT_INITIALIZED);
        EXPECT_EQ(pComponent->Terminate(), AMF_OK);
    }
    EXPECT_EQ(m_script.GetBreaches().uiCallsOutOfOrder, 10u);
}

TEST_F(AmfRuntime, WithoutADeviceThereAreNoSurfacesAndNoInit)
{
    const Held<AMFContext> pContext = MakeContext();
    const Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
    AMFSurface* pSurface = nullptr;
    EXPECT_EQ(pContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_NV12, 64, 48, &pSurface), AMF_NO_DEVICE);
    EXPECT_EQ(pEncoder->Init(AMF_SURFACE_NV12, 64, 48), AMF_NO_DEVICE);
    EXPECT_EQ(pContext->GetDX9Device(), nullptr);
    EXPECT_EQ(m_script.GetBreaches().uiCallsOutOfOrder, 2u);
    pContext->Terminate();
}

TEST_F(AmfRuntime, ADeviceIsSetOnce)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    EXPECT_EQ(pContext->InitDX9(nullptr), AMF_ALREADY_INITIALIZED);
    EXPECT_EQ(m_script.GetBreaches().uiCallsOutOfOrder, 1u);
    EXPECT_NE(pContext->GetDX9Device(), nullptr);
    EXPECT_EQ(pContext->GetDX9Device(AMF_DX9_EX), nullptr);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
    EXPECT_EQ(pContext->GetDX9Device(), nullptr);
    EXPECT_EQ(pContext->InitDX9(nullptr), AMF_OK);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, OnlyAContextsOwnInterfacesAreImplemented)
{
    const Held<AMFContext> pContext = MakeContext();
    EXPECT_EQ(pContext->InitDX11(nullptr), AMF_NOT_IMPLEMENTED);
    EXPECT_EQ(pContext->InitOpenCL(), AMF_NOT_IMPLEMENTED);
    AMFSurface* pSurface = reinterpret_cast<AMFSurface*>(1);
    EXPECT_EQ(pContext->CreateSurfaceFromDX9Native(nullptr, &pSurface, nullptr), AMF_NOT_IMPLEMENTED);
    EXPECT_EQ(pSurface, nullptr);
    pContext->Terminate();
}

TEST_F(AmfRuntime, TheConverterHoldsOnePicture)
{
    Client client(c_nWidth, c_nHeight);
    AMFComponent& converter = client.Converter();
    ASSERT_EQ(converter.Init(AMF_SURFACE_BGRA, c_nWidth, c_nHeight), AMF_OK);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_BGRA, c_nWidth, c_nHeight);
    Held<AMFData> pData;
    EXPECT_EQ(converter.QueryOutput(pData.Put()), AMF_REPEAT);
    EXPECT_EQ(converter.SubmitInput(pSurface.Get()), AMF_OK);
    EXPECT_EQ(converter.SubmitInput(pSurface.Get()), AMF_INPUT_FULL);
    EXPECT_EQ(converter.QueryOutput(pData.Put()), AMF_OK);
    EXPECT_TRUE(pData);
    EXPECT_EQ(converter.SubmitInput(pSurface.Get()), AMF_OK);
    EXPECT_EQ(converter.Drain(), AMF_OK);
    EXPECT_EQ(converter.SubmitInput(pSurface.Get()), AMF_EOF);
    Held<AMFData> pLast;
    EXPECT_EQ(converter.QueryOutput(pLast.Put()), AMF_OK);
    AMFData* pNone = reinterpret_cast<AMFData*>(1);
    EXPECT_EQ(converter.QueryOutput(&pNone), AMF_EOF);
    EXPECT_EQ(pNone, nullptr);
    EXPECT_EQ(converter.SubmitInput(pSurface.Get()), AMF_EOF);
    EXPECT_EQ(m_script.GetBreaches().uiCallsOutOfOrder, 2u);

    EXPECT_EQ(converter.Init(AMF_SURFACE_BGRA, c_nWidth, c_nHeight), AMF_OK);
    EXPECT_EQ(converter.QueryOutput(&pNone), AMF_REPEAT);
}

TEST_F(AmfRuntime, TheEncodersInputIsFullWithSixteenPicturesWhoseBuffersAreNotTaken)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    const Held<AMFSurface> pSurface = client.Upload(NaturalPicture(c_nWidth, c_nHeight, 0));
    for (int i = 0; i < 16; ++i)
    {
        EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK) << i;
    }
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_INPUT_FULL);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_INPUT_FULL);
    EXPECT_EQ(m_script.CountObjects().uiPendingPictures, 16u);
    while (!client.Take())
    {}
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_INPUT_FULL);
    client.Finish();
    EXPECT_EQ(client.Buffers().size(), 17u);
}

TEST_F(AmfRuntime, TheFirstQueryAfterDrainGivesAPicture)
{
    for (int nRound = 0; nRound < 5; ++nRound)
    {
        Client client(c_nWidth, c_nHeight);
        client.Start();
        client.Send(NaturalPicture(c_nWidth, c_nHeight, 0));
        EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
        AMF_RESULT eResult = AMF_FAIL;
        EXPECT_TRUE(client.Take(&eResult));
        EXPECT_FALSE(client.Take(&eResult));
        EXPECT_EQ(eResult, AMF_EOF);
    }
}

TEST_F(AmfRuntime, DrainEndsTheInputUntilTheNextInit)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    const Held<AMFSurface> pSurface = client.Upload(NaturalPicture(c_nWidth, c_nHeight, 0));
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_EOF);
    EXPECT_EQ(m_script.GetBreaches().uiCallsOutOfOrder, 1u);
    AMF_RESULT eResult = AMF_OK;
    EXPECT_FALSE(client.Take(&eResult));
    EXPECT_EQ(eResult, AMF_EOF);
    client.Start();
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    client.Finish();
    ASSERT_EQ(client.Buffers().size(), 1u);
    EXPECT_EQ(Units(client.Buffers()[0]), "9 7 8 5");
}

TEST_F(AmfRuntime, FlushDropsWhatIsThereAndBeginsAStream)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 0));
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 1));
    EXPECT_EQ(client.Encoder().Flush(), AMF_OK);
    EXPECT_EQ(m_script.CountObjects().uiPendingPictures, 0u);
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 2));
    client.Finish();
    ASSERT_EQ(client.Buffers().size(), 1u);
    EXPECT_EQ(client.Buffers()[0].nStartTime, 2);
    EXPECT_EQ(Units(client.Buffers()[0]), "9 7 8 5");
}

TEST_F(AmfRuntime, PicturesThatDontFitAreRefused)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    AMFContext& context = client.Context();
    EXPECT_EQ(client.Submit(MakeSurface(&context, AMF_SURFACE_BGRA, c_nWidth, c_nHeight).Get()), AMF_INVALID_FORMAT);
    EXPECT_EQ(client.Submit(MakeSurface(&context, AMF_SURFACE_NV12, c_nWidth, 50).Get()), AMF_INVALID_RESOLUTION);
    EXPECT_EQ(client.Submit(nullptr), AMF_INVALID_POINTER);
    Held<AMFBuffer> pBuffer;
    ASSERT_EQ(context.AllocBuffer(AMF_MEMORY_HOST, 100, pBuffer.Put()), AMF_OK);
    EXPECT_EQ(client.Encoder().SubmitInput(pBuffer.Get()), AMF_INVALID_DATA_TYPE);

    const Held<AMFSurface> pLocked = MakeSurface(&context, AMF_SURFACE_NV12, c_nWidth, c_nHeight);
    D3DLOCKED_RECT locked{};
    ASSERT_EQ(NativeOf(pLocked.Get())->LockRect(&locked, nullptr, 0), D3D_OK);
    EXPECT_EQ(client.Submit(pLocked.Get()), AMF_DIRECTX_FAILED);
    ASSERT_EQ(NativeOf(pLocked.Get())->UnlockRect(), D3D_OK);
    EXPECT_EQ(client.Submit(pLocked.Get()), AMF_OK);
    client.Finish();
    EXPECT_EQ(client.Buffers().size(), 1u);
}

TEST_F(AmfRuntime, InitRefusesWhatCantBeEncodedOrConverted)
{
    Client client(c_nWidth, c_nHeight);
    AMFComponent& encoder = client.Encoder();
    EXPECT_EQ(encoder.Init(AMF_SURFACE_YV12, 64, 48), AMF_SURFACE_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(encoder.Init(AMF_SURFACE_NV12, 63, 48), AMF_INVALID_RESOLUTION);
    EXPECT_EQ(encoder.Init(AMF_SURFACE_NV12, 64, 0), AMF_INVALID_RESOLUTION);
    EXPECT_EQ(encoder.Init(AMF_SURFACE_NV12, 4098, 48), AMF_INVALID_RESOLUTION);
    client.Set(AmfEncoderProperty::FrameRate, Rate(30, 0));
    EXPECT_EQ(encoder.Init(AMF_SURFACE_NV12, 64, 48), AMF_INVALID_ARG);
    AMFComponent& converter = client.Converter();
    EXPECT_EQ(converter.Init(AMF_SURFACE_YUY2, 64, 48), AMF_SURFACE_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(converter.Init(AMF_SURFACE_BGRA, 64, 47), AMF_INVALID_RESOLUTION);
    EXPECT_EQ(converter.SetProperty(AmfConverterProperty::OutputSize, Size(32, 24)), AMF_OK);
    EXPECT_EQ(converter.Init(AMF_SURFACE_BGRA, 64, 48), AMF_NOT_SUPPORTED);
    EXPECT_EQ(m_script.CountObjects().uiInitializedComponents, 0u);
}

TEST_F(AmfRuntime, AnEncoderWhoseInitFailedIsNotInitialised)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    EXPECT_EQ(client.Encoder().Init(AMF_SURFACE_NV12, 63, 48), AMF_INVALID_RESOLUTION);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_NV12, c_nWidth, c_nHeight);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_NOT_INITIALIZED);
}
