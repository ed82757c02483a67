// Operations of other makers' objects, replaced in the tables that all objects of a class share.
#pragma once

#include <cstddef>
#include <cstring>

#include <windows.h>

namespace windows_bridge
{

// Puts a function in a place of the table that an interface pointer points to. What was there is in *ppfnBefore before
// the new one can be called; the place stays as it is, and *ppfnBefore too, when the table can't be written. The
// function takes the interface pointer as its first argument.
template <typename TFunction>
void ReplaceOperation(void* pInterface, std::size_t uiSlot, TFunction pfnNew, TFunction* ppfnBefore)
{
    void** ppTable = nullptr;
    std::memcpy(&ppTable, pInterface, sizeof ppTable);
    void** const ppPlace = ppTable + uiSlot;
    DWORD dwBefore = 0;
    if (!VirtualProtect(ppPlace, sizeof *ppPlace, PAGE_READWRITE, &dwBefore)) return;
    static_assert(sizeof *ppfnBefore == sizeof *ppPlace);
    std::memcpy(ppfnBefore, ppPlace, sizeof *ppfnBefore);
    std::memcpy(ppPlace, &pfnNew, sizeof pfnNew);
    VirtualProtect(ppPlace, sizeof *ppPlace, dwBefore, &dwBefore);
}

}  // namespace windows_bridge
