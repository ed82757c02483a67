#include "parts/timegrid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmhost
{
namespace
{

// The place of a frame on the grid, after one at dBefore.
double TickAt(double dElapsedMs, double dBefore, const TimeForm& form)
{
    return std::max(std::round(dElapsedMs * form.m_uiTicksPerMs), dBefore + form.m_uiShortest);
}

}  // namespace

std::optional<TimesProblem> FindTimesProblem(std::span<const double> vTimesMs, const TimeForm& form)
{
    double dBefore = 0;
    for (std::size_t i = 1; i < vTimesMs.size(); ++i)
    {
        if (vTimesMs[i] < vTimesMs[i - 1]) return TimesProblem{ETimesProblem::Backwards, i};
        const double dElapsedMs = vTimesMs[i] - vTimesMs.front();
        const double dTick = TickAt(dElapsedMs, dBefore, form);
        if (dTick - dBefore > form.m_uiLongest) return TimesProblem{ETimesProblem::TooLong, i};
        if (dElapsedMs > LONGEST_SPAN_MS) return TimesProblem{ETimesProblem::TooLate, i};
        if (dTick / form.m_uiTicksPerMs - dElapsedMs > LARGEST_DELAY_MS)
            return TimesProblem{ETimesProblem::TooClose, i};
        dBefore = dTick;
    }
    return std::nullopt;
}

std::optional<TimesProblem> FindPeriodProblem(double dPeriodMs, std::optional<std::uint32_t> uiCount,
                                              const TimeForm& form)
{
    const double dLast = uiCount.value_or(std::numeric_limits<std::uint32_t>::max()) - 1.0;
    const double dShortestMs = static_cast<double>(form.m_uiShortest) / form.m_uiTicksPerMs;
    if (dLast >= 1 && std::ceil(dPeriodMs * form.m_uiTicksPerMs) > form.m_uiLongest)
        return TimesProblem{ETimesProblem::TooLong, 1};
    // Every frame is later by the same than the one before it.
    const double dDelayMs = dShortestMs - dPeriodMs;
    if (dLast * dDelayMs > LARGEST_DELAY_MS)
        return TimesProblem{ETimesProblem::TooClose, static_cast<std::size_t>(LARGEST_DELAY_MS / dDelayMs) + 1};
    if (uiCount && dLast * dPeriodMs > LONGEST_SPAN_MS)
        return TimesProblem{ETimesProblem::TooLate, static_cast<std::size_t>(LONGEST_SPAN_MS / dPeriodMs) + 1};
    return std::nullopt;
}

double TimeGrid::Next(double dTimeMs)
{
    if (!m_dFirstMs)
    {
        m_dFirstMs = dTimeMs;
        return m_dHandedMs;
    }
    const double dTicks = TickAt(dTimeMs - *m_dFirstMs, m_dTicks, m_form);
    const double dDistance = dTicks - m_dTicks;
    double dHandedMs = std::max(dTicks / m_form.m_uiTicksPerMs, m_dHandedMs + dDistance / m_form.m_uiTicksPerMs);
    // The length of the movie is cut too, from the last time.
    while (Cut(dHandedMs - m_dHandedMs) < dDistance || Cut(dHandedMs) < dTicks)
        dHandedMs = std::nextafter(dHandedMs, std::numeric_limits<double>::infinity());
    m_dTicks = dTicks;
    m_dHandedMs = dHandedMs;
    return dHandedMs;
}

// As the module cuts: the rounding of its two operations counts.
double TimeGrid::Cut(double dMs) const
{
    return std::trunc(dMs * (1000.0 * m_form.m_uiTicksPerMs) / 1000.0);
}

}  // namespace qmhost
