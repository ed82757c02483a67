// Operations of other makers' objects, replaced in the tables that all objects of a class share.
#pragma once

#include <cstddef>
#include <cstring>

#include <windows.h>

namespace windows_bridge
{

// Puts a function in a place of the table that an interface pointer points to. Returns what was there, or null when the
// table can't be written. The function takes the interface pointer as its first argument.
template <typename TFunction>
TFunction ReplaceOperation(void* pInterface, std::size_t uiSlot, TFunction pfnNew)
{
    void** ppTable = nullptr;
    std::memcpy(&ppTable, pInterface, sizeof ppTable);
    void** const ppPlace = ppTable + uiSlot;
    DWORD dwBefore = 0;
    if (!VirtualProtect(ppPlace, sizeof *ppPlace, PAGE_READWRITE, &dwBefore)) return nullptr;
    TFunction pfnBefore = nullptr;
    static_assert(sizeof pfnBefore == sizeof *ppPlace);
    std::memcpy(&pfnBefore, ppPlace, sizeof pfnBefore);
    std::memcpy(ppPlace, &pfnNew, sizeof pfnNew);
    VirtualProtect(ppPlace, sizeof *ppPlace, dwBefore, &dwBefore);
    return pfnBefore;
}

}  // namespace windows_bridge
