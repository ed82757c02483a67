// A clock that passes at once, in place of the module's: a wait with a limit takes no time and moves the clock by its
// limit, unless its handle is signalled.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

// As long as it lives, one at a time. The time may be read and moved by any thread.
class CPassingClock
{
public:
    CPassingClock();
    ~CPassingClock();
    CPassingClock(const CPassingClock&) = delete;
    CPassingClock& operator=(const CPassingClock&) = delete;

    std::uint64_t GetPassedMs() const { return m_uiPassedMs; }

    // Called after each wait that came to its limit, on the waiting thread.
    std::function<void()> m_funcPassed;

    std::atomic<std::uint64_t> m_uiPassedMs = 0;
};
