// The lines that the module writes to the host's diagnostics.
#pragma once

#include <string>
#include <vector>

#include "hostapi/hostplatform.h"

struct SDiagnosticsLine
{
    std::string m_strFile;
    int m_nLine;
    std::wstring m_wszText;
};

// Takes every line for as long as it lives.
class CDiagnosticsCapture
{
public:
    CDiagnosticsCapture() { QM_SetDiagSink(Take, this); }
    ~CDiagnosticsCapture() { QM_SetDiagSink(nullptr, nullptr); }
    CDiagnosticsCapture(const CDiagnosticsCapture&) = delete;
    CDiagnosticsCapture& operator=(const CDiagnosticsCapture&) = delete;

    // The texts written from that line of the source, in order.
    std::vector<std::wstring> TextsOf(int nLine) const
    {
        std::vector<std::wstring> vTexts;
        for (const SDiagnosticsLine& line : m_vLines)
            if (line.m_nLine == nLine) vTexts.push_back(line.m_wszText);
        return vTexts;
    }
    std::vector<int> LineNumbers() const
    {
        std::vector<int> vNumbers;
        for (const SDiagnosticsLine& line : m_vLines)
            vNumbers.push_back(line.m_nLine);
        return vNumbers;
    }

    std::vector<SDiagnosticsLine> m_vLines;

private:
    static void Take(const char* pszFile, int nLine, const wchar_t* pwszText, void* pUser)
    {
        static_cast<CDiagnosticsCapture*>(pUser)->m_vLines.push_back({pszFile, nLine, pwszText});
    }
};
