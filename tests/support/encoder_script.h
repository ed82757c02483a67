// Failures of the encoder's runtime, of Direct3D and of the disk, and what the module says about them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

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

// What comes to the host's diagnostics for as long as the object lives.
class DiagnosticLines
{
public:
    struct Line
    {
        int m_nLine;
        std::wstring m_strText;
    };

    DiagnosticLines();
    ~DiagnosticLines();
    DiagnosticLines(const DiagnosticLines&) = delete;
    DiagnosticLines& operator=(const DiagnosticLines&) = delete;

    // The texts of the lines that were told with this line number.
    std::vector<std::wstring> At(int nLine) const;

private:
    static void Take(const char* pszFile, int nLine, const wchar_t* pwszText, void* pUser);

    std::vector<Line> m_vLines;
};

}  // namespace test_support
