// The session on a Direct3D 9 device, with a device whose surfaces only count their references.
#include "nvenc_fixture.h"

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderD3D9.h"
#include "support/idle_d3d9.h"
#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
struct SSurfaceRequest
{
    UINT m_uiWidth;
    UINT m_uiHeight;
    UINT m_uiFormat;
    UINT m_uiPool;
    HANDLE* m_phShared;
};

// Makes surfaces, for the device and for the service; keeps them when they are released.
class SurfaceMaker
{
public:
    HRESULT Make(const SSurfaceRequest& request, IDirect3DSurface9** ppSurface)
    {
        m_vRequests.push_back(request);
        if (static_cast<int>(m_vRequests.size()) == m_nFailingRequest) return m_hrFailure;
        m_vSurfaces.push_back(std::make_unique<IdleSurface>());
        *ppSurface = m_vSurfaces.back().get();
        return S_OK;
    }
    std::vector<ULONG> GetReferences() const
    {
        std::vector<ULONG> vReferences;
        for (const auto& pSurface : m_vSurfaces)
            vReferences.push_back(pSurface->m_uiReferences);
        return vReferences;
    }

    int m_nFailingRequest = 0;  // counted from 1
    HRESULT m_hrFailure = E_OUTOFMEMORY;
    std::vector<SSurfaceRequest> m_vRequests;
    std::vector<std::unique_ptr<IdleSurface>> m_vSurfaces;
};

class FakeDevice : public IdleDevice, public SurfaceMaker
{
public:
    HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                                                          IDirect3DSurface9** ppSurface, HANDLE* phShared) override
    {
        return Make({uiWidth, uiHeight, static_cast<UINT>(eFormat), static_cast<UINT>(ePool), phShared}, ppSurface);
    }
};

class FakeService : public IdleVideoService, public SurfaceMaker
{
public:
    HRESULT STDMETHODCALLTYPE CreateSurface(UINT uiWidth, UINT uiHeight, UINT uiBackBuffers, D3DFORMAT eFormat,
                                            D3DPOOL ePool, DWORD dwUsage, DWORD dwType, IDirect3DSurface9** ppSurface,
                                            HANDLE* phShared) override
    {
        EXPECT_EQ(uiBackBuffers, 0u);
        EXPECT_EQ(dwUsage, 0u);
        EXPECT_EQ(dwType, 1u);
        return Make({uiWidth, uiHeight, static_cast<UINT>(eFormat), static_cast<UINT>(ePool), phShared}, ppSurface);
    }
};

class OpenEncoder : public NvEncoderD3D9
{
public:
    using NvEncoderD3D9::AllocateInputBuffers;
    using NvEncoderD3D9::m_vInputFrames;
    using NvEncoderD3D9::m_vReferenceFrames;
    using NvEncoderD3D9::m_vRegisteredResources;
    using NvEncoderD3D9::m_vRegisteredResourcesForReference;
    using NvEncoderD3D9::NvEncoderD3D9;
};

class D3D9Test : public NvencTest
{
protected:
    std::unique_ptr<OpenEncoder> Construct(NV_ENC_BUFFER_FORMAT eFormat = NV_ENC_BUFFER_FORMAT_ARGB,
                                           IDirectXVideoProcessorService* pService = nullptr,
                                           bool bMotionEstimationOnly = false)
    {
        return std::make_unique<OpenEncoder>(&m_device, 64, 48, eFormat, pService, 3, bMotionEstimationOnly);
    }
    void Create(OpenEncoder& encoder)
    {
        FillParams(encoder);
        encoder.CreateEncoder(&m_params);
    }
    void ExpectCreateFails(OpenEncoder& encoder, const std::string& strText, int nStatus)
    {
        FillParams(encoder);
        ExpectFailure([&] { encoder.CreateEncoder(&m_params); }, strText, nStatus);
    }

    FakeDevice m_device;
    FakeService m_service;
};

constexpr const char* g_pszNoSurface = "NvEncoderD3D9::AllocateInputBuffers : Failed to create d3d9Surfaces";
}  // namespace

TEST_F(D3D9Test, ANullDeviceIsReportedBeforeTheFormatAndBothBeforeTheSession)
{
    m_runtime.m_bNullSession = true;
    ExpectFailure([] { OpenEncoder encoder(nullptr, 64, 48, NV_ENC_BUFFER_FORMAT_YV12); },
                  "NvEncoderD3D9::NvEncoderD3D9 : Bad d3d9device ptr", 6);
    ExpectFailure([&] { Construct(NV_ENC_BUFFER_FORMAT_YV12); },
                  "NvEncoderD3D9::NvEncoderD3D9 : Unsupported Buffer format", 8);
    ExpectFailure([&] { Construct(); }, "NvEncoderD3D9::NvEncoderD3D9 : Encoder Initialization failed", 4);
    EXPECT_EQ(m_device.m_uiReferences, 1u);
}

TEST_F(D3D9Test, EveryFormatButTwoIsRefused)
{
    for (const int nFormat :
         {0x0, 0x10, 0x100, 0x1000, 0x10000, 0x100000, 0x2000000, 0x4000000, 0x10000000, 0x20000000, 0x40000000})
    {
        ExpectFailure([&] { Construct(static_cast<NV_ENC_BUFFER_FORMAT>(nFormat)); },
                      "NvEncoderD3D9::NvEncoderD3D9 : Unsupported Buffer format", 8);
    }
    EXPECT_NO_THROW(Construct(static_cast<NV_ENC_BUFFER_FORMAT>(0x1)));
    EXPECT_NO_THROW(Construct(static_cast<NV_ENC_BUFFER_FORMAT>(0x1000000)));
    // The refused ones had a session already, and ended it.
    EXPECT_TRUE(m_runtime.m_setSessions.empty());
}

TEST_F(D3D9Test, TheSessionIsOpenedOnTheDevice)
{
    const auto pEncoder = Construct();
    ASSERT_EQ(m_runtime.m_vOpened.size(), 1u);
    EXPECT_EQ(m_runtime.m_vOpened[0].device, static_cast<IDirect3DDevice9*>(&m_device));
    EXPECT_EQ(m_runtime.m_vOpened[0].deviceType, 0);
    EXPECT_EQ(pEncoder->GetEncodeWidth(), 64u);
    EXPECT_EQ(pEncoder->GetEncodeHeight(), 48u);
}

TEST_F(D3D9Test, DeviceAndServiceAreReferencedUntilTheSessionIsDestroyed)
{
    {
        const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_ARGB, &m_service);
        EXPECT_EQ(m_device.m_uiReferences, 2u);
        EXPECT_EQ(m_service.m_uiReferences, 2u);
        pEncoder->DestroyEncoder();
        EXPECT_EQ(m_device.m_uiReferences, 1u);
        EXPECT_EQ(m_service.m_uiReferences, 1u);
    }
    EXPECT_EQ(m_device.m_uiReferences, 1u);
    EXPECT_EQ(m_service.m_uiReferences, 1u);
}

TEST_F(D3D9Test, TheDestructorGivesBackWhatIsLeft)
{
    {
        const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_ARGB, &m_service);
        Create(*pEncoder);
        Packets vPacket;
        pEncoder->EncodeFrame(vPacket);
    }
    EXPECT_EQ(m_device.m_uiReferences, 1u);
    EXPECT_EQ(m_service.m_uiReferences, 1u);
    EXPECT_THAT(m_service.GetReferences(), ElementsAre(0u, 0u, 0u, 0u));
    EXPECT_TRUE(m_runtime.m_setSessions.empty());
    EXPECT_TRUE(m_runtime.m_mapRegistered.empty());
    EXPECT_TRUE(m_runtime.m_mapMapped.empty());
}

TEST_F(D3D9Test, TheDeviceMakesOneSurfacePerSlot)
{
    const auto pEncoder = Construct();
    Create(*pEncoder);
    ASSERT_EQ(m_device.m_vRequests.size(), 4u);
    for (const SSurfaceRequest& request : m_device.m_vRequests)
    {
        EXPECT_EQ(request.m_uiWidth, 64u);
        EXPECT_EQ(request.m_uiHeight, 48u);
        EXPECT_EQ(request.m_uiFormat, 21u);
        EXPECT_EQ(request.m_uiPool, 0u);
        EXPECT_EQ(request.m_phShared, nullptr);
    }
    EXPECT_THAT(m_device.GetReferences(), ElementsAre(1u, 1u, 1u, 1u));
}

TEST_F(D3D9Test, Nv12SurfacesCarryTheirFourCharacterCode)
{
    const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_NV12);
    Create(*pEncoder);
    ASSERT_EQ(m_device.m_vRequests.size(), 4u);
    EXPECT_EQ(m_device.m_vRequests[0].m_uiFormat, 0x3231564Eu);
}

TEST_F(D3D9Test, AServiceMakesTheSurfacesInsteadOfTheDevice)
{
    const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_ARGB, &m_service);
    Create(*pEncoder);
    EXPECT_THAT(m_device.m_vRequests, IsEmpty());
    ASSERT_EQ(m_service.m_vRequests.size(), 4u);
    EXPECT_EQ(m_service.m_vRequests[0].m_uiWidth, 64u);
    EXPECT_EQ(m_service.m_vRequests[0].m_uiHeight, 48u);
    EXPECT_EQ(m_service.m_vRequests[0].m_uiFormat, 21u);
    EXPECT_EQ(m_service.m_vRequests[0].m_uiPool, 0u);
    EXPECT_EQ(m_service.m_vRequests[0].m_phShared, nullptr);
}

TEST_F(D3D9Test, SurfacesHaveTheLargestSizeThatMayBeAskedFor)
{
    const auto pEncoder = Construct();
    FillParams(*pEncoder);
    m_params.maxEncodeWidth = 128;
    m_params.maxEncodeHeight = 96;
    pEncoder->CreateEncoder(&m_params);
    EXPECT_EQ(m_device.m_vRequests[0].m_uiWidth, 128u);
    EXPECT_EQ(m_device.m_vRequests[0].m_uiHeight, 96u);
    EXPECT_EQ(m_runtime.m_vRegistered[0].width, 128u);
    EXPECT_EQ(m_runtime.m_vRegistered[0].height, 96u);
}

TEST_F(D3D9Test, WithoutMotionEstimationThereAreInputFramesAndNoReferences)
{
    const auto pEncoder = Construct();
    Create(*pEncoder);
    EXPECT_EQ(pEncoder->m_vInputFrames.size(), 4u);
    EXPECT_EQ(pEncoder->m_vRegisteredResources.size(), 4u);
    EXPECT_THAT(pEncoder->m_vReferenceFrames, IsEmpty());
    EXPECT_THAT(pEncoder->m_vRegisteredResourcesForReference, IsEmpty());
}

TEST_F(D3D9Test, MotionEstimationHasAsManyReferencesAsInputs)
{
    {
        const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_ARGB, nullptr, true);
        Create(*pEncoder);
        EXPECT_EQ(pEncoder->m_vInputFrames.size(), 4u);
        EXPECT_EQ(pEncoder->m_vRegisteredResources.size(), 4u);
        EXPECT_EQ(pEncoder->m_vReferenceFrames.size(), 4u);
        EXPECT_EQ(pEncoder->m_vRegisteredResourcesForReference.size(), 4u);
        EXPECT_EQ(m_device.m_vSurfaces.size(), 8u);
        EXPECT_EQ(pEncoder->m_vReferenceFrames[0].inputPtr,
                  static_cast<IDirect3DSurface9*>(m_device.m_vSurfaces[4].get()));
    }
    EXPECT_THAT(m_device.GetReferences(), testing::Each(0u));
}

TEST_F(D3D9Test, FramesNameTheirSurfaceAndHaveNoPitch)
{
    const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_NV12);
    Create(*pEncoder);
    for (std::size_t i = 0; i < 4; ++i)
    {
        const NvEncInputFrame* pFrame = pEncoder->GetNextInputFrame();
        EXPECT_EQ(pFrame->inputPtr, static_cast<IDirect3DSurface9*>(m_device.m_vSurfaces[i].get()));
        EXPECT_EQ(pFrame->pitch, 0u);
        EXPECT_EQ(pFrame->chromaPitch, 0u);
        EXPECT_EQ(pFrame->numChromaPlanes, 1u);
        EXPECT_EQ(pFrame->chromaOffsets[0], 0u);
        EXPECT_EQ(pFrame->bufferFormat, 0x1);
        EXPECT_EQ(pFrame->resourceType, 0u);
        EXPECT_EQ(m_runtime.m_vRegistered[i].pitch, 0u);
        EXPECT_EQ(m_runtime.m_vRegistered[i].resourceType, 0);
        EXPECT_EQ(m_runtime.m_vRegistered[i].resourceToRegister, pFrame->inputPtr);
        Packets vPacket;
        pEncoder->EncodeFrame(vPacket);
    }
}

TEST_F(D3D9Test, FramesAreEncodedInOrder)
{
    const auto pEncoder = Construct();
    Create(*pEncoder);
    Packets vPacket;
    for (std::int32_t i = 0; i < 6; ++i)
    {
        pEncoder->EncodeFrame(vPacket);
        EXPECT_EQ(vPacket, i < 3 ? Packets{} : Packets{FakeRuntime::PacketOf(i - 3)});
    }
    pEncoder->EndEncode(vPacket);
    EXPECT_THAT(vPacket, ElementsAre(FakeRuntime::PacketOf(3), FakeRuntime::PacketOf(4), FakeRuntime::PacketOf(5)));
    pEncoder->DestroyEncoder();
    EXPECT_THAT(m_device.GetReferences(), ElementsAre(0u, 0u, 0u, 0u));
}

TEST_F(D3D9Test, SurfacesNeedAnInitialisedSession)
{
    const std::string strText = "NvEncoderD3D9::AllocateInputBuffers : Encoder intialization failed";
    const auto pEncoder = Construct();
    ExpectFailure([&] { pEncoder->AllocateInputBuffers(4); }, strText, 11);
    pEncoder->DestroyEncoder();
    ExpectFailure([&] { pEncoder->AllocateInputBuffers(4); }, strText, 11);
    EXPECT_THAT(m_device.m_vRequests, IsEmpty());
}

TEST_F(D3D9Test, ASurfaceThatCannotBeMadeIsReported)
{
    for (const int nRequest : {1, 3})
    {
        FakeDevice device;
        device.m_nFailingRequest = nRequest;
        const auto pEncoder = std::make_unique<OpenEncoder>(&device, 64, 48, NV_ENC_BUFFER_FORMAT_ARGB);
        ExpectCreateFails(*pEncoder, g_pszNoSurface, 10);
        EXPECT_EQ(device.m_vRequests.size(), static_cast<std::size_t>(nRequest));
        // Those made before aren't released yet; they go with the session.
        EXPECT_THAT(device.GetReferences(), testing::Each(1u));
        EXPECT_EQ(m_runtime.Count("nvEncRegisterResource"), 0);
        EXPECT_THROW(pEncoder->GetNextInputFrame(), NVENCException);
        pEncoder->DestroyEncoder();
        EXPECT_THAT(device.GetReferences(), testing::Each(0u));
        EXPECT_EQ(device.m_uiReferences, 1u);
    }
}

TEST_F(D3D9Test, AServicesSurfaceThatCannotBeMadeIsReported)
{
    m_service.m_nFailingRequest = 2;
    const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_ARGB, &m_service);
    ExpectCreateFails(*pEncoder, g_pszNoSurface, 10);
    EXPECT_THAT(m_device.m_vRequests, IsEmpty());
}

TEST_F(D3D9Test, ASurfaceThatIsMissingDespiteSuccessIsReported)
{
    m_device.m_nFailingRequest = 2;
    m_device.m_hrFailure = S_OK;
    const auto pEncoder = Construct();
    ExpectCreateFails(*pEncoder, g_pszNoSurface, 10);
}

TEST_F(D3D9Test, ARegistrationThatFailsLeavesNoSurface)
{
    for (const int nCall : {1, 3})
    {
        FakeDevice device;
        FakeRuntime runtime;
        runtime.Fail("nvEncRegisterResource", nCall, NV_ENC_ERR_RESOURCE_REGISTER_FAILED);
        const auto pEncoder = std::make_unique<OpenEncoder>(&device, 64, 48, NV_ENC_BUFFER_FORMAT_ARGB);
        ExpectCreateFails(*pEncoder,
                          "NvEncoder::RegisterResource : m_nvenc.nvEncRegisterResource(m_hEncoder, &registerResource) "
                          "returned error 23",
                          23);
        EXPECT_THAT(device.GetReferences(), ElementsAre(1u, 1u, 1u, 1u));
        pEncoder->DestroyEncoder();
        EXPECT_THAT(device.GetReferences(), ElementsAre(0u, 0u, 0u, 0u));
        EXPECT_TRUE(runtime.m_mapRegistered.empty());
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(D3D9Test, MemoryThatRunsOutLeavesNoSurface)
{
    bool bFailed = true;
    for (unsigned uiCall = 1; bFailed; ++uiCall)
    {
        FakeRuntime runtime;  // its memory runs out too, so its complaints don't count here
        FakeDevice device;
        device.m_vRequests.reserve(8);
        device.m_vSurfaces.reserve(8);
        const auto pEncoder = std::make_unique<OpenEncoder>(&device, 64, 48, NV_ENC_BUFFER_FORMAT_ARGB);
        FillParams(*pEncoder);
        {
            const CShortMemory memory(uiCall);
            try
            {
                pEncoder->CreateEncoder(&m_params);
            }
            catch (const std::bad_alloc&)
            {}
            bFailed = memory.GetRefused() != 0;
        }
        EXPECT_THAT(device.GetReferences(), testing::Each(1u)) << uiCall;
        pEncoder->DestroyEncoder();
        EXPECT_THAT(device.GetReferences(), testing::Each(0u)) << uiCall;
        EXPECT_EQ(device.m_uiReferences, 1u) << uiCall;
    }
}

TEST_F(D3D9Test, AReferenceSurfaceThatCannotBeMadeLeavesNoSurface)
{
    m_device.m_nFailingRequest = 7;
    const auto pEncoder = Construct(NV_ENC_BUFFER_FORMAT_ARGB, nullptr, true);
    ExpectCreateFails(*pEncoder, g_pszNoSurface, 10);
    EXPECT_EQ(m_device.m_vSurfaces.size(), 6u);
    pEncoder->DestroyEncoder();
    EXPECT_THAT(m_device.GetReferences(), testing::Each(0u));
}

TEST_F(D3D9Test, TheRingIsLengthenedByTheExtraDelay)
{
    OpenEncoder encoder(&m_device, 64, 48, NV_ENC_BUFFER_FORMAT_ARGB, nullptr, 7);
    Create(encoder);
    EXPECT_EQ(m_device.m_vSurfaces.size(), 8u);
}
