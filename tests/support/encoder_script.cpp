#include "support/encoder_script.h"

#include <cstring>
#include <stdexcept>

namespace test_support
{

EncoderScript::EncoderScript() : m_hRuntime(LoadLibraryW(L"nvEncodeAPI64.dll"))
{
    if (!m_hRuntime) throw std::runtime_error("no encoder runtime");
    const auto pfn = GetProcAddress(m_hRuntime, "NvencRuntimeGetScript");
    if (!pfn) throw std::runtime_error("an encoder runtime that takes no script");
    PNVENCRUNTIMEGETSCRIPT pfnGetScript = nullptr;
    static_assert(sizeof pfnGetScript == sizeof pfn);
    std::memcpy(&pfnGetScript, &pfn, sizeof pfn);
    m_pScript = pfnGetScript();
    m_pScript->Reset();
}

EncoderScript::~EncoderScript()
{
    m_pScript->Reset();
    FreeLibrary(m_hRuntime);
}

}  // namespace test_support
