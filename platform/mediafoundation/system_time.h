// The time that a clock's observers are given.
#pragma once

#include <chrono>

#include "mfidl.h"

namespace mediafoundation
{

// In 100 ns since some fixed moment.
inline MFTIME SystemTime()
{
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::duration<MFTIME, std::ratio<1, 10000000>>>(sinceStart).count();
}

}  // namespace mediafoundation
