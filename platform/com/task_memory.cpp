#include <cstdlib>

#include "objbase.h"

LPVOID STDAPICALLTYPE CoTaskMemAlloc(SIZE_T uiBytes)
{
    return std::malloc(uiBytes ? uiBytes : 1);  // a block of size 0 is a block
}

LPVOID STDAPICALLTYPE CoTaskMemRealloc(LPVOID pMemory, SIZE_T uiBytes)
{
    if (pMemory && uiBytes == 0)
    {
        std::free(pMemory);
        return nullptr;
    }
    return std::realloc(pMemory, uiBytes ? uiBytes : 1);
}

void STDAPICALLTYPE CoTaskMemFree(LPVOID pMemory)
{
    std::free(pMemory);
}
