// The presets, what each stands for, and which of x264's each becomes.
#pragma once

#include <span>

#include "abi/nvenc/nvEncodeAPI.h"

namespace nvencruntime
{

struct Preset
{
    GUID guid;
    const char* pszX264Preset;  // x264's decisions where the caller's configuration doesn't ask for others
    std::uint32_t uiGopLength;
    std::int32_t nFrameIntervalP;
    bool bLossless;
    bool bDeblock;  // the fastest of x264's goes without the deblocking filter
};

std::span<const Preset> Presets();

// Null if there is no such preset.
const Preset* FindPreset(const GUID& guid);

// The configuration that a preset stands for, version words included: constant quantisers P 28, B 31, I 25 (0 when
// lossless), level chosen by the encoder, parameter sets before every IDR picture, no SEI, one slice per picture.
NV_ENC_CONFIG MakePresetConfig(const Preset& preset);

}  // namespace nvencruntime
