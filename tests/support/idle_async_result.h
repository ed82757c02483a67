// A result of an asynchronous call that says nothing: what scripted ones begin with.
#pragma once

#include <atomic>

#include <windows.h>

#include <mfobjects.h>

// Made with one reference; the last release destroys it.
class CIdleAsyncResult : public IMFAsyncResult
{
public:
    virtual ~CIdleAsyncResult() = default;

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }
    STDMETHODIMP GetState(IUnknown**) override { return E_POINTER; }
    STDMETHODIMP GetStatus() override { return S_OK; }
    STDMETHODIMP SetStatus(HRESULT) override { return S_OK; }
    STDMETHODIMP GetObject(IUnknown**) override { return E_POINTER; }
    STDMETHODIMP_(IUnknown*) GetStateNoAddRef() override { return nullptr; }

private:
    std::atomic<ULONG> m_nRefCount{1};
};
