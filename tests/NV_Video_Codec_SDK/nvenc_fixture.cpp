#include "nvenc_fixture.h"

TestEncoder::TestEncoder(const SSettings& settings)
    : NvEncoder(settings.m_eDeviceType, settings.m_pDevice, settings.m_uiWidth, settings.m_uiHeight, settings.m_eFormat,
                settings.m_uiExtraOutputDelay, settings.m_bMotionEstimationOnly, settings.m_bOutputInVideoMemory),
      m_eSurfaceFormat(settings.m_eFormat)
{}

TestEncoder::~TestEncoder()
{
    if (m_hEncoder) ReleaseInputBuffers();
}

void TestEncoder::AllocateInputBuffers(std::int32_t nInputBuffers)
{
    m_vAllocated.push_back(nInputBuffers);
    std::vector<void*> vSurfaces;
    for (std::int32_t i = 0; i < nInputBuffers; ++i)
    {
        m_vSurfaces.push_back(std::make_unique<int>(i));
        vSurfaces.push_back(m_vSurfaces.back().get());
    }
    RegisterResources(vSurfaces, NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX, m_nMaxEncodeWidth, m_nMaxEncodeHeight, m_uiPitch,
                      m_eSurfaceFormat, false);
}

void TestEncoder::ReleaseInputBuffers()
{
    ++m_nReleased;
    UnregisterResources();
    m_vInputFrames.clear();
    m_vReferenceFrames.clear();
    m_vSurfaces.clear();
}

void NvencTest::SetUp()
{
    UseRuntimeFile("full");
}

void NvencTest::TearDown()
{
    EXPECT_THAT(m_runtime.m_vComplaints, testing::IsEmpty());
}

std::unique_ptr<TestEncoder> NvencTest::MakeEncoder(const TestEncoder::SSettings& settings)
{
    auto pEncoder = std::make_unique<TestEncoder>(settings);
    FillParams(*pEncoder);
    pEncoder->CreateEncoder(&m_params);
    return pEncoder;
}

void NvencTest::FillParams(NvEncoder& encoder, GUID codecGuid)
{
    m_params.encodeConfig = &m_config;
    encoder.CreateDefaultEncoderParams(&m_params, codecGuid, NV_ENC_PRESET_LOW_LATENCY_HQ_GUID);
}
