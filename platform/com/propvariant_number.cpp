#include <limits>
#include <type_traits>

#include "propvarutil.h"

namespace
{

constexpr HRESULT c_hrOverflow = HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW);

// Every integer type fits into a sign and 64 bits.
struct Integer
{
    bool bNegative;
    ULONGLONG uiBits;  // two's complement if negative
};

template <typename T>
Integer ToInteger(T value)
{
    return {std::is_signed_v<T> && value < 0, static_cast<ULONGLONG>(static_cast<LONGLONG>(value))};
}

HRESULT ReadInteger(const PROPVARIANT& var, Integer* pInteger)
{
    switch (var.vt)
    {
    case VT_I1:
        *pInteger = ToInteger(static_cast<signed char>(var.cVal));
        return S_OK;
    case VT_I2:
        *pInteger = ToInteger(var.iVal);
        return S_OK;
    case VT_I4:
        *pInteger = ToInteger(var.lVal);
        return S_OK;
    case VT_I8:
        *pInteger = ToInteger(var.hVal.QuadPart);
        return S_OK;
    case VT_UI1:
        *pInteger = ToInteger(var.bVal);
        return S_OK;
    case VT_UI2:
        *pInteger = ToInteger(var.uiVal);
        return S_OK;
    case VT_UI4:
        *pInteger = ToInteger(var.ulVal);
        return S_OK;
    case VT_UI8:
        *pInteger = {false, var.uhVal.QuadPart};
        return S_OK;
    default:
        return DISP_E_BADVARTYPE;
    }
}

template <typename Target>
HRESULT Convert(const PROPVARIANT& var, Target* pResult)
{
    Integer integer{};
    const HRESULT hr = ReadInteger(var, &integer);
    if (FAILED(hr))
    {
        return hr;
    }
    bool bFits = false;
    if (integer.bNegative)
    {
        bFits = static_cast<LONGLONG>(integer.uiBits) >= static_cast<LONGLONG>(std::numeric_limits<Target>::min());
        bFits = bFits && std::is_signed_v<Target>;
    }
    else
    {
        bFits = integer.uiBits <= static_cast<ULONGLONG>(std::numeric_limits<Target>::max());
    }
    if (!bFits)
    {
        return c_hrOverflow;
    }
    *pResult = static_cast<Target>(integer.uiBits);
    return S_OK;
}

}  // namespace

HRESULT STDAPICALLTYPE PropVariantToInt16(REFPROPVARIANT propvarIn, SHORT* pnResult)
{
    return Convert(propvarIn, pnResult);
}

HRESULT STDAPICALLTYPE PropVariantToInt32(REFPROPVARIANT propvarIn, LONG* pnResult)
{
    return Convert(propvarIn, pnResult);
}

HRESULT STDAPICALLTYPE PropVariantToInt64(REFPROPVARIANT propvarIn, LONGLONG* pllResult)
{
    return Convert(propvarIn, pllResult);
}

HRESULT STDAPICALLTYPE PropVariantToUInt16(REFPROPVARIANT propvarIn, USHORT* puiResult)
{
    return Convert(propvarIn, puiResult);
}

HRESULT STDAPICALLTYPE PropVariantToUInt32(REFPROPVARIANT propvarIn, ULONG* pulResult)
{
    return Convert(propvarIn, pulResult);
}

HRESULT STDAPICALLTYPE PropVariantToUInt64(REFPROPVARIANT propvarIn, ULONGLONG* pullResult)
{
    return Convert(propvarIn, pullResult);
}
