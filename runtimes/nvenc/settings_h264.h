// The part of a configuration that is H.264's own.
#pragma once

#include <optional>

#include "abi/nvenc/nvEncodeAPI.h"

namespace nvencruntime
{

enum class Profile
{
    Auto,
    Baseline,
    Main,
    High,
    High444
};

// Nothing for one that this encoder doesn't have.
std::optional<Profile> FindProfile(const GUID& guid);

// As ReadSettings. The size in params has been examined before.
NVENCSTATUS CheckH264Settings(const NV_ENC_INITIALIZE_PARAMS& params, const NV_ENC_CONFIG& config);

}  // namespace nvencruntime
