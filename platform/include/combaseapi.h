// COM's task memory and start-up.
#pragma once

#include "propidl.h"
#include "unknwn.h"

enum COINIT
{
    COINIT_MULTITHREADED = 0x0,
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_DISABLE_OLE1DDE = 0x4,
    COINIT_SPEED_OVER_MEMORY = 0x8
};

// Memory that one side allocates and the other frees. Freeing null does nothing; reallocating null allocates, and to
// size 0 frees and gives null.
STDAPI_(LPVOID) CoTaskMemAlloc(SIZE_T uiBytes);
STDAPI_(LPVOID) CoTaskMemRealloc(LPVOID pMemory, SIZE_T uiBytes);
STDAPI_(void) CoTaskMemFree(LPVOID pMemory);

// Counted per thread: S_OK for the first, S_FALSE for more with the same model, RPC_E_CHANGED_MODE for another model.
// Interfaces here may be used from any thread, with or without it.
STDAPI CoInitializeEx(LPVOID pReserved, DWORD dwModel);
STDAPI_(void) CoUninitialize();
