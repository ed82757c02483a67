// A session's settings in x264's words.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "runtimes/nvenc/settings.h"

namespace nvencruntime
{

// Everything that decides the encoded pictures, except their size. Names as x264_param_parse takes them; options apply
// on top of the preset in their order, and the profile (empty for none) limits the whole.
struct X264Settings
{
    std::string preset;
    std::string profile;
    std::vector<std::pair<std::string, std::string>> options;

    // "name=value:name=value"
    std::string OptionsText() const;
};

X264Settings MakeX264Settings(const EncodeSettings& settings);

// The constant quantisers as x264 is given them: one of 0 would switch it to lossless coding, another profile.
NV_ENC_QP EffectiveQuantisers(const EncodeSettings& settings);

}  // namespace nvencruntime
