// VARIANT: the tagged value of automation, which encoder properties are set with.
#pragma once

#include "unknwn.h"
#include "wtypes.h"

// A record of a user's type; the largest of the values, and so it is here.
struct BRECORD
{
    PVOID pvRecord;
    struct IRecordInfo* pRecInfo;
};

struct tagVARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union
    {
        LONGLONG llVal;
        ULONGLONG ullVal;
        LONG lVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        SHORT iVal;
        USHORT uiVal;
        CHAR cVal;
        BYTE bVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        PVOID byref;
        BRECORD brecVal;
    };
};
using VARIANT = tagVARIANT;
using VARIANTARG = VARIANT;
using LPVARIANT = VARIANT*;
