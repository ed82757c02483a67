// The moment at which a wait of so many milliseconds gives up.
#pragma once

#include <chrono>

#include "winbase.h"

namespace winbase
{

class Deadline
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(DWORD dwMilliseconds)
        : m_bNever(dwMilliseconds == INFINITE),
          m_moment(m_bNever ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(dwMilliseconds))
    {}

    bool IsNever() const { return m_bNever; }
    Clock::time_point Moment() const { return m_moment; }

private:
    bool m_bNever;
    Clock::time_point m_moment;
};

}  // namespace winbase
