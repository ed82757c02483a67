// Failures of Direct3D 9 on demand, for tests of what uses it.
#pragma once

#include "windef.h"

enum class D3D9Call
{
    Create9Ex,
    CreateDevice,
    CreateOffscreenPlainSurface,
    CreateSurface,  // of the video services
    LockRect,
    Count
};

// Before a test, and after it: no call fails on demand any more, and the counts start at 0 again.
EXTERN_C WINBASEAPI void D3D9Script_Reset();
// The n-th call from now on (1 is the next) of that operation, in any object, gives hr and has no effect; those before
// and after it work. One failure per operation is under way at a time, the last one asked for. Safe from any thread.
EXTERN_C WINBASEAPI void D3D9Script_FailCall(D3D9Call eCall, unsigned uiNth, HRESULT hr);
// Calls of that operation since the last reset, failed ones included.
EXTERN_C WINBASEAPI unsigned D3D9Script_CallCount(D3D9Call eCall);
