// A bar that shows how far a long command is.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace qmhost
{

// "[#########---------------------] 30%  37/123", always 30 cells wide. uiTotal 0 counts as done. Without a total
// "frame 37".
std::string ProgressText(std::uint64_t uiDone, std::optional<std::uint64_t> uiTotal);

// Draws the bar on a terminal, ten times a second at most, and wipes it at its end. Silent without a stream.
class ProgressBar
{
public:
    // pOut: the terminal, or null for no bar. uiTotal: nothing when only the end shows it.
    ProgressBar(std::ostream* pOut, std::optional<std::uint64_t> uiTotal);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Step();

    // Clears the bar, so that a message can be printed. The next step draws the bar again.
    void Wipe();

private:
    std::ostream* m_pOut;
    std::optional<std::uint64_t> m_uiTotal;
    std::uint64_t m_uiDone = 0;
    std::size_t m_uiDrawn = 0;  // characters on the terminal
    std::chrono::steady_clock::time_point m_timeDrawn{};
};

}  // namespace qmhost
