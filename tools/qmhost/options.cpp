#include "options.h"

#include <algorithm>
#include <iostream>

#include "parts/text.h"

namespace qmhost
{

std::string PeriodProblem(const std::string& text)
{
    const auto dPeriodMs = NumberFromText<double>(text);
    if (dPeriodMs && *dPeriodMs >= 0.1 && *dPeriodMs <= 864e6) return {};
    return Quoted(text) + " is no period from 0.1 to 864000000 milliseconds";
}

std::string TargetProblem(const std::string& text)
{
    std::string strEnd = text.substr(text.size() - std::min<std::size_t>(text.size(), 4));
    for (char& c : strEnd)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return strEnd == ".mp4" ? "" : Quoted(text) + " doesn't end in .mp4";
}

void Warn(const std::string& text)
{
    std::cerr << "qmhost: warning: " << text << '\n';
}

void PrintReport(const RepairReport& report)
{
    for (const std::string& strWarning : report.m_vWarnings)
        Warn(strWarning);
    std::cout << report.m_strDone << '\n';
}

}  // namespace qmhost
