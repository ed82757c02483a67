#include "runtimes/common/x264_settings.h"

#include <cstdio>
#include <numeric>

namespace runtimes
{

std::string X264Settings::OptionsText() const
{
    std::string text;
    for (const auto& [name, value] : options)
    {
        text.append(text.empty() ? "" : ":").append(name).append("=").append(value);
    }
    return text;
}

RuntimeX264Settings X264Settings::Report() const
{
    RuntimeX264Settings report{};
    std::snprintf(report.szPreset, sizeof report.szPreset, "%s", preset.c_str());
    std::snprintf(report.szProfile, sizeof report.szProfile, "%s", profile.c_str());
    std::snprintf(report.szOptions, sizeof report.szOptions, "%s", OptionsText().c_str());
    return report;
}

void X264Options::SetReal(const char* pszName, double dValue)
{
    char szValue[32];
    std::snprintf(szValue, sizeof szValue, "%.9g", dValue);
    Set(pszName, szValue);
}

void X264Options::SetRatio(const char* pszName, std::uint64_t ui64Num, std::uint64_t ui64Den)
{
    const std::uint64_t ui64Common = std::gcd(ui64Num, ui64Den);
    Set(pszName, (std::to_string(ui64Num / ui64Common) + "/" + std::to_string(ui64Den / ui64Common)).c_str());
}

void X264Options::SetOneThread()
{
    Set("threads", 1);
    Set("lookahead-threads", 1);
    Set("sliced-threads", 0u);
    Set("sync-lookahead", 0u);
    Set("cpu-independent", 1);
}

}  // namespace runtimes
