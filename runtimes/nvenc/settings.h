// What a session is initialised with, after it was found to be something this encoder can do.
#pragma once

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/nvenc/presets.h"

namespace nvencruntime
{

struct EncodeSettings
{
    NV_ENC_INITIALIZE_PARAMS params;  // without encodeConfig, privData and other pointers of the caller
    NV_ENC_CONFIG config;             // the caller's, or the preset's if the caller gave none
    const Preset* pPreset;

    const NV_ENC_CONFIG_H264& H264() const { return config.encodeCodecConfig.h264Config; }
    bool IsLossless() const { return H264().qpPrimeYZeroTransformBypassFlag != 0; }
    std::uint32_t BFrames() const
    {
        return config.frameIntervalP > 1 ? static_cast<std::uint32_t>(config.frameIntervalP - 1) : 0;
    }
};

// Examines every field that has a meaning here. NV_ENC_ERR_INVALID_VERSION for a wrong version word of the record, of
// its configuration or of the rate control in it; NV_ENC_ERR_INVALID_PARAM for what no encoder could be asked for;
// NV_ENC_ERR_UNSUPPORTED_PARAM for what is defined and that this one can't do. settings is complete only on success.
NVENCSTATUS ReadSettings(const NV_ENC_INITIALIZE_PARAMS& params, EncodeSettings& settings);

}  // namespace nvencruntime
