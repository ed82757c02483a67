#include "diagnostics.h"

#include <iostream>

#include "hostapi/hostplatform.h"
#include "parts/text.h"

namespace qmhost
{

Diagnostics::Diagnostics(bool bShow) : m_bShow(bShow)
{
    QM_SetDiagSink(&Diagnostics::Take, this);
}

Diagnostics::~Diagnostics()
{
    QM_SetDiagSink(nullptr, nullptr);
}

void Diagnostics::Forget()
{
    const std::lock_guard lock(m_mutex);
    m_strLast.clear();
}

std::string Diagnostics::LastText()
{
    const std::lock_guard lock(m_mutex);
    std::string line = m_strLast;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void Diagnostics::Take(const char* pszFile, int nLine, const wchar_t* pwszText, void* pThis)
{
    auto& diagnostics = *static_cast<Diagnostics*>(pThis);
    std::string line = Utf8FromWide(pwszText);
    if (!diagnostics.m_bShow)
    {
        const std::lock_guard lock(diagnostics.m_mutex);
        diagnostics.m_strLast = std::move(line);
        return;
    }
    line += '\n';
    if (*pszFile) line = std::string(pszFile) + ':' + std::to_string(nLine) + ": " + line;
    std::cerr << line;
}

}  // namespace qmhost
