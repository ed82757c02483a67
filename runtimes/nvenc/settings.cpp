#include "runtimes/nvenc/settings.h"

#include <algorithm>
#include <iterator>

#include "runtimes/nvenc/capabilities.h"
#include "runtimes/nvenc/records.h"
#include "runtimes/nvenc/settings_h264.h"

namespace nvencruntime
{
namespace
{

NVENCSTATUS CheckPicture(const NV_ENC_INITIALIZE_PARAMS& params)
{
    const auto isSize = [](std::uint32_t uiSize) {
        // 4:2:0 has one Cb and Cr for two pixels each way.
        return uiSize != 0 && uiSize <= c_uiMaxEncodeSize && uiSize % 2 == 0;
    };
    if (!isSize(params.encodeWidth) || !isSize(params.encodeHeight))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    const auto holds = [](std::uint32_t uiMax, std::uint32_t uiSize) { return uiMax == 0 || uiMax >= uiSize; };
    if (!holds(params.maxEncodeWidth, params.encodeWidth) || !holds(params.maxEncodeHeight, params.encodeHeight))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    if ((params.darWidth == 0) != (params.darHeight == 0) || std::max(params.darWidth, params.darHeight) > 0xFFFF ||
        params.frameRateNum == 0 || params.frameRateDen == 0)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS CheckModes(const NV_ENC_INITIALIZE_PARAMS& params, const NV_ENC_CONFIG_H264& h264)
{
    if (params.enableEncodeAsync > 1 || params.enablePTD > 1)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    if (params.enableEncodeAsync && AskCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT).value_or(0) == 0)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (params.enableEncodeAsync && params.reportSliceOffsets)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    // Where slices are cut by size, the number of offsets isn't known before. No array is sure to hold them.
    if (params.reportSliceOffsets && h264.sliceModeData != 0 && h264.sliceMode != 3)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (params.enableSubFrameWrite || params.enableExternalMEHints || params.enableMEOnlyMode ||
        params.enableOutputInVidmem)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS CheckGroupOfPictures(const NV_ENC_INITIALIZE_PARAMS& params, const NV_ENC_CONFIG& config)
{
    if (config.frameIntervalP < 0 || config.frameIntervalP > c_nMaxBFrames + 1 || config.gopLength == 0 ||
        config.gopLength < static_cast<std::uint32_t>(config.frameIntervalP))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    // A caller that decides the types would have to send B pictures after the references that follow them.
    if (!params.enablePTD && config.frameIntervalP > 1)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (config.frameFieldMode == NV_ENC_PARAMS_FRAME_FIELD_MODE_FIELD ||
        config.frameFieldMode == NV_ENC_PARAMS_FRAME_FIELD_MODE_MBAFF || config.monoChromeEncoding)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (config.frameFieldMode != NV_ENC_PARAMS_FRAME_FIELD_MODE_FRAME)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    switch (config.mvPrecision)
    {
    case NV_ENC_MV_PRECISION_DEFAULT:
    case NV_ENC_MV_PRECISION_QUARTER_PEL:
        return NV_ENC_SUCCESS;
    case NV_ENC_MV_PRECISION_FULL_PEL:
    case NV_ENC_MV_PRECISION_HALF_PEL:
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    return NV_ENC_ERR_INVALID_PARAM;
}

bool AreQuantisers(const NV_ENC_QP& qp)
{
    return std::max({qp.qpInterP, qp.qpInterB, qp.qpIntra}) <= 51;
}

NVENCSTATUS CheckConstantQuantisers(const NV_ENC_QP& qp)
{
    if (!AreQuantisers(qp))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    // x264 takes those of I and B as factors of that of P, of ten at the most.
    const auto isReached = [&](std::uint32_t uiOther) {
        return std::max(uiOther, qp.qpInterP) - std::min(uiOther, qp.qpInterP) <= 19;
    };
    return isReached(qp.qpIntra) && isReached(qp.qpInterB) ? NV_ENC_SUCCESS : NV_ENC_ERR_UNSUPPORTED_PARAM;
}

NVENCSTATUS CheckRateControl(const NV_ENC_RC_PARAMS& rc)
{
    constexpr NV_ENC_PARAMS_RC_MODE modes[] = {NV_ENC_PARAMS_RC_CONSTQP, NV_ENC_PARAMS_RC_VBR,
                                               NV_ENC_PARAMS_RC_CBR,     NV_ENC_PARAMS_RC_CBR_LOWDELAY_HQ,
                                               NV_ENC_PARAMS_RC_CBR_HQ,  NV_ENC_PARAMS_RC_VBR_HQ};
    if (std::ranges::find(modes, rc.rateControlMode) == std::end(modes))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    if (rc.qpMapMode != NV_ENC_QP_MAP_DISABLED || rc.enableTemporalAQ || rc.enableNonRefP || rc.temporallayerIdxMask)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (rc.rateControlMode == NV_ENC_PARAMS_RC_CONSTQP)
    {
        const NVENCSTATUS eStatus = CheckConstantQuantisers(rc.constQP);
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
    }
    if ((rc.enableMinQP && !AreQuantisers(rc.minQP)) || (rc.enableMaxQP && !AreQuantisers(rc.maxQP)) ||
        (rc.enableMinQP && rc.enableMaxQP && rc.minQP.qpInterP > rc.maxQP.qpInterP) ||
        (rc.enableInitialRCQP && !AreQuantisers(rc.initialRCQP)) || rc.targetQuality > 51 ||
        (rc.maxBitRate != 0 && rc.maxBitRate < rc.averageBitRate))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    // x264 looks no further ahead.
    return rc.enableLookahead && rc.lookaheadDepth > 250 ? NV_ENC_ERR_INVALID_PARAM : NV_ENC_SUCCESS;
}

}  // namespace

NVENCSTATUS ReadSettings(const NV_ENC_INITIALIZE_PARAMS& params, EncodeSettings& settings)
{
    const NVENCSTATUS eRecordStatus = CheckRecord(params, NV_ENC_INITIALIZE_PARAMS_VER);
    if (eRecordStatus != NV_ENC_SUCCESS)
    {
        return eRecordStatus;
    }
    if (params.encodeGUID != NV_ENC_CODEC_H264_GUID)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    settings.pPreset = FindPreset(params.presetGUID);
    if (!settings.pPreset)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (params.encodeConfig && (params.encodeConfig->version != NV_ENC_CONFIG_VER ||
                                params.encodeConfig->rcParams.version != NV_ENC_RC_PARAMS_VER))
    {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    if (params.encodeConfig && !AreReservedFieldsZero(*params.encodeConfig))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    settings.config = params.encodeConfig ? *params.encodeConfig : MakePresetConfig(*settings.pPreset);
    settings.params = params;
    settings.params.encodeConfig = nullptr;
    settings.params.privData = nullptr;

    for (const NVENCSTATUS eStatus :
         {CheckPicture(params), CheckModes(params, settings.H264()), CheckGroupOfPictures(params, settings.config),
          CheckRateControl(settings.config.rcParams), CheckH264Settings(params, settings.config)})
    {
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
    }
    return NV_ENC_SUCCESS;
}

}  // namespace nvencruntime
