#include "runtimes/nvenc/settings_h264.h"

#include "runtimes/common/h264_levels.h"
#include "runtimes/nvenc/vui_names.h"

namespace nvencruntime
{
namespace
{

// What the standard has and this encoder hasn't.
NVENCSTATUS CheckTools(const NV_ENC_CONFIG_H264& h264)
{
    const bool bUnsupported = h264.enableTemporalSVC || h264.enableStereoMVC || h264.hierarchicalPFrames ||
                              h264.hierarchicalBFrames || h264.outputBufferingPeriodSEI || h264.outputFramePackingSEI ||
                              h264.outputRecoveryPointSEI || h264.enableIntraRefresh ||
                              h264.enableConstrainedEncoding || h264.enableLTR || h264.separateColourPlaneFlag ||
                              h264.disableDeblockingFilterIDC > 1 || h264.numTemporalLayers > 1 || h264.spsId > 31 ||
                              h264.ppsId != h264.spsId || h264.fmoMode == NV_ENC_H264_FMO_ENABLE ||
                              h264.stereoMode != NV_ENC_STEREO_PACKING_MODE_NONE || h264.chromaFormatIDC == 3 ||
                              h264.useBFramesAsRef != NV_ENC_BFRAME_REF_MODE_DISABLED;
    if (bUnsupported)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    const bool bInvalid = h264.chromaFormatIDC > 1 || h264.sliceMode > 3 || h264.maxNumRefFrames > 16 ||
                          h264.fmoMode < 0 || h264.fmoMode > NV_ENC_H264_FMO_DISABLE || h264.entropyCodingMode < 0 ||
                          h264.entropyCodingMode > NV_ENC_H264_ENTROPY_CODING_MODE_CAVLC ||
                          h264.adaptiveTransformMode < 0 ||
                          h264.adaptiveTransformMode > NV_ENC_H264_ADAPTIVE_TRANSFORM_ENABLE || h264.bdirectMode < 0 ||
                          h264.bdirectMode > NV_ENC_H264_BDIRECT_MODE_SPATIAL;
    return bInvalid ? NV_ENC_ERR_INVALID_PARAM : NV_ENC_SUCCESS;
}

// A level is refused when the picture is larger than it allows; what is too fast for it is the caller's affair.
NVENCSTATUS CheckLevel(const NV_ENC_INITIALIZE_PARAMS& params, std::uint32_t uiLevel)
{
    if (uiLevel == NV_ENC_LEVEL_AUTOSELECT)
    {
        return NV_ENC_SUCCESS;
    }
    const std::uint32_t uiMacroblocks = ((params.encodeWidth + 15) / 16) * ((params.encodeHeight + 15) / 16);
    const runtimes::H264Level* const pLevel = runtimes::FindH264Level(uiLevel);
    const bool bHolds = pLevel && uiLevel <= NV_ENC_LEVEL_H264_52 && uiMacroblocks <= pLevel->uiMacroblocksPerPicture;
    return bHolds ? NV_ENC_SUCCESS : NV_ENC_ERR_INVALID_PARAM;
}

// A profile that hasn't what is asked for by name.
bool Contradicts(Profile eProfile, const NV_ENC_CONFIG& config)
{
    const NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
    if (eProfile == Profile::Baseline &&
        (config.frameIntervalP > 1 || h264.entropyCodingMode == NV_ENC_H264_ENTROPY_CODING_MODE_CABAC))
    {
        return true;
    }
    return (eProfile == Profile::Baseline || eProfile == Profile::Main) &&
           h264.adaptiveTransformMode == NV_ENC_H264_ADAPTIVE_TRANSFORM_ENABLE;
}

NVENCSTATUS CheckProfile(const NV_ENC_CONFIG& config)
{
    const std::optional<Profile> profile = FindProfile(config.profileGUID);
    if (!profile)
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (Contradicts(*profile, config))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    // Lossless coding is a part of High 4:4:4 only, and the only part of it that is here.
    const bool bLossless = config.encodeCodecConfig.h264Config.qpPrimeYZeroTransformBypassFlag;
    if (!bLossless)
    {
        return *profile == Profile::High444 ? NV_ENC_ERR_UNSUPPORTED_PARAM : NV_ENC_SUCCESS;
    }
    const bool bFits = *profile == Profile::High444 || *profile == Profile::Auto;
    return bFits && config.rcParams.rateControlMode == NV_ENC_PARAMS_RC_CONSTQP ? NV_ENC_SUCCESS
                                                                                : NV_ENC_ERR_INVALID_PARAM;
}

NVENCSTATUS CheckVui(const NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui)
{
    bool bKnown = true;
    if (vui.videoSignalTypePresentFlag)
    {
        bKnown = bKnown && VideoFormatName(vui.videoFormat) && vui.videoFullRangeFlag <= 1;
    }
    if (vui.colourDescriptionPresentFlag)
    {
        bKnown = bKnown && ColourPrimariesName(vui.colourPrimaries) && TransferName(vui.transferCharacteristics) &&
                 ColourMatrixName(vui.colourMatrix);
    }
    if (vui.chromaSampleLocationFlag)
    {
        bKnown = bKnown && vui.chromaSampleLocationTop <= 5;
    }
    if (!bKnown)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    // x264 writes one location for both fields.
    return vui.chromaSampleLocationFlag && vui.chromaSampleLocationBot != vui.chromaSampleLocationTop
               ? NV_ENC_ERR_UNSUPPORTED_PARAM
               : NV_ENC_SUCCESS;
}

}  // namespace

std::optional<Profile> FindProfile(const GUID& guid)
{
    if (guid == GUID{} || guid == NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID)
    {
        return Profile::Auto;
    }
    if (guid == NV_ENC_H264_PROFILE_BASELINE_GUID)
    {
        return Profile::Baseline;
    }
    if (guid == NV_ENC_H264_PROFILE_MAIN_GUID)
    {
        return Profile::Main;
    }
    if (guid == NV_ENC_H264_PROFILE_HIGH_GUID)
    {
        return Profile::High;
    }
    if (guid == NV_ENC_H264_PROFILE_HIGH_444_GUID)
    {
        return Profile::High444;
    }
    return std::nullopt;
}

NVENCSTATUS CheckH264Settings(const NV_ENC_INITIALIZE_PARAMS& params, const NV_ENC_CONFIG& config)
{
    const NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
    for (const NVENCSTATUS eStatus :
         {CheckTools(h264), CheckLevel(params, h264.level), CheckProfile(config), CheckVui(h264.h264VUIParameters)})
    {
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
    }
    return NV_ENC_SUCCESS;
}

}  // namespace nvencruntime
