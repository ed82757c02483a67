#include "platform/mediafoundation/writing/encoder_settings.h"

#include <algorithm>

namespace mediafoundation
{

double RateFactorOf(std::uint32_t uiQuality)
{
    struct Point
    {
        double m_dQuality;
        double m_dFactor;
    };
    constexpr Point aPoints[] = {{0, 51}, {50, 38}, {80, 18}, {100, 10}};
    const double dQuality = std::min<std::uint32_t>(uiQuality, 100);
    std::size_t uiEnd = 1;
    while (dQuality > aPoints[uiEnd].m_dQuality)
    {
        ++uiEnd;
    }
    const Point& from = aPoints[uiEnd - 1];
    const Point& to = aPoints[uiEnd];
    const double dShare = (dQuality - from.m_dQuality) / (to.m_dQuality - from.m_dQuality);
    return from.m_dFactor + dShare * (to.m_dFactor - from.m_dFactor);
}

std::string PresetOf(std::uint32_t uiQualityVsSpeed)
{
    if (uiQualityVsSpeed <= 33) return "ultrafast";
    return uiQualityVsSpeed <= 66 ? "veryfast" : "medium";
}

std::string ProfileParametersOf(std::uint32_t uiProfile)
{
    switch (uiProfile)
    {
    case 100:
        return "8x8dct=1";
    case 77:
        return "cabac=1";
    default:
        return "";
    }
}

std::string ProfileNameOf(std::uint32_t uiProfile)
{
    switch (uiProfile)
    {
    case 100:
        return "high";
    case 77:
        return "main";
    default:
        return "baseline";
    }
}

int KeyDistanceOf(const EncoderSettings& settings)
{
    constexpr std::uint64_t LARGEST = 250;
    if (settings.m_uiRateDenominator == 0) return LARGEST;
    const std::uint64_t uiPictures = std::uint64_t{2} * settings.m_uiRateNumerator / settings.m_uiRateDenominator;
    return static_cast<int>(std::clamp<std::uint64_t>(uiPictures, 1, LARGEST));
}

}  // namespace mediafoundation
