#include <cstdint>
#include <cstdlib>

#include "objbase.h"

namespace
{

// A block of size 0 is a block; one larger than the distance of two pointers can be isn't.
bool IsBlockSize(SIZE_T uiBytes)
{
    return uiBytes <= PTRDIFF_MAX;
}
SIZE_T SizeToAsk(SIZE_T uiBytes)
{
    return uiBytes ? uiBytes : 1;
}

}  // namespace

LPVOID STDAPICALLTYPE CoTaskMemAlloc(SIZE_T uiBytes)
{
    return IsBlockSize(uiBytes) ? std::malloc(SizeToAsk(uiBytes)) : nullptr;
}

LPVOID STDAPICALLTYPE CoTaskMemRealloc(LPVOID pMemory, SIZE_T uiBytes)
{
    if (pMemory && uiBytes == 0)
    {
        std::free(pMemory);
        return nullptr;
    }
    return IsBlockSize(uiBytes) ? std::realloc(pMemory, SizeToAsk(uiBytes)) : nullptr;
}

void STDAPICALLTYPE CoTaskMemFree(LPVOID pMemory)
{
    std::free(pMemory);
}
