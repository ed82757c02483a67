// Reading a number out of a PROPVARIANT, and making one.
#pragma once

#include "propidl.h"

// Any integer type is converted to the one asked for. One that doesn't fit is
// HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW), and a value that is no integer DISP_E_BADVARTYPE; *pResult then stays.
STDAPI PropVariantToInt16(REFPROPVARIANT propvarIn, SHORT* pnResult);
STDAPI PropVariantToInt32(REFPROPVARIANT propvarIn, LONG* pnResult);
STDAPI PropVariantToInt64(REFPROPVARIANT propvarIn, LONGLONG* pllResult);
STDAPI PropVariantToUInt16(REFPROPVARIANT propvarIn, USHORT* puiResult);
STDAPI PropVariantToUInt32(REFPROPVARIANT propvarIn, ULONG* pulResult);
STDAPI PropVariantToUInt64(REFPROPVARIANT propvarIn, ULONGLONG* pullResult);

inline HRESULT InitPropVariantFromInt32(LONG nValue, PROPVARIANT* pvar)
{
    PropVariantInit(pvar);
    pvar->vt = VT_I4;
    pvar->lVal = nValue;
    return S_OK;
}

inline HRESULT InitPropVariantFromUInt32(ULONG ulValue, PROPVARIANT* pvar)
{
    PropVariantInit(pvar);
    pvar->vt = VT_UI4;
    pvar->ulVal = ulValue;
    return S_OK;
}

inline HRESULT InitPropVariantFromInt64(LONGLONG llValue, PROPVARIANT* pvar)
{
    PropVariantInit(pvar);
    pvar->vt = VT_I8;
    pvar->hVal.QuadPart = llValue;
    return S_OK;
}

inline HRESULT InitPropVariantFromUInt64(ULONGLONG ullValue, PROPVARIANT* pvar)
{
    PropVariantInit(pvar);
    pvar->vt = VT_UI8;
    pvar->uhVal.QuadPart = ullValue;
    return S_OK;
}

inline HRESULT InitPropVariantFromBoolean(BOOL fValue, PROPVARIANT* pvar)
{
    PropVariantInit(pvar);
    pvar->vt = VT_BOOL;
    pvar->boolVal = fValue ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

inline HRESULT InitPropVariantFromDouble(DOUBLE dValue, PROPVARIANT* pvar)
{
    PropVariantInit(pvar);
    pvar->vt = VT_R8;
    pvar->dblVal = dValue;
    return S_OK;
}
