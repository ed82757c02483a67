// Waits, and the clock for them. In a file of their own so that a test can link others in their place and
// see minutes pass at once.
#pragma once

#include <cstdint>

#include <windows.h>

// Milliseconds of a clock that only goes forward.
std::uint64_t GetMilliseconds();

// Waits until one of the handles is signalled, for dwLimit milliseconds at most, which may be INFINITE. Returns as
// WaitForMultipleObjects.
DWORD AwaitAny(const HANDLE* phAny, DWORD dwCount, DWORD dwLimit);

// Returns after that many milliseconds.
void Rest(DWORD dwMilliseconds);
