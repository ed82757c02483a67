#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <cstring>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

TEST(WinbaseTaskMemory, IsAllocatedGrownAndFreed)
{
    auto* p = static_cast<BYTE*>(CoTaskMemAlloc(4));
    ASSERT_TRUE(p);
    std::memcpy(p, "abcd", 4);
    p = static_cast<BYTE*>(CoTaskMemRealloc(p, 100000));
    ASSERT_TRUE(p);
    EXPECT_EQ(std::memcmp(p, "abcd", 4), 0);
    CoTaskMemFree(p);
    CoTaskMemFree(nullptr);
}

TEST(WinbaseTaskMemory, BlockOfSizeZeroIsABlock)
{
    void* const p = CoTaskMemAlloc(0);
    EXPECT_TRUE(p);
    CoTaskMemFree(p);
}

TEST(WinbaseTaskMemory, ReallocatingNullAllocatesAndToZeroFrees)
{
    void* p = CoTaskMemRealloc(nullptr, 16);
    EXPECT_TRUE(p);
    p = CoTaskMemRealloc(p, 0);
    EXPECT_FALSE(p);
}

TEST(WinbaseTaskMemory, ImpossibleSizeGivesNull)
{
    volatile SIZE_T uiBytes = ~SIZE_T{0} - 64;
    EXPECT_FALSE(CoTaskMemAlloc(uiBytes));
    void* const p = CoTaskMemAlloc(8);
    EXPECT_FALSE(CoTaskMemRealloc(p, uiBytes)) << "and the old block is still the caller's";
    CoTaskMemFree(p);
}

TEST(WinbaseCom, StartIsCountedPerThread)
{
    Thread thread([] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
        CoUninitialize();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
        CoUninitialize();
        CoUninitialize();
    });
}

class CountedUnknown : public IUnknown
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_uiCount; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_uiCount; }
    ULONG m_uiCount = 1;
};

TEST(WinbaseVariant, ClearingReleasesAnInterface)
{
    CountedUnknown unknown;
    VARIANT var;
    VariantInit(&var);
    EXPECT_EQ(var.vt, VT_EMPTY);
    var.vt = VT_UNKNOWN;
    var.punkVal = &unknown;
    unknown.AddRef();
    EXPECT_EQ(VariantClear(&var), S_OK);
    EXPECT_EQ(unknown.m_uiCount, 1U);
    EXPECT_EQ(var.vt, VT_EMPTY);
}

TEST(WinbaseVariant, ClearingFreesAText)
{
    VARIANT var;
    VariantInit(&var);
    var.vt = VT_BSTR;
    var.bstrVal = SysAllocString(L"text");
    ASSERT_TRUE(var.bstrVal);
    EXPECT_EQ(SysStringLen(var.bstrVal), 4U);
    EXPECT_STREQ(var.bstrVal, L"text");
    EXPECT_EQ(VariantClear(&var), S_OK);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0U);
    SysFreeString(nullptr);
}

TEST(WinbaseVariant, NumbersAreJustForgotten)
{
    VARIANT var;
    VariantInit(&var);
    var.vt = VT_UI4;
    var.ulVal = 7;
    EXPECT_EQ(VariantClear(&var), S_OK);
    EXPECT_EQ(var.vt, VT_EMPTY);
}

TEST(WinbaseVariant, UnknownTypeIsRefused)
{
    VARIANT var;
    VariantInit(&var);
    var.vt = 0x0777;
    EXPECT_EQ(VariantClear(&var), DISP_E_BADVARTYPE);
}

}  // namespace
