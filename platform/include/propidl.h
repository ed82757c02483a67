// PROPVARIANT: a value that carries its type.
#pragma once

#include <cstring>

#include "unknwn.h"
#include "wtypes.h"

// Counted arrays, VT_VECTOR | element type.
struct CAUB
{
    ULONG cElems;
    UCHAR* pElems;
};
struct CAUL
{
    ULONG cElems;
    ULONG* pElems;
};
struct CAUH
{
    ULONG cElems;
    ULARGE_INTEGER* pElems;
};

// Text, GUIDs, blobs and arrays are CoTaskMem memory, an interface is a counted reference; the value owns both.
struct tagPROPVARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        CHAR cVal;
        UCHAR bVal;
        SHORT iVal;
        USHORT uiVal;
        LONG lVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        LARGE_INTEGER hVal;
        ULARGE_INTEGER uhVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        DATE date;
        FILETIME filetime;
        CLSID* puuid;
        BSTR bstrVal;
        BLOB blob;
        LPSTR pszVal;
        LPWSTR pwszVal;
        IUnknown* punkVal;
        CAUB caub;
        CAUL caul;
        CAUH cauh;
    };
};
using PROPVARIANT = tagPROPVARIANT;
using LPPROPVARIANT = PROPVARIANT*;
using REFPROPVARIANT = const PROPVARIANT&;

inline void PropVariantInit(PROPVARIANT* pvar)
{
    std::memset(pvar, 0, sizeof(PROPVARIANT));
}

// Both know VT_EMPTY, VT_NULL, the numbers, VT_ERROR, VT_DATE and VT_FILETIME, VT_LPSTR, VT_LPWSTR, VT_CLSID,
// VT_UNKNOWN, VT_BLOB and VT_VECTOR of UI1, UI4, UI8. Any other type is refused.
//
// Frees what the value owns and leaves it VT_EMPTY, all zero; a null pointer is S_OK. STG_E_INVALIDPARAMETER for a type
// that it doesn't know, whose content it leaks.
STDAPI PropVariantClear(PROPVARIANT* pvar);
// Makes *pvarDest, whose old content is not looked at, an independent copy. DISP_E_BADVARTYPE for a
// type that it doesn't know.
STDAPI PropVariantCopy(PROPVARIANT* pvarDest, const PROPVARIANT* pvarSrc);
