// QueryInterface by table.
#pragma once

#include "unknwn.h"

// One interface of a class, and where in an object of the class its table of operations stands. A table ends with an
// entry whose piid is null.
struct QITAB
{
    const IID* piid;
    int dwOffset;
};
using LPQITAB = QITAB*;
using LPCQITAB = const QITAB*;

#define OFFSETOFCLASS(base, derived)                                                                                   \
    (static_cast<DWORD>(reinterpret_cast<DWORD_PTR>(static_cast<base*>(reinterpret_cast<derived*>(0x1000))) - 0x1000))
// Iimpl is the base through which the class has Ifoo, for an interface that it has more than once.
#define QITABENTMULTI(Cthis, Ifoo, Iimpl)                                                                              \
    {                                                                                                                  \
        &IID_##Ifoo, static_cast<int>(OFFSETOFCLASS(Iimpl, Cthis))                                                     \
    }
#define QITABENTMULTI2(Cthis, Ifoo, Iimpl)                                                                             \
    {                                                                                                                  \
        &Ifoo, static_cast<int>(OFFSETOFCLASS(Iimpl, Cthis))                                                           \
    }
#define QITABENT(Cthis, Ifoo) QITABENTMULTI(Cthis, Ifoo, Ifoo)

// Finds riid in the table, counts a reference and gives the interface; IUnknown, if the table doesn't name it, is the
// first entry's. Else *ppv is null and the result E_NOINTERFACE; E_POINTER if ppv is null.
STDAPI QISearch(void* pThat, LPCQITAB pTable, REFIID riid, void** ppv);
