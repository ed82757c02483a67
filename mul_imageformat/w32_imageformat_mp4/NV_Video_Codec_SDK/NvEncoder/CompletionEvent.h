// The events that an encoder signals when a packet is there. Kept in a file of their own so that a test can link others
// in their place and see a wait run out without living through it.
#pragma once

#include <cstdint>

// An auto-reset event without a name, not signalled. Null when the system has none left. The caller closes it.
void* CreateCompletionEvent();
void CloseCompletionEvent(void* hEvent);

// Returns what WaitForSingleObject returns.
std::uint32_t AwaitCompletionEvent(void* hEvent, std::uint32_t uiMilliseconds);
