// IUnknown, the root of every COM interface, and the class factory.
#pragma once

#include <type_traits>

#include "basetyps.h"

DEFINE_OLEGUID(IID_IUnknown, 0x00000000, 0, 0);
DEFINE_OLEGUID(IID_IClassFactory, 0x00000001, 0, 0);

// AddRef and Release are safe from any thread, and give the new count for diagnostics only. The order of the three
// methods, and no destructor among them, is the binary interface.
struct IUnknown
{
    // *ppv gets a new reference, or null and the result is E_NOINTERFACE.
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

    // The typed form: p->QueryInterface(&pOther).
    template <typename Interface>
    HRESULT STDMETHODCALLTYPE QueryInterface(Interface** pp);
};
using LPUNKNOWN = IUnknown*;

struct IClassFactory : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};

// The IID of an interface type. Every header that declares an interface has PLATFORM_INTERFACE_IID(IName) after it,
// so that IID_PPV_ARGS and the typed QueryInterface find it.
template <typename Interface>
struct PlatformInterfaceIid;
#define PLATFORM_INTERFACE_IID(name)                                                                                   \
    template <>                                                                                                        \
    struct PlatformInterfaceIid<name>                                                                                  \
    {                                                                                                                  \
        static const IID& Get() { return IID_##name; }                                                                 \
    }
PLATFORM_INTERFACE_IID(IUnknown);
PLATFORM_INTERFACE_IID(IClassFactory);

template <typename Interface>
HRESULT IUnknown::QueryInterface(Interface** pp)
{
    return QueryInterface(PlatformInterfaceIid<Interface>::Get(), reinterpret_cast<void**>(pp));
}

template <typename Interface>
void** PlatformInterfaceOut(Interface** pp)
{
    static_assert(std::is_base_of_v<IUnknown, Interface>, "not the address of an interface pointer");
    return reinterpret_cast<void**>(pp);
}
// The two arguments "riid, ppv" of a creating function, for the address of a typed interface pointer.
#define IID_PPV_ARGS(pp)                                                                                               \
    PlatformInterfaceIid<std::remove_pointer_t<std::remove_pointer_t<decltype(pp)>>>::Get(), PlatformInterfaceOut(pp)
