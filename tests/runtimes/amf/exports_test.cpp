#include "runtime.h"

TEST_F(AmfRuntime, ExportsItsEntriesAndNothingElse)
{
    EXPECT_NE(GetProcAddress(m_runtime.hModule, "AMFInit"), nullptr);
    EXPECT_NE(GetProcAddress(m_runtime.hModule, "AMFQueryVersion"), nullptr);
    EXPECT_NE(GetProcAddress(m_runtime.hModule, "AmfRuntimeGetScript"), nullptr);
    EXPECT_EQ(GetProcAddress(m_runtime.hModule, "x264_param_default"), nullptr);
    EXPECT_EQ(GetProcAddress(m_runtime.hModule, "_ZN10amfruntime7Factory3GetEv"), nullptr);
}

TEST_F(AmfRuntime, HasOneFactoryWithOneTraceAndOneDebugObject)
{
    AMFFactory* pFactory = nullptr;
    EXPECT_EQ(m_runtime.init(AMF_FULL_VERSION, &pFactory), AMF_OK);
    EXPECT_EQ(pFactory, &m_factory);
    AMFTrace* pTrace[2] = {};
    AMFDebug* pDebug[2] = {};
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(m_factory.GetTrace(&pTrace[i]), AMF_OK);
        EXPECT_EQ(m_factory.GetDebug(&pDebug[i]), AMF_OK);
    }
    EXPECT_NE(pTrace[0], nullptr);
    EXPECT_EQ(pTrace[0], pTrace[1]);
    EXPECT_NE(pDebug[0], nullptr);
    EXPECT_EQ(pDebug[0], pDebug[1]);
}

TEST_F(AmfRuntime, ServesItsVersionAndEarlierOnes)
{
    AMFFactory* pFactory = nullptr;
    EXPECT_EQ(m_runtime.init(AMF_MAKE_FULL_VERSION(1, 3, 0, 5), &pFactory), AMF_OK);
    EXPECT_EQ(pFactory, &m_factory);
    EXPECT_EQ(m_runtime.init(AMF_MAKE_FULL_VERSION(1, 4, 30, 0), &pFactory), AMF_OK);
    EXPECT_EQ(m_runtime.init(AMF_MAKE_FULL_VERSION(2, 0, 0, 0), &pFactory), AMF_NOT_SUPPORTED);
    EXPECT_EQ(pFactory, nullptr);
    EXPECT_EQ(m_runtime.init(AMF_FULL_VERSION, nullptr), AMF_INVALID_POINTER);
}

TEST_F(AmfRuntime, ReportsVersion1490)
{
    amf_uint64 uiVersion = 0;
    EXPECT_EQ(m_runtime.queryVersion(&uiVersion), AMF_OK);
    EXPECT_EQ(uiVersion, 0x0001000400090000u);
    EXPECT_EQ(m_runtime.queryVersion(nullptr), AMF_INVALID_POINTER);
}

TEST_F(AmfRuntime, MakesTheConverterAndTheEncoderAndNothingElse)
{
    const Held<AMFContext> pContext = MakeContext();
    EXPECT_TRUE(MakeComponent(pContext.Get(), L"AMFVideoConverter"));
    EXPECT_TRUE(MakeComponent(pContext.Get(), L"AMFVideoEncoderVCE_AVC"));
    AMFComponent* pComponent = nullptr;
    EXPECT_EQ(m_factory.CreateComponent(pContext.Get(), L"AMFVideoEncoderVCE_SVC", &pComponent),
              AMF_CODEC_NOT_SUPPORTED);
    EXPECT_EQ(m_factory.CreateComponent(pContext.Get(), L"amfvideoconverter", &pComponent), AMF_NOT_FOUND);
    EXPECT_EQ(m_factory.CreateComponent(pContext.Get(), nullptr, &pComponent), AMF_INVALID_POINTER);
    EXPECT_EQ(m_factory.CreateComponent(nullptr, AMFVideoConverter, &pComponent), AMF_INVALID_POINTER);
    EXPECT_EQ(pComponent, nullptr);
    EXPECT_EQ(m_factory.CreateComponent(pContext.Get(), AMFVideoConverter, nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(m_factory.CreateContext(nullptr), AMF_INVALID_POINTER);
    pContext->Terminate();
}

TEST_F(AmfRuntime, ObjectsAnswerForTheirInterfacesOnly)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    {
        const Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_BGRA, 16, 16);
        EXPECT_TRUE(pSurface.As<AMFInterface>());
        EXPECT_TRUE(pSurface.As<AMFPropertyStorage>());
        EXPECT_TRUE(pSurface.As<AMFData>());
        EXPECT_EQ(pSurface.As<AMFSurface>().Get(), pSurface.Get());
        EXPECT_FALSE(pSurface.As<AMFBuffer>());
        EXPECT_EQ(pSurface->QueryInterface(AMFBuffer::IID(), nullptr), AMF_INVALID_POINTER);
        const Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
        EXPECT_TRUE(pEncoder.As<AMFPropertyStorageEx>());
        EXPECT_TRUE(pEncoder.As<AMFComponent>());
        EXPECT_FALSE(pEncoder.As<AMFContext>());
        EXPECT_EQ(pEncoder->GetContext(), pContext.Get());
    }
    EXPECT_TRUE(pContext.As<AMFContext>());
    EXPECT_FALSE(pContext.As<AMFData>());
    pContext->Terminate();
}

TEST_F(AmfRuntime, TheDebugObjectKeepsItsSwitches)
{
    AMFDebug* pDebug = nullptr;
    ASSERT_EQ(m_factory.GetDebug(&pDebug), AMF_OK);
    EXPECT_FALSE(pDebug->AssertsEnabled());
    pDebug->AssertsEnable(true);
    EXPECT_TRUE(pDebug->AssertsEnabled());
    EXPECT_FALSE(pDebug->PerformanceMonitorEnabled());
    pDebug->AssertsEnable(false);
    pDebug->EnablePerformanceMonitor(true);
    EXPECT_TRUE(pDebug->PerformanceMonitorEnabled());
    pDebug->EnablePerformanceMonitor(false);
}
