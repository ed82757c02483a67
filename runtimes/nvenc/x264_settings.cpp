#include "runtimes/nvenc/x264_settings.h"

#include <algorithm>
#include <cmath>

#include "runtimes/nvenc/settings_h264.h"
#include "runtimes/nvenc/vui_names.h"

namespace nvencruntime
{
namespace
{

void SetTiming(runtimes::X264Options& options, const NV_ENC_INITIALIZE_PARAMS& params)
{
    options.SetRatio("fps", params.frameRateNum, params.frameRateDen);
    // The header's clock is the frame rate, whatever times the caller keeps elsewhere.
    options.Set("force-cfr", 1);
    const std::uint64_t ui64Wide = std::uint64_t{params.darWidth} * params.encodeHeight;
    const std::uint64_t ui64High = std::uint64_t{params.darHeight} * params.encodeWidth;
    if (ui64Wide != ui64High)
    {
        options.SetRatio("sar", ui64Wide, ui64High);
    }
}

// Where key pictures stand is decided picture by picture; x264 adds none but at cuts, and there only with look-ahead.
void SetGroupOfPictures(runtimes::X264Options& options, const EncodeSettings& settings)
{
    const NV_ENC_RC_PARAMS& rc = settings.config.rcParams;
    const bool bLookahead = rc.enableLookahead && rc.lookaheadDepth != 0;
    options.Set("keyint", "infinite");
    options.Set("open-gop", 0u);
    options.Set("scenecut", bLookahead && !rc.disableIadapt && settings.params.enablePTD ? 40u : 0u);
    options.Set("bframes", settings.BFrames());
    options.Set("b-adapt", bLookahead && !rc.disableBadapt ? 1u : 0u);
    options.Set("b-pyramid", "none");
    options.Set("rc-lookahead", bLookahead ? rc.lookaheadDepth : 0u);
    options.Set("mbtree", bLookahead && rc.rateControlMode != NV_ENC_PARAMS_RC_CONSTQP ? 1u : 0u);
    options.Set("weightp", settings.params.enableWeightedPrediction ? 1u : 0u);
}

// x264 has one quantiser, for P, and what those of I and B are to it: half as large a step for each six.
void SetConstantQuantisers(runtimes::X264Options& options, const EncodeSettings& settings)
{
    const NV_ENC_QP qp = EffectiveQuantisers(settings);
    if (settings.IsLossless())
    {
        options.Set("qp", 0u);
        return;
    }
    const auto steps = [](std::uint32_t uiCoarse, std::uint32_t uiFine) {
        return std::exp2((static_cast<double>(uiCoarse) - static_cast<double>(uiFine)) / 6.0);
    };
    options.Set("qp", qp.qpInterP);
    options.SetReal("ipratio", steps(qp.qpInterP, qp.qpIntra));
    options.SetReal("pbratio", steps(qp.qpInterB, qp.qpInterP));
}

std::uint32_t Kilobits(std::uint64_t ui64Bits)
{
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(ui64Bits / 1000, 1, 2000000));
}

// A tenth of a bit for each pixel, when the caller names no rate.
std::uint64_t DefaultBitRate(const NV_ENC_INITIALIZE_PARAMS& params)
{
    return std::uint64_t{params.encodeWidth} * params.encodeHeight * params.frameRateNum / params.frameRateDen / 10;
}

void SetBitRate(runtimes::X264Options& options, const EncodeSettings& settings)
{
    const NV_ENC_RC_PARAMS& rc = settings.config.rcParams;
    const bool bConstant = rc.rateControlMode != NV_ENC_PARAMS_RC_VBR && rc.rateControlMode != NV_ENC_PARAMS_RC_VBR_HQ;
    const std::uint64_t ui64Average = rc.averageBitRate ? rc.averageBitRate : DefaultBitRate(settings.params);
    if (!bConstant && rc.targetQuality != 0)
    {
        options.SetReal("crf", rc.targetQuality + rc.targetQualityLSB / 256.0);
    }
    else
    {
        options.Set("bitrate", Kilobits(ui64Average));
    }

    const std::uint64_t ui64Max = bConstant ? ui64Average : rc.maxBitRate;
    if (ui64Max != 0)
    {
        // One second of the stream, unless the caller knows better.
        const std::uint64_t ui64Buffer = rc.vbvBufferSize ? rc.vbvBufferSize : ui64Max;
        options.Set("vbv-maxrate", Kilobits(ui64Max));
        options.Set("vbv-bufsize", Kilobits(ui64Buffer));
        if (rc.vbvInitialDelay != 0)
        {
            options.SetReal("vbv-init",
                            std::min(1.0, static_cast<double>(rc.vbvInitialDelay) / static_cast<double>(ui64Buffer)));
        }
    }
    if (rc.enableMinQP)
    {
        options.Set("qpmin", rc.minQP.qpInterP);
    }
    if (rc.enableMaxQP)
    {
        options.Set("qpmax", rc.maxQP.qpInterP);
    }
}

void SetRateControl(runtimes::X264Options& options, const EncodeSettings& settings)
{
    const NV_ENC_RC_PARAMS& rc = settings.config.rcParams;
    if (rc.rateControlMode == NV_ENC_PARAMS_RC_CONSTQP)
    {
        SetConstantQuantisers(options, settings);
    }
    else
    {
        SetBitRate(options, settings);
    }
    options.Set("aq-mode", rc.enableAQ ? 1u : 0u);
    if (rc.enableAQ && rc.aqStrength != 0)
    {
        options.SetReal("aq-strength", rc.aqStrength / 8.0);
    }
    // Bits go where they lower the error, not where an eye would look.
    options.Set("psy", 0u);
}

void SetTools(runtimes::X264Options& options, const EncodeSettings& settings, Profile eProfile)
{
    const NV_ENC_CONFIG_H264& h264 = settings.H264();
    if (h264.level != NV_ENC_LEVEL_AUTOSELECT)
    {
        options.Set("level", h264.level);
    }
    if (h264.maxNumRefFrames != 0)
    {
        options.Set("ref", h264.maxNumRefFrames);
    }
    // A profile that is named is filled as well as kept: a stream that could pass for a lesser one would say so.
    const bool bFillMain = eProfile == Profile::Main || eProfile == Profile::High;
    if (h264.entropyCodingMode != NV_ENC_H264_ENTROPY_CODING_MODE_AUTOSELECT || bFillMain)
    {
        options.Set("cabac", h264.entropyCodingMode != NV_ENC_H264_ENTROPY_CODING_MODE_CAVLC ? 1u : 0u);
    }
    if (h264.adaptiveTransformMode != NV_ENC_H264_ADAPTIVE_TRANSFORM_AUTOSELECT || eProfile == Profile::High)
    {
        options.Set("8x8dct", h264.adaptiveTransformMode != NV_ENC_H264_ADAPTIVE_TRANSFORM_DISABLE ? 1u : 0u);
    }
    constexpr const char* directModes[] = {nullptr, "none", "temporal", "spatial"};
    if (const char* pszDirect = directModes[h264.bdirectMode])
    {
        options.Set("direct", pszDirect);
    }
    options.Set("no-deblock", h264.disableDeblockingFilterIDC);
    options.Set("constrained-intra", h264.useConstrainedIntraPred);
}

// The number behind a slice mode, limited to what a picture has of it, so that it fits x264's integers.
void SetSlices(runtimes::X264Options& options, const EncodeSettings& settings)
{
    const NV_ENC_CONFIG_H264& h264 = settings.H264();
    const std::uint32_t uiColumns = (settings.params.encodeWidth + 15) / 16;
    const std::uint32_t uiRows = (settings.params.encodeHeight + 15) / 16;
    if (h264.sliceModeData == 0)
    {
        return;
    }
    switch (h264.sliceMode)
    {
    case 0:
        options.Set("slice-max-mbs", std::min(h264.sliceModeData, uiColumns * uiRows));
        break;
    case 1:
        options.Set("slice-max-size", std::min(h264.sliceModeData, 1u << 30));
        break;
    case 2:
        options.Set("slice-max-mbs", std::min(h264.sliceModeData, uiRows) * uiColumns);
        break;
    default:
        options.Set("slices", std::min(h264.sliceModeData, uiRows));
        break;
    }
}

void SetHeaders(runtimes::X264Options& options, const EncodeSettings& settings)
{
    const NV_ENC_CONFIG_H264& h264 = settings.H264();
    const NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui = h264.h264VUIParameters;
    options.Set("sps-id", h264.spsId);
    options.Set("aud", h264.outputAUD);
    options.Set("pic-struct", h264.outputPictureTimingSEI);
    if (vui.overscanInfoPresentFlag)
    {
        options.Set("overscan", vui.overscanInfo ? "crop" : "show");
    }
    if (vui.videoSignalTypePresentFlag)
    {
        options.Set("videoformat", VideoFormatName(vui.videoFormat));
        options.Set("fullrange", vui.videoFullRangeFlag ? "on" : "off");
    }
    if (vui.colourDescriptionPresentFlag)
    {
        options.Set("colorprim", ColourPrimariesName(vui.colourPrimaries));
        options.Set("transfer", TransferName(vui.transferCharacteristics));
        options.Set("colormatrix", ColourMatrixName(vui.colourMatrix));
    }
    if (vui.chromaSampleLocationFlag)
    {
        options.Set("chromaloc", vui.chromaSampleLocationTop);
    }
}

const char* ProfileName(Profile eProfile)
{
    switch (eProfile)
    {
    case Profile::Auto:
        return "";
    case Profile::Baseline:
        return "baseline";
    case Profile::Main:
        return "main";
    case Profile::High:
        return "high";
    case Profile::High444:
        return "high444";
    }
    return "";
}

}  // namespace

NV_ENC_QP EffectiveQuantisers(const EncodeSettings& settings)
{
    NV_ENC_QP qp = settings.config.rcParams.constQP;
    qp.qpInterP = settings.IsLossless() ? 0 : std::max(qp.qpInterP, 1u);
    return qp;
}

std::uint32_t ConstantQuantiser(const EncodeSettings& settings, runtimes::PictureKind eKind)
{
    if (settings.config.rcParams.rateControlMode != NV_ENC_PARAMS_RC_CONSTQP || settings.IsLossless())
    {
        return 0;
    }
    const NV_ENC_QP qp = EffectiveQuantisers(settings);
    switch (eKind)
    {
    case runtimes::PictureKind::Idr:
    case runtimes::PictureKind::I:
        return qp.qpIntra;
    case runtimes::PictureKind::B:
        return qp.qpInterB;
    default:
        return qp.qpInterP;
    }
}

runtimes::X264Settings MakeX264Settings(const EncodeSettings& settings)
{
    const Profile eProfile = FindProfile(settings.config.profileGUID).value_or(Profile::Auto);
    // A caller may lock the packet of a picture right after sending the picture, and wait on its event with nothing
    // else to send. So x264 may neither hold pictures back nor cut them into slices.
    runtimes::X264Options options;
    options.SetOneThread();
    SetTiming(options, settings.params);
    SetGroupOfPictures(options, settings);
    SetRateControl(options, settings);
    SetTools(options, settings, eProfile);
    SetSlices(options, settings);
    SetHeaders(options, settings);

    runtimes::X264Settings x264Settings;
    x264Settings.preset = settings.pPreset->pszX264Preset;
    x264Settings.profile = ProfileName(eProfile);
    x264Settings.options = options.Take();
    return x264Settings;
}

}  // namespace nvencruntime
