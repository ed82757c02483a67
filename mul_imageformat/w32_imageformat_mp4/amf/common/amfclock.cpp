#include "amf/common/amfclock.h"

#include <atomic>

namespace
{

constexpr std::int64_t UNITS_PER_SECOND = 10000000;
constexpr std::int64_t FALLBACK_UNITS_PER_TICK = 10;
constexpr std::uint32_t LONGEST_PERIOD = 1000;

std::atomic<std::uint32_t> g_uiTimerPeriod{1};  // milliseconds; grows only

}  // namespace

CAMFClock::CAMFClock(const SSystemClocks& clocks)
    : m_clocks(clocks), m_bCounter(false), m_nFrequency(0), m_nStartCount(0)
{
    LARGE_INTEGER frequency{};
    LARGE_INTEGER start{};
    m_bCounter = clocks.m_pfnFrequency(&frequency) != FALSE && frequency.QuadPart > 0;
    if (!m_bCounter) return;
    m_nFrequency = frequency.QuadPart;
    if (clocks.m_pfnCounter(&start)) m_nStartCount = start.QuadPart;
}

std::int64_t CAMFClock::Read() const
{
    LARGE_INTEGER now{};
    if (!m_bCounter || !m_clocks.m_pfnCounter(&now))
        return static_cast<std::int64_t>(m_clocks.m_pfnTicks()) * FALLBACK_UNITS_PER_TICK;

    // Whole seconds and the rest on their own: the product of the whole count leaves 64 bits after a day.
    const std::int64_t nCount = now.QuadPart - m_nStartCount;
    return nCount / m_nFrequency * UNITS_PER_SECOND + nCount % m_nFrequency * UNITS_PER_SECOND / m_nFrequency;
}

std::int64_t amf_high_precision_clock()
{
    static const CAMFClock s_clock({QueryPerformanceFrequency, QueryPerformanceCounter, GetTickCount64});
    return s_clock.Read();
}

std::optional<std::uint32_t> BeginTimerPeriod(std::uint32_t uiPeriod, MMRESULT(WINAPI* pfnBegin)(UINT))
{
    for (; uiPeriod <= LONGEST_PERIOD; ++uiPeriod)
    {
        if (pfnBegin(uiPeriod) != TIMERR_NOCANDO) return uiPeriod;
    }
    return std::nullopt;
}

void amf_increase_timer_precision()
{
    if (const auto granted = BeginTimerPeriod(g_uiTimerPeriod, timeBeginPeriod)) g_uiTimerPeriod = *granted;
}
