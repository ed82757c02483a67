// The waits of a thread that writes through a media session. Kept in a file of their own so that a test can link others
// in their place and see minutes of a stalled session pass at once.
#pragma once

#include <cstdint>

#include <windows.h>

// Both give what WaitForMultipleObjects gives for any one of the handles. uiLimit is in milliseconds, and INFINITE too.
DWORD AwaitFrameTaken(HANDLE hFrameTaken, HANDLE hWriterThread, std::uint32_t uiLimit);
DWORD AwaitThreadEnd(HANDLE hWriterThread, std::uint32_t uiLimit);

// Comes back after that many milliseconds.
void RestBeforeRestart(std::uint32_t uiMilliseconds);
