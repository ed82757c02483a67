// Memory by pages.
#pragma once

#include "windef.h"

#define MEM_COMMIT 0x00001000U
#define MEM_RESERVE 0x00002000U
#define MEM_RELEASE 0x00008000U
#define PAGE_READWRITE 0x04U

extern "C"
{
    // Zeroed pages that hold uiSize bytes, for reading and writing. The address is the system's choice, null, and the
    // pages are committed: other requests fail with ERROR_INVALID_PARAMETER. No memory: ERROR_NOT_ENOUGH_MEMORY.
    WINBASEAPI LPVOID WINAPI VirtualAlloc(LPVOID pAddress, SIZE_T uiSize, DWORD dwType, DWORD dwProtect);
    // Gives back all pages of one allocation: pAddress is its start, uiSize 0 and dwType MEM_RELEASE, else
    // ERROR_INVALID_PARAMETER. An address that isn't the start of one: ERROR_INVALID_ADDRESS.
    WINBASEAPI BOOL WINAPI VirtualFree(LPVOID pAddress, SIZE_T uiSize, DWORD dwType);
}
