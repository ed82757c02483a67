// The C runtime's own thread starts.
#pragma once

#include "windef.h"

extern "C"
{
    // Starts a thread with the system's stack size. The handle that it gives closes itself when the thread ends, so
    // only what it is compared with counts: all ones is a failure.
    WINBASEAPI std::uintptr_t _beginthread(void (*pfnStart)(void*), unsigned uiStackSize, void* pArgument);
    // As CreateThread: the caller closes the handle, and 0 is a failure.
    WINBASEAPI std::uintptr_t _beginthreadex(void* pSecurity, unsigned uiStackSize, unsigned (*pfnStart)(void*),
                                             void* pArgument, unsigned uiFlags, unsigned* puiThreadId);
}
