#include "support/encoder_script.h"

#include <cstring>
#include <stdexcept>

#include "hostapi/hostplatform.h"

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

DiagnosticLines::DiagnosticLines()
{
    QM_SetDiagSink(Take, this);
}

DiagnosticLines::~DiagnosticLines()
{
    QM_SetDiagSink(nullptr, nullptr);
}

std::vector<std::wstring> DiagnosticLines::At(int nLine) const
{
    std::vector<std::wstring> vTexts;
    for (const Line& line : m_vLines)
    {
        if (line.m_nLine == nLine) vTexts.push_back(line.m_strText);
    }
    return vTexts;
}

void DiagnosticLines::Take(const char* /*pszFile*/, int nLine, const wchar_t* pwszText, void* pUser)
{
    static_cast<DiagnosticLines*>(pUser)->m_vLines.push_back({nLine, pwszText});
}

}  // namespace test_support
