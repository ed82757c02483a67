// An object that counts its references.
#pragma once

#include <atomic>

#include <windows.h>

#include <unknwn.h>

// Lives on the stack of a test, which holds no reference itself.
class CCountedItem : public IUnknown
{
public:
    virtual ~CCountedItem() = default;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        const bool bKnown = riid == IID_IUnknown;
        *ppObject = bKnown ? this : nullptr;
        if (bKnown) AddRef();
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_nCount; }

    std::atomic<ULONG> m_nCount{0};
};
