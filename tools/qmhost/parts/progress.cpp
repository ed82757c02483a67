#include "parts/progress.h"

#include <algorithm>

namespace qmhost
{
namespace
{

constexpr std::uint64_t CELLS = 30;
constexpr std::chrono::milliseconds REDRAW_PERIOD{100};

}  // namespace

std::string ProgressText(std::uint64_t uiDone, std::optional<std::uint64_t> uiTotal)
{
    if (!uiTotal) return "frame " + std::to_string(uiDone);
    const double dShare =
        *uiTotal == 0 ? 1.0 : static_cast<double>(std::min(uiDone, *uiTotal)) / static_cast<double>(*uiTotal);
    const auto uiFilled = static_cast<std::uint64_t>(dShare * CELLS);
    const std::string percent = std::to_string(static_cast<int>(dShare * 100));
    return "[" + std::string(uiFilled, '#') + std::string(CELLS - uiFilled, '-') + "] " + percent + "%  " +
           std::to_string(uiDone) + "/" + std::to_string(*uiTotal);
}

ProgressBar::ProgressBar(std::ostream* pOut, std::optional<std::uint64_t> uiTotal) : m_pOut(pOut), m_uiTotal(uiTotal) {}

ProgressBar::~ProgressBar()
{
    Wipe();
}

void ProgressBar::Step()
{
    ++m_uiDone;
    if (!m_pOut) return;
    const auto now = std::chrono::steady_clock::now();
    if (m_uiDrawn > 0 && now - m_timeDrawn < REDRAW_PERIOD) return;
    const std::string text = ProgressText(m_uiDone, m_uiTotal);  // grows only, so it covers what it replaces
    *m_pOut << '\r' << text << std::flush;
    m_uiDrawn = text.size();
    m_timeDrawn = now;
}

void ProgressBar::Wipe()
{
    if (m_pOut && m_uiDrawn > 0) *m_pOut << '\r' << std::string(m_uiDrawn, ' ') << '\r' << std::flush;
    m_uiDrawn = 0;
}

}  // namespace qmhost
