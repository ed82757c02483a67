// The hand on the software encoder runtime.
#pragma once

#include <windows.h>

#include "runtimes/nvenc/nvenc_script.h"

namespace test_support
{

// The script of the encoder's runtime, which is loaded for as long as the object lives and told nothing at both ends.
class EncoderScript
{
public:
    EncoderScript();  // throws std::runtime_error when there is no runtime to be scripted
    ~EncoderScript();
    EncoderScript(const EncoderScript&) = delete;
    EncoderScript& operator=(const EncoderScript&) = delete;

    const NvencRuntimeScript* operator->() const { return m_pScript; }

private:
    HMODULE m_hRuntime;
    const NvencRuntimeScript* m_pScript = nullptr;
};

}  // namespace test_support
