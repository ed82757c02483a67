// An event of a scripted session: a type and a status.
#pragma once

#include <atomic>

#include <windows.h>

#include <mfidl.h>

#include "support/no_attributes.h"

class CScriptedEvent : public CNoAttributes<IMFMediaEvent>
{
public:
    CScriptedEvent(MediaEventType eType, HRESULT hrStatus) : m_eType(eType), m_hrStatus(hrStatus) {}
    virtual ~CScriptedEvent() = default;

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }

    STDMETHODIMP GetType(MediaEventType* peType) override
    {
        *peType = m_eType;
        return S_OK;
    }
    STDMETHODIMP GetStatus(HRESULT* phrStatus) override
    {
        *phrStatus = m_hrStatus;
        return S_OK;
    }
    STDMETHODIMP GetExtendedType(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValue(PROPVARIANT*) override { return E_NOTIMPL; }

private:
    std::atomic<ULONG> m_nRefCount{1};
    MediaEventType m_eType;
    HRESULT m_hrStatus;
};
