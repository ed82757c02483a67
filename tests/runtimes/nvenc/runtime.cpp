#include "runtime.h"

#include <cstdlib>
#include <iostream>

namespace
{

template <typename Function>
Function Find(HMODULE hModule, const char* pszName)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName)));
}

Runtime Load()
{
    Runtime runtime{};
    const HMODULE hModule = LoadLibraryExW(L"nvEncodeAPI64.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!hModule)
    {
        std::cerr << "the runtime isn't where it is looked for\n";
        std::abort();
    }
    runtime.getMaxSupportedVersion =
        Find<PNVENCODEAPIGETMAXSUPPORTEDVERSION>(hModule, "NvEncodeAPIGetMaxSupportedVersion");
    runtime.createInstance = Find<PNVENCODEAPICREATEINSTANCE>(hModule, "NvEncodeAPICreateInstance");
    const auto getScript = Find<PNVENCRUNTIMEGETSCRIPT>(hModule, "NvencRuntimeGetScript");
    if (!runtime.getMaxSupportedVersion || !runtime.createInstance || !getScript)
    {
        std::cerr << "the runtime lacks an export\n";
        std::abort();
    }
    runtime.pScript = getScript();
    runtime.api.version = NV_ENCODE_API_FUNCTION_LIST_VER;
    runtime.createInstance(&runtime.api);
    return runtime;
}

}  // namespace

const Runtime& Runtime::Get()
{
    static const Runtime s_runtime = Load();
    return s_runtime;
}

SessionSetup::SessionSetup(std::uint32_t uiWidth, std::uint32_t uiHeight, const GUID& preset)
    : params(MakeRecord<NV_ENC_INITIALIZE_PARAMS>(NV_ENC_INITIALIZE_PARAMS_VER)), config{}
{
    OpenSession session;
    auto presetConfig = MakeRecord<NV_ENC_PRESET_CONFIG>(NV_ENC_PRESET_CONFIG_VER);
    presetConfig.presetCfg.version = NV_ENC_CONFIG_VER;
    EXPECT_EQ(
        Runtime::Get().api.nvEncGetEncodePresetConfig(session.Handle(), NV_ENC_CODEC_H264_GUID, preset, &presetConfig),
        NV_ENC_SUCCESS);
    config = presetConfig.presetCfg;
    params.encodeConfig = &config;
    params.encodeGUID = NV_ENC_CODEC_H264_GUID;
    params.presetGUID = preset;
    params.encodeWidth = params.darWidth = params.maxEncodeWidth = uiWidth;
    params.encodeHeight = params.darHeight = params.maxEncodeHeight = uiHeight;
    params.frameRateNum = 30;
    params.frameRateDen = 1;
    params.enablePTD = 1;
}

OpenSession::OpenSession(IDirect3DDevice9* pDevice)
{
    auto record = MakeRecord<NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS>(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER);
    record.deviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
    record.device = pDevice;
    record.apiVersion = NVENCAPI_VERSION;
    EXPECT_EQ(Runtime::Get().api.nvEncOpenEncodeSessionEx(&record, &m_pEncoder), NV_ENC_SUCCESS);
}

OpenSession::~OpenSession()
{
    End();
}

void OpenSession::End()
{
    if (m_pEncoder)
    {
        EXPECT_EQ(Destroy(), NV_ENC_SUCCESS);
    }
}

NVENCSTATUS OpenSession::Destroy()
{
    const NVENCSTATUS eStatus = Runtime::Get().api.nvEncDestroyEncoder(m_pEncoder);
    m_pEncoder = nullptr;
    return eStatus;
}

NVENCSTATUS OpenSession::Initialize(SessionSetup& setup)
{
    return Runtime::Get().api.nvEncInitializeEncoder(m_pEncoder, &setup.params);
}

void* OpenSession::Register(FakeSurface& surface, NV_ENC_BUFFER_FORMAT eFormat)
{
    auto record = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
    record.resourceType = NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX;
    record.width = surface.Width();
    record.height = surface.Height();
    record.resourceToRegister = static_cast<IDirect3DSurface9*>(&surface);
    record.bufferFormat = eFormat;
    EXPECT_EQ(Runtime::Get().api.nvEncRegisterResource(m_pEncoder, &record), NV_ENC_SUCCESS);
    return record.registeredResource;
}

void* OpenSession::Map(void* pRegistered)
{
    auto record = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(NV_ENC_MAP_INPUT_RESOURCE_VER);
    record.registeredResource = pRegistered;
    EXPECT_EQ(Runtime::Get().api.nvEncMapInputResource(m_pEncoder, &record), NV_ENC_SUCCESS);
    return record.mappedResource;
}

void* OpenSession::CreateBuffer()
{
    auto record = MakeRecord<NV_ENC_CREATE_BITSTREAM_BUFFER>(NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
    EXPECT_EQ(Runtime::Get().api.nvEncCreateBitstreamBuffer(m_pEncoder, &record), NV_ENC_SUCCESS);
    return record.bitstreamBuffer;
}

NV_ENC_PIC_PARAMS OpenSession::Picture(void* pMapped, void* pBuffer, std::uint32_t uiWidth,
                                       std::uint32_t uiHeight) const
{
    auto picture = MakeRecord<NV_ENC_PIC_PARAMS>(NV_ENC_PIC_PARAMS_VER);
    picture.inputWidth = uiWidth;
    picture.inputHeight = uiHeight;
    picture.inputBuffer = pMapped;
    picture.outputBitstream = pBuffer;
    picture.bufferFmt = NV_ENC_BUFFER_FORMAT_ARGB;
    picture.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    return picture;
}

NVENCSTATUS OpenSession::Encode(NV_ENC_PIC_PARAMS picture) const
{
    return Runtime::Get().api.nvEncEncodePicture(m_pEncoder, &picture);
}

NVENCSTATUS OpenSession::EndStream(void* pEvent) const
{
    auto picture = MakeRecord<NV_ENC_PIC_PARAMS>(NV_ENC_PIC_PARAMS_VER);
    picture.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    picture.completionEvent = pEvent;
    return Encode(picture);
}

NVENCSTATUS OpenSession::Lock(void* pBuffer, NV_ENC_LOCK_BITSTREAM* pRecord, bool bDoNotWait) const
{
    auto record = MakeRecord<NV_ENC_LOCK_BITSTREAM>(NV_ENC_LOCK_BITSTREAM_VER);
    record.outputBitstream = pBuffer;
    record.doNotWait = bDoNotWait ? 1 : 0;
    const NVENCSTATUS eStatus = Runtime::Get().api.nvEncLockBitstream(m_pEncoder, &record);
    if (pRecord)
    {
        *pRecord = record;
    }
    return eStatus;
}

NVENCSTATUS OpenSession::Unlock(void* pBuffer) const
{
    return Runtime::Get().api.nvEncUnlockBitstream(m_pEncoder, pBuffer);
}

SmallSession::SmallSession(SessionSetup setup) : surface(setup.params.encodeWidth, setup.params.encodeHeight)
{
    EXPECT_EQ(Initialize(setup), NV_ENC_SUCCESS);
    pRegistered = Register(surface);
    pMapped = Map(pRegistered);
    pBuffer = CreateBuffer();
}

NV_ENC_PIC_PARAMS SmallSession::Picture() const
{
    return OpenSession::Picture(pMapped, pBuffer, surface.Width(), surface.Height());
}

NvencRuntime::NvencRuntime() : m_runtime(Runtime::Get()), m_script(*m_runtime.pScript), m_api(m_runtime.api)
{
    m_script.Reset();
}

NvencRuntime::~NvencRuntime()
{
    EXPECT_EQ(FakeDevice::Get().m_uiReferences, 1u);
    EXPECT_EQ(m_script.CountObjects().uiSessions, 0u);
    m_script.Reset();
}
