#include "runtimes/nvenc/capabilities.h"

#include <algorithm>
#include <array>

#include "runtimes/nvenc/script.h"

namespace nvencruntime
{
namespace
{

constexpr GUID c_encodeGuids[] = {NV_ENC_CODEC_H264_GUID};

constexpr GUID c_profileGuids[] = {NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID, NV_ENC_H264_PROFILE_BASELINE_GUID,
                                   NV_ENC_H264_PROFILE_MAIN_GUID, NV_ENC_H264_PROFILE_HIGH_GUID,
                                   NV_ENC_H264_PROFILE_HIGH_444_GUID};

constexpr NV_ENC_BUFFER_FORMAT c_inputFormats[] = {NV_ENC_BUFFER_FORMAT_NV12, NV_ENC_BUFFER_FORMAT_ARGB};

using CapabilityTable = std::array<std::int32_t, NV_ENC_CAPS_EXPOSED_COUNT>;

// What isn't named here is 0: not there.
constexpr CapabilityTable MakeCapabilities()
{
    CapabilityTable table{};
    table[NV_ENC_CAPS_NUM_MAX_BFRAMES] = c_nMaxBFrames;
    table[NV_ENC_CAPS_SUPPORTED_RATECONTROL_MODES] = NV_ENC_PARAMS_RC_CONSTQP | NV_ENC_PARAMS_RC_VBR |
                                                     NV_ENC_PARAMS_RC_CBR | NV_ENC_PARAMS_RC_CBR_LOWDELAY_HQ |
                                                     NV_ENC_PARAMS_RC_CBR_HQ | NV_ENC_PARAMS_RC_VBR_HQ;
    table[NV_ENC_CAPS_SUPPORT_QPELMV] = 1;
    table[NV_ENC_CAPS_SUPPORT_BDIRECT_MODE] = 1;
    table[NV_ENC_CAPS_SUPPORT_CABAC] = 1;
    table[NV_ENC_CAPS_SUPPORT_ADAPTIVE_TRANSFORM] = 1;
    table[NV_ENC_CAPS_LEVEL_MAX] = NV_ENC_LEVEL_H264_52;
    table[NV_ENC_CAPS_LEVEL_MIN] = NV_ENC_LEVEL_H264_1;
    table[NV_ENC_CAPS_WIDTH_MAX] = c_uiMaxEncodeSize;
    table[NV_ENC_CAPS_HEIGHT_MAX] = c_uiMaxEncodeSize;
    table[NV_ENC_CAPS_SUPPORT_CUSTOM_VBV_BUF_SIZE] = 1;
    table[NV_ENC_CAPS_SUPPORT_DYNAMIC_SLICE_MODE] = 1;
    // The events are there to be used: callers that were written for the system that has them take this way.
    table[NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT] = 1;
    table[NV_ENC_CAPS_MB_NUM_MAX] = (c_uiMaxEncodeSize / 16) * (c_uiMaxEncodeSize / 16);
    table[NV_ENC_CAPS_MB_PER_SEC_MAX] = 2073600;  // of level 5.2
    table[NV_ENC_CAPS_SUPPORT_LOSSLESS_ENCODE] = 1;
    table[NV_ENC_CAPS_SUPPORT_LOOKAHEAD] = 1;
    table[NV_ENC_CAPS_SUPPORT_WEIGHTED_PREDICTION] = 1;
    table[NV_ENC_CAPS_DYNAMIC_QUERY_ENCODER_CAPACITY] = 100;  // per cent free
    return table;
}

constexpr CapabilityTable c_capabilities = MakeCapabilities();

}  // namespace

std::span<const GUID> EncodeGuids()
{
    return c_encodeGuids;
}

std::span<const GUID> ProfileGuids()
{
    return c_profileGuids;
}

std::span<const NV_ENC_BUFFER_FORMAT> InputFormats()
{
    return c_inputFormats;
}

bool IsInputFormat(NV_ENC_BUFFER_FORMAT eFormat)
{
    return std::ranges::find(c_inputFormats, eFormat) != std::end(c_inputFormats);
}

std::optional<std::int32_t> AskCapability(NV_ENC_CAPS eCapability)
{
    if (eCapability < 0 || eCapability >= NV_ENC_CAPS_EXPOSED_COUNT)
    {
        return std::nullopt;
    }
    const std::optional<std::int32_t> scripted = Script::Get().Capability(eCapability);
    return scripted ? *scripted : c_capabilities[eCapability];
}

}  // namespace nvencruntime
