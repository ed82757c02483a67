// A session's beginning and end.
#include "NV_Video_Codec_SDK/NvEncoder/NvEncoder.h"

#include "NV_Video_Codec_SDK/NvEncoder/CompletionEvent.h"

namespace
{
template <typename TEntry>
TEntry FindEntry(HMODULE hModule, const char* pszName)
{
    return reinterpret_cast<TEntry>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName)));
}

// Takes the place of an entry that the table lacks.
template <typename... TArgs>
NVENCSTATUS AbsentEntry(TArgs...)
{
    return NV_ENC_ERR_UNIMPLEMENTED;
}

template <typename... TArgs>
void FillIfAbsent(NVENCSTATUS (*&pfnEntry)(TArgs...))
{
    if (!pfnEntry) pfnEntry = &AbsentEntry<TArgs...>;
}

// A runtime may leave a slot of its table empty. The entries that a session needs are filled here once, so that a call
// through such a slot is a failure with a status like any other.
void FillAbsentEntries(NV_ENCODE_API_FUNCTION_LIST& nvenc)
{
    FillIfAbsent(nvenc.nvEncOpenEncodeSessionEx);
    FillIfAbsent(nvenc.nvEncGetEncodeCaps);
    FillIfAbsent(nvenc.nvEncGetEncodePresetCount);
    FillIfAbsent(nvenc.nvEncGetEncodePresetGUIDs);
    FillIfAbsent(nvenc.nvEncGetEncodePresetConfig);
    FillIfAbsent(nvenc.nvEncInitializeEncoder);
    FillIfAbsent(nvenc.nvEncRegisterAsyncEvent);
    FillIfAbsent(nvenc.nvEncUnregisterAsyncEvent);
    FillIfAbsent(nvenc.nvEncCreateBitstreamBuffer);
    FillIfAbsent(nvenc.nvEncDestroyBitstreamBuffer);
    FillIfAbsent(nvenc.nvEncDestroyMVBuffer);
    FillIfAbsent(nvenc.nvEncRegisterResource);
    FillIfAbsent(nvenc.nvEncUnregisterResource);
    FillIfAbsent(nvenc.nvEncMapInputResource);
    FillIfAbsent(nvenc.nvEncUnmapInputResource);
    FillIfAbsent(nvenc.nvEncEncodePicture);
    FillIfAbsent(nvenc.nvEncLockBitstream);
    FillIfAbsent(nvenc.nvEncUnlockBitstream);
    FillIfAbsent(nvenc.nvEncDestroyEncoder);
}
}  // namespace

NvEncoder::NvEncoder(NV_ENC_DEVICE_TYPE eDeviceType, void* pDevice, std::uint32_t uiWidth, std::uint32_t uiHeight,
                     NV_ENC_BUFFER_FORMAT eBufferFormat, std::uint32_t uiExtraOutputDelay, bool bMotionEstimationOnly,
                     bool bOutputInVideoMemory)
    : m_bMotionEstimationOnly(bMotionEstimationOnly),
      m_bOutputInVideoMemory(bOutputInVideoMemory),
      m_nWidth(uiWidth),
      m_nHeight(uiHeight),
      m_eBufferFormat(eBufferFormat),
      m_pDevice(pDevice),
      m_eDeviceType(eDeviceType),
      m_nExtraOutputDelay(uiExtraOutputDelay),
      m_nMaxEncodeWidth(uiWidth),
      m_nMaxEncodeHeight(uiHeight)
{
    LoadNvEncApi();
    if (!m_nvenc.nvEncOpenEncodeSession)
    {
        m_nEncoderBuffer = 0;
        throw NVENCException("NvEncoder::NvEncoder", "EncodeAPI not found", NV_ENC_ERR_NO_ENCODE_DEVICE);
    }
    NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS encodeSessionExParams = {};
    encodeSessionExParams.version = NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER;
    encodeSessionExParams.device = m_pDevice;
    encodeSessionExParams.deviceType = m_eDeviceType;
    encodeSessionExParams.apiVersion = NVENCAPI_VERSION;
    void* hEncoder = nullptr;
    NVENC_API_CALL("NvEncoder::NvEncoder", m_nvenc.nvEncOpenEncodeSessionEx(&encodeSessionExParams, &hEncoder));
    m_hEncoder = hEncoder;
}

void NvEncoder::LoadNvEncApi()
{
    constexpr const char* pszFunction = "NvEncoder::LoadNvEncApi";
    // From the system's folder, where the driver puts it: a file of this name beside a video isn't the runtime.
    m_hModule = LoadLibraryExW(L"nvEncodeAPI64.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!m_hModule)
    {
        throw NVENCException(pszFunction, "NVENC library file is not found. Please ensure NV driver is installed",
                             NV_ENC_ERR_NO_ENCODE_DEVICE);
    }

    const auto NvEncodeAPIGetMaxSupportedVersion =
        FindEntry<PNVENCODEAPIGETMAXSUPPORTEDVERSION>(m_hModule, "NvEncodeAPIGetMaxSupportedVersion");
    if (!NvEncodeAPIGetMaxSupportedVersion)
    {
        throw NVENCException(pszFunction, "Cannot find NvEncodeAPIGetMaxSupportedVersion() entry in NVENC library",
                             NV_ENC_ERR_NO_ENCODE_DEVICE);
    }
    std::uint32_t version = 0;
    NVENC_API_CALL(pszFunction, NvEncodeAPIGetMaxSupportedVersion(&version));
    // Newer drivers serve older interfaces.
    if (version < NVENCAPI_LEAST_SUPPORTED_VERSION)
    {
        throw NVENCException(pszFunction,
                             "Current Driver Version does not support this NvEncodeAPI version, please upgrade driver",
                             NV_ENC_ERR_INVALID_VERSION);
    }

    const auto NvEncodeAPICreateInstance =
        FindEntry<PNVENCODEAPICREATEINSTANCE>(m_hModule, "NvEncodeAPICreateInstance");
    if (!NvEncodeAPICreateInstance)
    {
        throw NVENCException(pszFunction, "Cannot find NvEncodeAPICreateInstance() entry in NVENC library",
                             NV_ENC_ERR_NO_ENCODE_DEVICE);
    }
    m_nvenc = {};
    m_nvenc.version = NV_ENCODE_API_FUNCTION_LIST_VER;
    NVENC_API_CALL(pszFunction, NvEncodeAPICreateInstance(&m_nvenc));
    FillAbsentEntries(m_nvenc);
}

NvEncoder::~NvEncoder()
{
    DestroyHWEncoder();
    if (m_hModule) FreeLibrary(m_hModule);
}

void NvEncoder::DestroyEncoder()
{
    if (!m_hEncoder) return;
    ReleaseInputBuffers();
    DestroyHWEncoder();
}

// Ends the session. No status is looked at: the session ends in any case.
void NvEncoder::DestroyHWEncoder()
{
    if (!m_hEncoder) return;

    for (void* hEvent : m_vpCompletionEvent)
    {
        if (!hEvent) continue;
        NV_ENC_EVENT_PARAMS eventParams = {};
        eventParams.version = NV_ENC_EVENT_PARAMS_VER;
        eventParams.completionEvent = hEvent;
        m_nvenc.nvEncUnregisterAsyncEvent(m_hEncoder, &eventParams);
        CloseCompletionEvent(hEvent);
    }
    m_vpCompletionEvent.clear();

    if (m_bMotionEstimationOnly)
    {
        for (NV_ENC_OUTPUT_PTR pBuffer : m_vMVDataOutputBuffer)
        {
            if (pBuffer) m_nvenc.nvEncDestroyMVBuffer(m_hEncoder, pBuffer);
        }
        m_vMVDataOutputBuffer.clear();
    }
    else
    {
        for (NV_ENC_OUTPUT_PTR pBuffer : m_vBitstreamOutputBuffer)
        {
            if (pBuffer) m_nvenc.nvEncDestroyBitstreamBuffer(m_hEncoder, pBuffer);
        }
        m_vBitstreamOutputBuffer.clear();
    }

    m_nvenc.nvEncDestroyEncoder(m_hEncoder);
    m_hEncoder = nullptr;
    m_bEncoderInitialized = false;
}
