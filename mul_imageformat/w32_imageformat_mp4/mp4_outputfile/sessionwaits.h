// The waits of a thread that writes through a media session. Kept in a file of their own so that a test can link others
// in their place and see minutes of a stalled session pass at once.
#pragma once

#include <cstdint>

#include <windows.h>

// uiLimit is in milliseconds, and INFINITE too.

// WAIT_OBJECT_0 when the frame was taken; one more when only the thread has ended; else as the system's waits.
DWORD AwaitFrameTaken(HANDLE hFrameTaken, HANDLE hWriterThread, std::uint32_t uiLimit);
// WAIT_OBJECT_0 when it has; else as the system's waits.
DWORD AwaitThreadEnd(HANDLE hWriterThread, std::uint32_t uiLimit);

// Returns after that many milliseconds.
void RestBeforeRestart(std::uint32_t uiMilliseconds);
