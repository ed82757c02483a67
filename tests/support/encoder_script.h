// A test's access to the software encoder runtime.
#pragma once

#include <windows.h>

#include "runtimes/nvenc/nvenc_script.h"

namespace test_support
{

// The script of the encoder's runtime. The runtime is loaded as long as the object lives; the script is reset at both
// ends.
class EncoderScript
{
public:
    EncoderScript();  // throws std::runtime_error without a runtime that takes a script
    ~EncoderScript();
    EncoderScript(const EncoderScript&) = delete;
    EncoderScript& operator=(const EncoderScript&) = delete;

    const NvencRuntimeScript* operator->() const { return m_pScript; }

private:
    HMODULE m_hRuntime;
    const NvencRuntimeScript* m_pScript = nullptr;
};

}  // namespace test_support
