// All positions are whole numbers of the smallest part that source and target pixels have in common. So the weights are
// whole numbers too, and nothing is rounded before the one division for each component.
#include "host/hostpicbase/axistaps.h"

#include <algorithm>

namespace
{

void AddPixel(SAxisTaps& taps, std::uint64_t uiFirst, std::uint64_t uiCount)
{
    taps.m_vPixels.push_back(
        {static_cast<std::uint32_t>(uiFirst), static_cast<std::uint32_t>(uiCount), taps.m_vWeights.size()});
}

// In halves of 1/uiTarget source pixel, the middle of target pixel i is at (2i + 1) * uiSource.
void AddNearest(SAxisTaps& taps, std::uint64_t uiSource, std::uint64_t uiTarget, std::uint64_t i)
{
    AddPixel(taps, (2 * i + 1) * uiSource / (2 * uiTarget), 1);
    taps.m_vWeights.push_back(1.0);
}

// The same unit, counted from the middle of the first source pixel. Outside the outermost middles there is no second
// pixel to interpolate with, and the outermost one counts alone.
void AddLinear(SAxisTaps& taps, std::uint64_t uiSource, std::uint64_t uiTarget, std::uint64_t i)
{
    const std::uint64_t uiUnit = 2 * uiTarget;
    const std::uint64_t uiMiddle = (2 * i + 1) * uiSource;
    const std::uint64_t uiPosition = std::min(uiMiddle > uiTarget ? uiMiddle - uiTarget : 0, (uiSource - 1) * uiUnit);
    const std::uint64_t uiPart = uiPosition % uiUnit;
    AddPixel(taps, uiPosition / uiUnit, uiPart == 0 ? 1 : 2);
    taps.m_vWeights.push_back(static_cast<double>(uiUnit - uiPart));
    if (uiPart != 0) taps.m_vWeights.push_back(static_cast<double>(uiPart));
}

// In 1/uiTarget source pixel, source pixel k covers uiTarget units from k * uiTarget, and target pixel i covers
// uiSource units from i * uiSource.
void AddArea(SAxisTaps& taps, std::uint64_t uiSource, std::uint64_t uiTarget, std::uint64_t i)
{
    const std::uint64_t uiBegin = i * uiSource;
    const std::uint64_t uiEnd = uiBegin + uiSource;
    const std::uint64_t uiFirst = uiBegin / uiTarget;
    const std::uint64_t uiLast = (uiEnd - 1) / uiTarget;
    AddPixel(taps, uiFirst, uiLast - uiFirst + 1);
    for (std::uint64_t k = uiFirst; k <= uiLast; ++k)
    {
        const std::uint64_t uiCovered = std::min(uiEnd, (k + 1) * uiTarget) - std::max(uiBegin, k * uiTarget);
        taps.m_vWeights.push_back(static_cast<double>(uiCovered));
    }
}

}  // namespace

SAxisTaps MakeAxisTaps(std::uint32_t uiSource, std::uint32_t uiTarget, EResampling eResampling)
{
    SAxisTaps taps;
    taps.m_vPixels.reserve(uiTarget);
    switch (eResampling)
    {
    case EResampling::Nearest:
        taps.m_dTotal = 1.0;
        for (std::uint32_t i = 0; i < uiTarget; ++i)
            AddNearest(taps, uiSource, uiTarget, i);
        break;
    case EResampling::Linear:
        taps.m_dTotal = 2.0 * uiTarget;
        for (std::uint32_t i = 0; i < uiTarget; ++i)
            AddLinear(taps, uiSource, uiTarget, i);
        break;
    case EResampling::Area:
        taps.m_dTotal = uiSource;
        for (std::uint32_t i = 0; i < uiTarget; ++i)
            AddArea(taps, uiSource, uiTarget, i);
        break;
    }
    return taps;
}
