// A session's settings as those of its stream.
#pragma once

#include "runtimes/common/stream_settings.h"
#include "runtimes/nvenc/settings.h"

namespace nvencruntime
{

runtimes::StreamSettings MakeStreamSettings(const EncodeSettings& settings);

}  // namespace nvencruntime
