#include "runtimes/nvenc/presets.h"

#include <algorithm>

namespace nvencruntime
{
namespace
{

// x264's presets are chosen for the place that each has among the runtime's own: the high-quality ones may cost two to
// three times what the low-latency ones cost, and the plain ones lie between. "superfast" is the fastest that keeps
// CABAC, the 8x8 transform and deblocking; "ultrafast" keeps none of them.
constexpr std::uint32_t c_uiEndless = NVENC_INFINITE_GOPLENGTH;

constexpr Preset c_presets[] = {
    // guid, x264, GOP, interval of P, lossless, deblock
    {NV_ENC_PRESET_DEFAULT_GUID, "veryfast", 250, 1, false, true},
    {NV_ENC_PRESET_HP_GUID, "superfast", 250, 1, false, true},
    {NV_ENC_PRESET_HQ_GUID, "faster", 250, 3, false, true},
    {NV_ENC_PRESET_BD_GUID, "faster", 24, 3, false, true},
    {NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID, "superfast", c_uiEndless, 1, false, true},
    {NV_ENC_PRESET_LOW_LATENCY_HQ_GUID, "superfast", c_uiEndless, 1, false, true},
    {NV_ENC_PRESET_LOW_LATENCY_HP_GUID, "ultrafast", c_uiEndless, 1, false, false},
    {NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID, "superfast", c_uiEndless, 1, true, true},
    {NV_ENC_PRESET_LOSSLESS_HP_GUID, "ultrafast", c_uiEndless, 1, true, false},
};

}  // namespace

std::span<const Preset> Presets()
{
    return c_presets;
}

const Preset* FindPreset(const GUID& guid)
{
    const auto it = std::ranges::find_if(c_presets, [&](const Preset& preset) { return preset.guid == guid; });
    return it == std::end(c_presets) ? nullptr : &*it;
}

NV_ENC_CONFIG MakePresetConfig(const Preset& preset)
{
    NV_ENC_CONFIG config{};
    config.version = NV_ENC_CONFIG_VER;
    config.profileGUID = preset.bLossless ? NV_ENC_H264_PROFILE_HIGH_444_GUID : NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID;
    config.gopLength = preset.uiGopLength;
    config.frameIntervalP = preset.nFrameIntervalP;
    config.frameFieldMode = NV_ENC_PARAMS_FRAME_FIELD_MODE_FRAME;
    config.mvPrecision = NV_ENC_MV_PRECISION_QUARTER_PEL;

    config.rcParams.version = NV_ENC_RC_PARAMS_VER;
    config.rcParams.rateControlMode = NV_ENC_PARAMS_RC_CONSTQP;
    if (!preset.bLossless)
    {
        config.rcParams.constQP = {28, 31, 25};
    }

    NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
    h264.repeatSPSPPS = 1;
    h264.qpPrimeYZeroTransformBypassFlag = preset.bLossless ? 1 : 0;
    h264.level = NV_ENC_LEVEL_AUTOSELECT;
    h264.idrPeriod = preset.uiGopLength;
    h264.disableDeblockingFilterIDC = preset.bDeblock ? 0 : 1;
    h264.fmoMode = NV_ENC_H264_FMO_DISABLE;
    h264.chromaFormatIDC = 1;
    return config;
}

}  // namespace nvencruntime
