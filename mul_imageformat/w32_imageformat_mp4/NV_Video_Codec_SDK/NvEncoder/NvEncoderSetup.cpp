// From a preset to an encoder with its ring.
#include "NV_Video_Codec_SDK/NvEncoder/CompletionEvent.h"
#include "NV_Video_Codec_SDK/NvEncoder/NvEncoder.h"

namespace
{
constexpr NV_ENC_QP g_qpDefault = {28, 31, 25};  // P, B, I

// Twice what a look-ahead depth, a 16-bit number, can ask for; beyond it the sum is nonsense that would ask the system
// for memory and events without end.
constexpr std::int64_t g_nMaxRing = 0x20000;

bool Is10Bit(NV_ENC_BUFFER_FORMAT eFormat)
{
    return eFormat == NV_ENC_BUFFER_FORMAT_YUV420_10BIT || eFormat == NV_ENC_BUFFER_FORMAT_YUV444_10BIT;
}

bool Is444(NV_ENC_BUFFER_FORMAT eFormat)
{
    return eFormat == NV_ENC_BUFFER_FORMAT_YUV444 || eFormat == NV_ENC_BUFFER_FORMAT_YUV444_10BIT;
}

bool IsLossless(GUID presetGuid)
{
    return presetGuid == NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID || presetGuid == NV_ENC_PRESET_LOSSLESS_HP_GUID;
}

NV_ENC_PRESET_CONFIG EmptyPresetConfig()
{
    NV_ENC_PRESET_CONFIG presetConfig = {};
    presetConfig.version = NV_ENC_PRESET_CONFIG_VER;
    presetConfig.presetCfg.version = NV_ENC_CONFIG_VER;
    return presetConfig;
}
}  // namespace

void NvEncoder::CreateDefaultEncoderParams(NV_ENC_INITIALIZE_PARAMS* pInitializeParams, GUID codecGuid, GUID presetGuid)
{
    constexpr const char* pszFunction = "NvEncoder::CreateDefaultEncoderParams";
    if (!m_hEncoder)
    {
        throw NVENCException(pszFunction, "Encoder Initialization failed", NV_ENC_ERR_NO_ENCODE_DEVICE);
    }
    if (!pInitializeParams || !pInitializeParams->encodeConfig)
    {
        throw NVENCException(pszFunction, "pInitializeParams and pInitializeParams->encodeConfig can't be NULL",
                             NV_ENC_ERR_INVALID_PTR);
    }

    NV_ENC_CONFIG& config = *pInitializeParams->encodeConfig;
    NV_ENC_INITIALIZE_PARAMS& params = *pInitializeParams;
    config = {};
    params = {};
    params.encodeConfig = &config;
    params.version = NV_ENC_INITIALIZE_PARAMS_VER;
    config.version = NV_ENC_CONFIG_VER;

    params.encodeGUID = codecGuid;
    params.presetGUID = presetGuid;
    params.encodeWidth = params.darWidth = params.maxEncodeWidth = m_nWidth;
    params.encodeHeight = params.darHeight = params.maxEncodeHeight = m_nHeight;
    params.frameRateNum = 30;
    params.frameRateDen = 1;
    params.enablePTD = 1;
    params.reportSliceOffsets = 0;
    params.enableSubFrameWrite = 0;
    params.enableMEOnlyMode = m_bMotionEstimationOnly;
    params.enableOutputInVidmem = m_bOutputInVideoMemory;
    if (!m_bOutputInVideoMemory)
    {
        params.enableEncodeAsync =
            static_cast<std::uint32_t>(GetCapabilityValue(codecGuid, NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT));
    }

    // A preset that the runtime doesn't know leaves its configuration empty, and the settings below stand alone.
    NV_ENC_PRESET_CONFIG presetConfig = EmptyPresetConfig();
    m_nvenc.nvEncGetEncodePresetConfig(m_hEncoder, codecGuid, presetGuid, &presetConfig);
    config = presetConfig.presetCfg;

    config.frameIntervalP = 1;
    config.gopLength = NVENC_INFINITE_GOPLENGTH;
    config.rcParams.rateControlMode = NV_ENC_PARAMS_RC_CONSTQP;
    if (!IsLossless(presetGuid)) config.rcParams.constQP = g_qpDefault;

    if (codecGuid == NV_ENC_CODEC_H264_GUID)
    {
        NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
        if (Is444(m_eBufferFormat)) h264.chromaFormatIDC = 3;
        h264.idrPeriod = config.gopLength;
    }
    else if (codecGuid == NV_ENC_CODEC_HEVC_GUID)
    {
        NV_ENC_CONFIG_HEVC& hevc = config.encodeCodecConfig.hevcConfig;
        hevc.pixelBitDepthMinus8 = Is10Bit(m_eBufferFormat) ? 2 : 0;
        if (Is444(m_eBufferFormat)) hevc.chromaFormatIDC = 3;
        hevc.idrPeriod = config.gopLength;
    }
}

// 0 for a capability that the runtime doesn't report.
std::int32_t NvEncoder::GetCapabilityValue(GUID codecGuid, NV_ENC_CAPS eCapability)
{
    NV_ENC_CAPS_PARAM capsParam = {};
    capsParam.version = NV_ENC_CAPS_PARAM_VER;
    capsParam.capsToQuery = eCapability;
    int nValue = 0;
    m_nvenc.nvEncGetEncodeCaps(m_hEncoder, codecGuid, &capsParam, &nValue);
    return nValue;
}

void NvEncoder::CreateEncoder(const NV_ENC_INITIALIZE_PARAMS* pEncoderParams)
{
    CheckEncoderParams(pEncoderParams);
    TakeEncoderParams(*pEncoderParams);

    NVENC_API_CALL("NvEncoder::CreateEncoder", m_nvenc.nvEncInitializeEncoder(m_hEncoder, &m_initializeParams));
    m_bEncoderInitialized = true;

    m_nWidth = m_initializeParams.encodeWidth;
    m_nHeight = m_initializeParams.encodeHeight;
    m_nMaxEncodeWidth = m_initializeParams.maxEncodeWidth;
    m_nMaxEncodeHeight = m_initializeParams.maxEncodeHeight;

    SizeRing();
    m_vMappedInputBuffers.resize(m_nEncoderBuffer, nullptr);
    if (!m_bOutputInVideoMemory) m_vpCompletionEvent.resize(m_nEncoderBuffer, nullptr);
    // Events are made and registered whether the session signals them or not; only the waits look at that.
    for (void*& hEvent : m_vpCompletionEvent)
    {
        hEvent = CreateCompletionEvent();
        NV_ENC_EVENT_PARAMS eventParams = {};
        eventParams.version = NV_ENC_EVENT_PARAMS_VER;
        eventParams.completionEvent = hEvent;
        m_nvenc.nvEncRegisterAsyncEvent(m_hEncoder, &eventParams);
    }
    if (m_bMotionEstimationOnly) m_vMappedRefBuffers.resize(m_nEncoderBuffer, nullptr);
    if (!m_bMotionEstimationOnly && !m_bOutputInVideoMemory) InitializeBitstreamBuffer();
    AllocateInputBuffers(m_nEncoderBuffer);
}

void NvEncoder::CheckEncoderParams(const NV_ENC_INITIALIZE_PARAMS* pEncoderParams) const
{
    const auto refuseUnless = [](bool bFine, const char* pszMessage, NVENCSTATUS eStatus) {
        if (!bFine) throw NVENCException("NvEncoder::CreateEncoder", pszMessage, eStatus);
    };
    refuseUnless(m_hEncoder, "Encoder Initialization failed", NV_ENC_ERR_NO_ENCODE_DEVICE);
    refuseUnless(pEncoderParams, "Invalid NV_ENC_INITIALIZE_PARAMS ptr", NV_ENC_ERR_INVALID_PTR);
    refuseUnless(pEncoderParams->encodeWidth != 0 && pEncoderParams->encodeHeight != 0,
                 "Invalid encoder width and height", NV_ENC_ERR_INVALID_PARAM);

    const bool bH264 = pEncoderParams->encodeGUID == NV_ENC_CODEC_H264_GUID;
    const bool bHevc = pEncoderParams->encodeGUID == NV_ENC_CODEC_HEVC_GUID;
    refuseUnless(bH264 || bHevc, "Invalid codec guid", NV_ENC_ERR_INVALID_PARAM);

    // Settings that aren't there can't be what the format needs: the default preset's are for 8-bit 4:2:0.
    const NV_ENC_CONFIG* pConfig = pEncoderParams->encodeConfig;
    if (bH264)
    {
        refuseUnless(!Is10Bit(m_eBufferFormat), "10-bit format isn't supported by H264 encoder",
                     NV_ENC_ERR_INVALID_PARAM);
        if (m_eBufferFormat == NV_ENC_BUFFER_FORMAT_YUV444)
        {
            refuseUnless(pConfig && pConfig->encodeCodecConfig.h264Config.chromaFormatIDC == 3,
                         "Invalid ChromaFormatIDC", NV_ENC_ERR_INVALID_PARAM);
        }
    }
    if (bHevc)
    {
        if (Is10Bit(m_eBufferFormat))
        {
            refuseUnless(pConfig && pConfig->encodeCodecConfig.hevcConfig.pixelBitDepthMinus8 == 2,
                         "Invalid PixelBitdepth", NV_ENC_ERR_INVALID_PARAM);
        }
        if (Is444(m_eBufferFormat))
        {
            refuseUnless(pConfig && pConfig->encodeCodecConfig.hevcConfig.chromaFormatIDC == 3,
                         "Invalid ChromaFormatIDC", NV_ENC_ERR_INVALID_PARAM);
        }
    }
}

// The session's own copies of the records.
void NvEncoder::TakeEncoderParams(const NV_ENC_INITIALIZE_PARAMS& params)
{
    m_initializeParams = params;
    m_initializeParams.version = NV_ENC_INITIALIZE_PARAMS_VER;
    if (params.encodeConfig)
    {
        m_encodeConfig = *params.encodeConfig;
    }
    else
    {
        NV_ENC_PRESET_CONFIG presetConfig = EmptyPresetConfig();
        m_nvenc.nvEncGetEncodePresetConfig(m_hEncoder, params.encodeGUID, NV_ENC_PRESET_DEFAULT_GUID, &presetConfig);
        m_encodeConfig = presetConfig.presetCfg;
        m_encodeConfig.rcParams.rateControlMode = NV_ENC_PARAMS_RC_CONSTQP;
        m_encodeConfig.rcParams.constQP = g_qpDefault;
    }
    m_encodeConfig.version = NV_ENC_CONFIG_VER;
    m_initializeParams.encodeConfig = &m_encodeConfig;
}

// The encoder holds frames for reordering and for look-ahead; the rest is the caller's reserve.
void NvEncoder::SizeRing()
{
    const std::int64_t nRing =
        std::int64_t{m_encodeConfig.frameIntervalP} + m_encodeConfig.rcParams.lookaheadDepth + m_nExtraOutputDelay;
    if (nRing <= 0 || nRing > g_nMaxRing)
    {
        // Without slots there is nothing to encode with.
        m_bEncoderInitialized = false;
        m_nEncoderBuffer = 0;
        throw NVENCException("NvEncoder::CreateEncoder", "Invalid number of encoder buffers", NV_ENC_ERR_INVALID_PARAM);
    }
    m_nEncoderBuffer = static_cast<std::int32_t>(nRing);
    m_nOutputDelay = m_nEncoderBuffer - 1;
}

void NvEncoder::InitializeBitstreamBuffer()
{
    m_vBitstreamOutputBuffer.resize(m_nEncoderBuffer, nullptr);
    for (NV_ENC_OUTPUT_PTR& pBuffer : m_vBitstreamOutputBuffer)
    {
        NV_ENC_CREATE_BITSTREAM_BUFFER createBitstreamBuffer = {};
        createBitstreamBuffer.version = NV_ENC_CREATE_BITSTREAM_BUFFER_VER;
        NVENC_API_CALL("NvEncoder::InitializeBitstreamBuffer",
                       m_nvenc.nvEncCreateBitstreamBuffer(m_hEncoder, &createBitstreamBuffer));
        pBuffer = createBitstreamBuffer.bitstreamBuffer;
    }
}
