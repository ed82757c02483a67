#include "parts/timetable.h"

#include <cmath>
#include <cstdio>

namespace qmhost
{
namespace
{

std::string ClockTime(double dTimeMs)
{
    const auto nMs = std::llround(dTimeMs);
    char acText[48];
    std::snprintf(acText, sizeof acText, "%lld:%02lld:%02lld.%03lld", nMs / 3'600'000, nMs / 60'000 % 60,
                  nMs / 1000 % 60, nMs % 1000);
    return acText;
}

}  // namespace

std::string TimesAsCsv(const std::vector<FrameTime>& vTimes)
{
    std::string text = "frame,time_ms\n";
    for (const FrameTime& time : vTimes)
        text += std::to_string(time.m_uiFrame) + ',' + std::to_string(std::llround(time.m_dTimeMs)) + '\n';
    return text;
}

std::string TimesAsTable(const std::vector<FrameTime>& vTimes)
{
    std::string text = "     frame            time   distance\n";
    char acLine[96];
    const FrameTime* pPrevious = nullptr;
    for (const FrameTime& time : vTimes)
    {
        std::snprintf(acLine, sizeof acLine, "%10u %15s", time.m_uiFrame, ClockTime(time.m_dTimeMs).c_str());
        text += acLine;
        if (pPrevious)
        {
            const auto nDistance = std::llround(time.m_dTimeMs) - std::llround(pPrevious->m_dTimeMs);
            std::snprintf(acLine, sizeof acLine, " %7lld ms", nDistance);
            text += acLine;
        }
        text += '\n';
        pPrevious = &time;
    }
    return text;
}

}  // namespace qmhost
