// The instrument that other tests play: it must do what it says.
#include <functional>
#include <limits>

#include "client.h"

namespace
{

constexpr std::uint32_t c_uiForEver = std::numeric_limits<std::uint32_t>::max();
constexpr amf_int32 c_nWidth = 64;
constexpr amf_int32 c_nHeight = 48;

}  // namespace

TEST_F(AmfRuntime, AScriptFailsTheCallsItNamesAndNoOthers)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    const Held<AMFSurface> pSurface = client.Upload(NaturalPicture(c_nWidth, c_nHeight, 0));
    m_script.FailCalls(AMF_CALL_ENCODER_SUBMIT_INPUT, 2, 2, AMF_FAIL);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_FAIL);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_FAIL);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    EXPECT_EQ(m_script.CountCalls(AMF_CALL_ENCODER_SUBMIT_INPUT), 4u);
    EXPECT_EQ(m_script.CountCalls(AMF_CALL_CONVERTER_SUBMIT_INPUT), 1u);
    client.Finish();
    EXPECT_EQ(client.Buffers().size(), 2u);
}

TEST_F(AmfRuntime, EveryCallCanBeMadeToFail)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    {
        const Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, c_nWidth, c_nHeight);
        const Held<AMFSurface> pOther = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, c_nWidth, c_nHeight);
        const Held<AMFComponent> pConverter = MakeComponent(pContext.Get(), AMFVideoConverter);
        const Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
        using Call = std::function<AMF_RESULT()>;
        AMFFactory* pFactory = nullptr;
        AMFContext* pNewContext = nullptr;
        AMFComponent* pComponent = nullptr;
        AMFDebug* pDebug = nullptr;
        AMFTrace* pTrace = nullptr;
        AMFBuffer* pBuffer = nullptr;
        AMFSurface* pNewSurface = nullptr;
        AMFData* pData = nullptr;
        amf_uint64 uiVersion = 0;
        AMFVariantStruct value{};
        std::vector<std::pair<AmfRuntimeCall, Call>> calls = {
            {AMF_CALL_INIT, [&] { return m_runtime.init(AMF_FULL_VERSION, &pFactory); }},
            {AMF_CALL_QUERY_VERSION, [&] { return m_runtime.queryVersion(&uiVersion); }},
            {AMF_CALL_FACTORY_CREATE_CONTEXT, [&] { return m_factory.CreateContext(&pNewContext); }},
            {AMF_CALL_FACTORY_CREATE_CONVERTER,
             [&] { return m_factory.CreateComponent(pContext.Get(), AMFVideoConverter, &pComponent); }},
            {AMF_CALL_FACTORY_CREATE_ENCODER,
             [&] { return m_factory.CreateComponent(pContext.Get(), AMFVideoEncoderVCE_AVC, &pComponent); }},
            {AMF_CALL_FACTORY_GET_DEBUG, [&] { return m_factory.GetDebug(&pDebug); }},
            {AMF_CALL_FACTORY_GET_TRACE, [&] { return m_factory.GetTrace(&pTrace); }},
            {AMF_CALL_CONTEXT_TERMINATE, [&] { return pContext->Terminate(); }},
            {AMF_CALL_CONTEXT_INIT_DX9, [&] { return pContext->InitDX9(nullptr); }},
            {AMF_CALL_CONTEXT_ALLOC_BUFFER, [&] { return pContext->AllocBuffer(AMF_MEMORY_HOST, 10, &pBuffer); }},
            {AMF_CALL_CONTEXT_ALLOC_SURFACE,
             [&] { return pContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_NV12, 16, 16, &pNewSurface); }},
            {AMF_CALL_SURFACE_COPY_REGION,
             [&] { return pSurface->CopySurfaceRegion(pOther.Get(), 0, 0, 0, 0, c_nWidth, c_nHeight); }},
        };
        for (const auto& [pAny, nFirst] : {std::pair{&pConverter, int{AMF_CALL_CONVERTER_SET_PROPERTY}},
                                           std::pair{&pEncoder, int{AMF_CALL_ENCODER_SET_PROPERTY}}})
        {
            AMFComponent* const p = pAny->Get();
            const Call ofComponent[] = {
                [p] { return p->SetProperty(L"none", Number(1)); },
                [p, &value] { return p->GetProperty(L"none", &value); },
                [p] { return p->Init(AMF_SURFACE_NV12, c_nWidth, c_nHeight); },
                [p] { return p->ReInit(c_nWidth, c_nHeight); },
                [p] { return p->Terminate(); },
                [p] { return p->Drain(); },
                [p] { return p->Flush(); },
                [p, &pSurface] { return p->SubmitInput(pSurface.Get()); },
                [p, &pData] { return p->QueryOutput(&pData); },
            };
            for (int i = 0; i < static_cast<int>(std::size(ofComponent)); ++i)
            {
                calls.emplace_back(static_cast<AmfRuntimeCall>(nFirst + i), ofComponent[i]);
            }
        }
        // All but GetDX9Device, which has no result.
        EXPECT_EQ(calls.size(), std::size_t{AMF_CALL_COUNT} - 1);
        for (const auto& [eCall, call] : calls)
        {
            m_script.FailCalls(eCall, 1, 1, AMF_TAN_UNSUPPORTED_VERSION);
            EXPECT_EQ(call(), AMF_TAN_UNSUPPORTED_VERSION) << eCall;
            EXPECT_EQ(m_script.CountCalls(eCall), 1u + (eCall == AMF_CALL_CONTEXT_INIT_DX9 ? 1 : 0) +
                                                      (eCall == AMF_CALL_FACTORY_CREATE_CONTEXT ? 1 : 0) +
                                                      (eCall == AMF_CALL_FACTORY_CREATE_CONVERTER ? 1 : 0) +
                                                      (eCall == AMF_CALL_FACTORY_CREATE_ENCODER ? 1 : 0) +
                                                      (eCall == AMF_CALL_CONTEXT_ALLOC_SURFACE ? 2 : 0))
                << eCall;
            // The same with a success: nothing is done and nothing handed out.
            m_script.FailCalls(eCall, 1, 1, AMF_OK);
            EXPECT_EQ(call(), AMF_OK) << eCall;
        }
        EXPECT_EQ(pFactory, nullptr);
        EXPECT_EQ(pNewContext, nullptr);
        EXPECT_EQ(pComponent, nullptr);
        EXPECT_EQ(pDebug, nullptr);
        EXPECT_EQ(pTrace, nullptr);
        EXPECT_EQ(pBuffer, nullptr);
        EXPECT_EQ(pNewSurface, nullptr);
        EXPECT_EQ(pData, nullptr);
        EXPECT_EQ(uiVersion, 0u);
        EXPECT_EQ(m_script.CountObjects().uiInitializedComponents, 0u);
        m_script.FailCalls(AMF_CALL_CONTEXT_GET_DX9_DEVICE, 1, 1, AMF_FAIL);
        EXPECT_EQ(pContext->GetDX9Device(), nullptr);
        EXPECT_NE(pContext->GetDX9Device(), nullptr);
    }
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, ARuleOfNoCallsEndsAnotherRule)
{
    amf_uint64 uiVersion = 0;
    m_script.FailCalls(AMF_CALL_QUERY_VERSION, 1, c_uiForEver, AMF_FAIL);
    EXPECT_EQ(m_runtime.queryVersion(&uiVersion), AMF_FAIL);
    EXPECT_EQ(m_runtime.queryVersion(&uiVersion), AMF_FAIL);
    m_script.FailCalls(AMF_CALL_QUERY_VERSION, 1, 0, AMF_FAIL);
    EXPECT_EQ(m_runtime.queryVersion(&uiVersion), AMF_OK);
    m_script.ReportVersion(AMF_MAKE_FULL_VERSION(1, 4, 2, 0));
    EXPECT_EQ(m_runtime.queryVersion(&uiVersion), AMF_OK);
    EXPECT_EQ(uiVersion, 0x0001000400020000u);
    m_script.Reset();
    EXPECT_EQ(m_script.CountCalls(AMF_CALL_QUERY_VERSION), 0u);
    EXPECT_EQ(m_runtime.queryVersion(&uiVersion), AMF_OK);
    EXPECT_EQ(uiVersion, AMF_FULL_VERSION);
}

TEST_F(AmfRuntime, AnEncoderThatIsHeldTakesPicturesUntilItIsFullAndDeliversNone)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    m_script.HoldEncoders(1);
    const Held<AMFSurface> pSurface = client.Upload(NaturalPicture(c_nWidth, c_nHeight, 0));
    for (int i = 0; i < 16; ++i)
    {
        EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    }
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_INPUT_FULL);
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    AMF_RESULT eResult = AMF_OK;
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(client.Take(&eResult));
        EXPECT_EQ(eResult, AMF_REPEAT);
    }
    m_script.HoldEncoders(0);
    client.Finish();
    EXPECT_EQ(client.Buffers().size(), 16u);
}

TEST_F(AmfRuntime, AnEncoderThatWithholdsItsEndDeliversAllPicturesAndRepeats)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    m_script.WithholdEnd(1);
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 0));
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    AMF_RESULT eResult = AMF_OK;
    EXPECT_TRUE(client.Take(&eResult));
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(client.Take(&eResult));
        EXPECT_EQ(eResult, AMF_REPEAT);
    }
    m_script.WithholdEnd(0);
    EXPECT_FALSE(client.Take(&eResult));
    EXPECT_EQ(eResult, AMF_EOF);
}

TEST_F(AmfRuntime, ASlowEncoderAnswersFruitlessQueriesBeforeEachOutput)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    m_script.DeliverSlowly(3);
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 0));
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 1));
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    std::string results;
    AMF_RESULT eResult = AMF_OK;
    for (int i = 0; i < 20 && eResult != AMF_EOF; ++i)
    {
        client.Take(&eResult);
        results += eResult == AMF_OK ? "o" : eResult == AMF_REPEAT ? "r" : "e";
    }
    // The first waits for the encoder, so that the output is there when it returns.
    EXPECT_EQ(results, "rrrorrroe");
}

TEST_F(AmfRuntime, NativeSurfacesOfAFormatCanBeHidden)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    const Held<AMFSurface> pSurface = client.Upload(NaturalPicture(c_nWidth, c_nHeight, 0));
    const Held<AMFSurface> pOther = MakeSurface(&client.Context(), AMF_SURFACE_BGRA, c_nWidth, c_nHeight);
    m_script.HideNativeSurfaces(AMF_SURFACE_NV12);
    EXPECT_NE(pOther->GetPlaneAt(0)->GetNative(), nullptr);
    EXPECT_EQ(pSurface->GetPlaneAt(0)->GetNative(), nullptr);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_INVALID_ARG);
    m_script.HideNativeSurfaces(AMF_SURFACE_UNKNOWN);
    EXPECT_NE(pSurface->GetPlaneAt(0)->GetNative(), nullptr);
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    client.Finish();
}

TEST_F(AmfRuntime, AConverterWithoutOutputIsARuleOfItsQueries)
{
    Client client(c_nWidth, c_nHeight);
    ASSERT_EQ(client.Converter().Init(AMF_SURFACE_BGRA, c_nWidth, c_nHeight), AMF_OK);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_BGRA, c_nWidth, c_nHeight);
    m_script.FailCalls(AMF_CALL_CONVERTER_QUERY_OUTPUT, 1, c_uiForEver, AMF_REPEAT);
    EXPECT_EQ(client.Converter().SubmitInput(pSurface.Get()), AMF_OK);
    EXPECT_EQ(client.Converter().Drain(), AMF_OK);
    AMFData* pData = reinterpret_cast<AMFData*>(1);
    EXPECT_EQ(client.Converter().QueryOutput(&pData), AMF_REPEAT);
    EXPECT_EQ(pData, nullptr);
}
