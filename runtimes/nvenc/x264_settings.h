// A session's settings as x264's.
#pragma once

#include "runtimes/common/packet.h"
#include "runtimes/common/x264_settings.h"
#include "runtimes/nvenc/settings.h"

namespace nvencruntime
{

runtimes::X264Settings MakeX264Settings(const EncodeSettings& settings);

// The constant quantisers as x264 gets them: one of 0 would switch it to lossless coding, which is another profile.
NV_ENC_QP EffectiveQuantisers(const EncodeSettings& settings);

// That of a picture; 0 where there is no constant one.
std::uint32_t ConstantQuantiser(const EncodeSettings& settings, runtimes::PictureKind eKind);

}  // namespace nvencruntime
