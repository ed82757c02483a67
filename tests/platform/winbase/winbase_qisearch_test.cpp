#include <windows.h>

#include <objbase.h>
#include <shlwapi.h>

#include "winbase_testing.h"

namespace
{

struct Pad
{
    virtual ~Pad() = default;
    LONGLONG m_nPad = 0;
};

// The interface doesn't stand at the start of the object.
class Searched : public Pad, public IClassFactory
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_UNEXPECTED; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_uiCount; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_uiCount; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return E_NOTIMPL; }

    IClassFactory* Factory() { return this; }
    ULONG m_uiCount = 1;
};

const QITAB c_aWithFactory[] = {QITABENT(Searched, IClassFactory), {nullptr, 0}};

TEST(WinbaseQISearch, FindsTheInterfaceAndCountsAReference)
{
    Searched object;
    void* p = nullptr;
    EXPECT_EQ(QISearch(&object, c_aWithFactory, IID_IClassFactory, &p), S_OK);
    EXPECT_EQ(p, static_cast<void*>(object.Factory()));
    EXPECT_NE(p, static_cast<void*>(&object));
    EXPECT_EQ(object.m_uiCount, 2U);
    EXPECT_EQ(static_cast<IClassFactory*>(p)->LockServer(TRUE), E_NOTIMPL);
}

TEST(WinbaseQISearch, UnknownIsTheFirstEntrysEvenIfNotInTheTable)
{
    Searched object;
    void* p = nullptr;
    EXPECT_EQ(QISearch(&object, c_aWithFactory, IID_IUnknown, &p), S_OK);
    EXPECT_EQ(p, static_cast<void*>(object.Factory()));
    EXPECT_EQ(object.m_uiCount, 2U);
}

TEST(WinbaseQISearch, OtherInterfacesGiveNullAndNoReference)
{
    Searched object;
    void* p = &object;
    EXPECT_EQ(QISearch(&object, c_aWithFactory, GUID_NULL, &p), E_NOINTERFACE);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(object.m_uiCount, 1U);
}

TEST(WinbaseQISearch, NullOutPointerIsRefused)
{
    Searched object;
    EXPECT_EQ(QISearch(&object, c_aWithFactory, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(object.m_uiCount, 1U);
}

}  // namespace
