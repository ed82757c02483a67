#include "nvencfixture.h"

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
    ReleaseRuntimeFile();
    // A session whose constructor throws keeps the runtime loaded. The next test is to find its own.
    while (HMODULE hLeft = GetModuleHandleW(m_wszRuntimeFile.c_str()))
        FreeLibrary(hLeft);
}

void NvencTest::UseRuntimeFile(const std::string& strBuild)
{
    ReleaseRuntimeFile();

    wchar_t szProgram[4096];
    const DWORD uiLength = GetModuleFileNameW(nullptr, szProgram, 4096);
    std::wstring wszFolder(szProgram, uiLength);
    wszFolder.resize(wszFolder.find_last_of(L"/\\") + 1);
    wszFolder += L"fakeruntimes/" + std::wstring(strBuild.begin(), strBuild.end());
    m_wszRuntimeFile = wszFolder + L"/nvEncodeAPI64.dll";

    // The search for the bare name ends in this folder, or, where Windows searches, at the file that is loaded already.
    ASSERT_TRUE(SetEnvironmentVariableW(L"IMAGEFORMAT_MP4_RUNTIMES", wszFolder.c_str()));
    if (strBuild == "none") return;
    m_hRuntime = LoadLibraryW(m_wszRuntimeFile.c_str());
    ASSERT_TRUE(m_hRuntime);
    const auto pfnConnect = reinterpret_cast<FakeRuntimeConnectFunction>(
        reinterpret_cast<void*>(GetProcAddress(m_hRuntime, "FakeRuntimeConnect")));
    ASSERT_TRUE(pfnConnect);
    const SFakeRuntimeEntries entries = FakeRuntime::GetEntries();
    pfnConnect(&entries);
}

void NvencTest::ReleaseRuntimeFile()
{
    if (m_hRuntime) FreeLibrary(m_hRuntime);
    m_hRuntime = nullptr;
}

bool NvencTest::IsRuntimeStillLoaded()
{
    ReleaseRuntimeFile();
    return GetModuleHandleW(m_wszRuntimeFile.c_str()) != nullptr;
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
