// A clock that stands still until a test moves it, in place of the module's. A wait with a limit ends when its handle
// is signalled, or when the clock has been moved that far.
#pragma once

#include <cstdint>

namespace test_support
{

// Moves the clock forward.
void MoveClock(std::uint64_t uiMilliseconds);

// Returns when a wait with a limit is under way. Its limit has begun then.
void WaitForLimitedWait();

}  // namespace test_support
