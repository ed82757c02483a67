// The types that tagged values are made of.
#pragma once

#include "guiddef.h"
#include "winerror.h"

using VARTYPE = unsigned short;
using VARIANT_BOOL = short;
using SCODE = LONG;
using DATE = double;
using BSTR = wchar_t*;
#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

// What a VARTYPE says of the value.
enum VARENUM
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_FILETIME = 64,
    VT_BLOB = 65,
    VT_CLSID = 72,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_TYPEMASK = 0xfff
};

// Bytes that the owner of the value frees with CoTaskMemFree.
struct BLOB
{
    ULONG cbSize;
    BYTE* pBlobData;
};
using LPBLOB = BLOB*;
