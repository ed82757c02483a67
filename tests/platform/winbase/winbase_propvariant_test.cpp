#include <windows.h>

#include <objbase.h>
#include <propidl.h>
#include <propvarutil.h>

#include <cstring>
#include <limits>

#include "winbase_testing.h"

namespace
{

class CountedUnknown : public IUnknown
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_uiCount; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_uiCount; }
    ULONG m_uiCount = 1;
};

template <typename T>
T* TaskCopy(const T* p, std::size_t n)
{
    auto* const pCopy = static_cast<T*>(CoTaskMemAlloc(n * sizeof(T)));
    std::memcpy(pCopy, p, n * sizeof(T));
    return pCopy;
}

bool IsAllZero(const PROPVARIANT& var)
{
    const PROPVARIANT zero = {};
    return std::memcmp(&var, &zero, sizeof(var)) == 0;
}

TEST(WinbasePropVariant, InitialisedIsEmptyAndAllZero)
{
    PROPVARIANT var;
    std::memset(&var, 0xAA, sizeof(var));
    PropVariantInit(&var);
    EXPECT_EQ(var.vt, VT_EMPTY);
    EXPECT_TRUE(IsAllZero(var));
}

TEST(WinbasePropVariant, NumbersAreCopiedAndForgotten)
{
    PROPVARIANT var;
    InitPropVariantFromInt64(-5, &var);
    PROPVARIANT copy;
    std::memset(&copy, 0xAA, sizeof(copy));
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_EQ(copy.vt, VT_I8);
    EXPECT_EQ(copy.hVal.QuadPart, -5);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_TRUE(IsAllZero(var));
    EXPECT_EQ(copy.hVal.QuadPart, -5);
}

TEST(WinbasePropVariant, CopyOfATextIsIndependent)
{
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_LPWSTR;
    var.pwszVal = TaskCopy(L"text", 5);
    PROPVARIANT copy;
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_EQ(copy.vt, VT_LPWSTR);
    EXPECT_NE(copy.pwszVal, var.pwszVal);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_TRUE(IsAllZero(var));
    EXPECT_STREQ(copy.pwszVal, L"text");
    EXPECT_EQ(PropVariantClear(&copy), S_OK);
}

TEST(WinbasePropVariant, CopyOfANarrowTextIsIndependent)
{
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_LPSTR;
    var.pszVal = TaskCopy("text", 5);
    PROPVARIANT copy;
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_NE(copy.pszVal, var.pszVal);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_STREQ(copy.pszVal, "text");
    EXPECT_EQ(PropVariantClear(&copy), S_OK);
}

TEST(WinbasePropVariant, CopyOfAGuidIsIndependent)
{
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_CLSID;
    var.puuid = TaskCopy(&IID_IClassFactory, 1);
    PROPVARIANT copy;
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_NE(copy.puuid, var.puuid);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_TRUE(*copy.puuid == IID_IClassFactory);
    EXPECT_EQ(PropVariantClear(&copy), S_OK);
}

TEST(WinbasePropVariant, CopyOfBytesIsIndependent)
{
    const BYTE aBytes[] = {1, 2, 3};
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_VECTOR | VT_UI1;
    var.caub.cElems = 3;
    var.caub.pElems = TaskCopy(aBytes, 3);
    PROPVARIANT copy;
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_NE(copy.caub.pElems, var.caub.pElems);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    ASSERT_EQ(copy.caub.cElems, 3U);
    EXPECT_EQ(std::memcmp(copy.caub.pElems, aBytes, 3), 0);
    EXPECT_EQ(PropVariantClear(&copy), S_OK);

    var.vt = VT_BLOB;
    var.blob.cbSize = 3;
    var.blob.pBlobData = TaskCopy(aBytes, 3);
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    ASSERT_EQ(copy.blob.cbSize, 3U);
    EXPECT_EQ(std::memcmp(copy.blob.pBlobData, aBytes, 3), 0);
    EXPECT_EQ(PropVariantClear(&copy), S_OK);
}

TEST(WinbasePropVariant, CopyOfWideElementsIsWhole)
{
    ULARGE_INTEGER aValues[2];
    aValues[0].QuadPart = 0x1122334455667788;
    aValues[1].QuadPart = 42;
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_VECTOR | VT_UI8;
    var.cauh.cElems = 2;
    var.cauh.pElems = TaskCopy(aValues, 2);
    PROPVARIANT copy;
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    ASSERT_EQ(copy.cauh.cElems, 2U);
    EXPECT_EQ(copy.cauh.pElems[0].QuadPart, 0x1122334455667788U);
    EXPECT_EQ(copy.cauh.pElems[1].QuadPart, 42U);
    EXPECT_EQ(PropVariantClear(&copy), S_OK);
}

TEST(WinbasePropVariant, EveryCopyOfAnInterfaceIsAReference)
{
    CountedUnknown unknown;
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_UNKNOWN;
    var.punkVal = &unknown;
    unknown.AddRef();
    PROPVARIANT copy;
    EXPECT_EQ(PropVariantCopy(&copy, &var), S_OK);
    EXPECT_EQ(unknown.m_uiCount, 3U);
    EXPECT_EQ(copy.punkVal, &unknown);
    EXPECT_EQ(PropVariantClear(&copy), S_OK);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_EQ(unknown.m_uiCount, 1U);
}

TEST(WinbasePropVariant, NullInterfaceAndNoValueCanBeCleared)
{
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_UNKNOWN;
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_EQ(PropVariantClear(&var), S_OK);
    EXPECT_EQ(PropVariantClear(nullptr), S_OK);
}

TEST(WinbasePropVariant, UnknownTypeIsRefused)
{
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = 0x0777;
    PROPVARIANT copy;
    PropVariantInit(&copy);
    EXPECT_EQ(PropVariantCopy(&copy, &var), DISP_E_BADVARTYPE);
    EXPECT_EQ(PropVariantClear(&var), STG_E_INVALIDPARAMETER);
}

TEST(WinbasePropVariant, EveryIntegerIsReadAsInt64)
{
    LONGLONG n = 0;
    PROPVARIANT var;
    const auto expect = [&](VARTYPE vt, LONGLONG nExpected) {
        var.vt = vt;
        n = 0x5555;
        EXPECT_EQ(PropVariantToInt64(var, &n), S_OK) << vt;
        EXPECT_EQ(n, nExpected) << vt;
    };
    PropVariantInit(&var);
    var.hVal.QuadPart = -1;
    expect(VT_I1, -1);
    expect(VT_I2, -1);
    expect(VT_I4, -1);
    expect(VT_I8, -1);
    expect(VT_UI1, 0xFF);
    expect(VT_UI2, 0xFFFF);
    expect(VT_UI4, 0xFFFFFFFF);
    var.uhVal.QuadPart = 0x7FFFFFFFFFFFFFFF;
    expect(VT_UI8, 0x7FFFFFFFFFFFFFFF);
}

TEST(WinbasePropVariant, ValueThatDoesNotFitIsAnOverflow)
{
    const HRESULT hrOverflow = HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW);
    PROPVARIANT var;
    LONGLONG n64 = 7;
    InitPropVariantFromUInt64(0x8000000000000000, &var);
    EXPECT_EQ(PropVariantToInt64(var, &n64), hrOverflow);
    ULONGLONG u64 = 7;
    InitPropVariantFromInt64(-1, &var);
    EXPECT_EQ(PropVariantToUInt64(var, &u64), hrOverflow);
    ULONG u32 = 7;
    EXPECT_EQ(PropVariantToUInt32(var, &u32), hrOverflow);
    InitPropVariantFromInt64(0x80000000LL, &var);
    LONG n32 = 7;
    EXPECT_EQ(PropVariantToInt32(var, &n32), hrOverflow);
    EXPECT_EQ(PropVariantToUInt32(var, &u32), S_OK);
    EXPECT_EQ(u32, 0x80000000U);
    InitPropVariantFromInt64(-0x80000000LL, &var);
    EXPECT_EQ(PropVariantToInt32(var, &n32), S_OK);
    EXPECT_EQ(n32, std::numeric_limits<LONG>::min());
    SHORT n16 = 7;
    EXPECT_EQ(PropVariantToInt16(var, &n16), hrOverflow);
    USHORT u16 = 7;
    EXPECT_EQ(PropVariantToUInt16(var, &u16), hrOverflow);
}

TEST(WinbasePropVariant, SmallIntegersAreRead)
{
    PROPVARIANT var;
    InitPropVariantFromUInt32(300, &var);
    SHORT n16 = 0;
    USHORT u16 = 0;
    ULONGLONG u64 = 0;
    EXPECT_EQ(PropVariantToInt16(var, &n16), S_OK);
    EXPECT_EQ(n16, 300);
    EXPECT_EQ(PropVariantToUInt16(var, &u16), S_OK);
    EXPECT_EQ(u16, 300);
    EXPECT_EQ(PropVariantToUInt64(var, &u64), S_OK);
    EXPECT_EQ(u64, 300U);
}

TEST(WinbasePropVariant, WhatIsNoNumberCannotBeRead)
{
    PROPVARIANT var;
    PropVariantInit(&var);
    var.vt = VT_UNKNOWN;
    LONGLONG n = 7;
    EXPECT_TRUE(FAILED(PropVariantToInt64(var, &n)));
}

TEST(WinbasePropVariant, MakersSetTypeAndValue)
{
    PROPVARIANT var;
    InitPropVariantFromBoolean(TRUE, &var);
    EXPECT_EQ(var.vt, VT_BOOL);
    EXPECT_EQ(var.boolVal, VARIANT_TRUE);
    InitPropVariantFromDouble(0.5, &var);
    EXPECT_EQ(var.vt, VT_R8);
    EXPECT_EQ(var.dblVal, 0.5);
    InitPropVariantFromInt32(-3, &var);
    EXPECT_EQ(var.vt, VT_I4);
    EXPECT_EQ(var.lVal, -3);
}

}  // namespace
