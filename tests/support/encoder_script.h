// The script of the software NVENC runtime.
#pragma once

#include "runtimes/nvenc/nvenc_script.h"
#include "support/runtime_script.h"

namespace test_support
{

class EncoderScript : public RuntimeScript<NvencRuntimeScript>
{
public:
    EncoderScript() : RuntimeScript(L"nvEncodeAPI64.dll", "NvencRuntimeGetScript") {}
};

}  // namespace test_support
