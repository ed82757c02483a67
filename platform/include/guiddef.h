// GUIDs and how they are named. DEFINE_GUID declares a GUID; in a source that includes <initguid.h> before the header
// with the names, it defines it.
#pragma once

#include <cstring>

#include "windef.h"

struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using LPGUID = GUID*;
using LPCGUID = const GUID*;
using IID = GUID;
using LPIID = IID*;
using CLSID = GUID;
using LPCLSID = CLSID*;
using FMTID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFFMTID = const FMTID&;

inline bool operator==(REFGUID left, REFGUID right)
{
    return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}
inline bool operator!=(REFGUID left, REFGUID right)
{
    return !(left == right);
}
inline int InlineIsEqualGUID(REFGUID left, REFGUID right)
{
    return left == right;
}
inline int IsEqualGUID(REFGUID left, REFGUID right)
{
    return left == right;
}
#define IsEqualIID(left, right) IsEqualGUID(left, right)
#define IsEqualCLSID(left, right) IsEqualGUID(left, right)

#define PLATFORM_DECLARE_GUID(name) EXTERN_C WINBASEAPI const GUID name
// Weak: sources that define the same GUID get along, as they do on Windows.
#define PLATFORM_DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                          \
    EXTERN_C WINBASEAPI __attribute__((weak)) const GUID name;                                                         \
    const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}

#if defined(INITGUID)
#define DEFINE_GUID PLATFORM_DEFINE_GUID
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) PLATFORM_DECLARE_GUID(name)
#endif
// GUIDs of the family xxxxxxxx-0000-0000-C000-000000000046.
#define DEFINE_OLEGUID(name, l, w1, w2) DEFINE_GUID(name, l, w1, w2, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)

DEFINE_GUID(GUID_NULL, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
#define IID_NULL GUID_NULL
#define CLSID_NULL GUID_NULL
