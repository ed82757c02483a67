// An event of a scripted session: a type and a status.
#pragma once

#include <atomic>

#include <windows.h>

#include <mfidl.h>

class CScriptedEvent : public IMFMediaEvent
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

    // Attributes: none.
    STDMETHODIMP GetItem(REFGUID, PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetItemType(REFGUID, MF_ATTRIBUTE_TYPE*) override { return E_NOTIMPL; }
    STDMETHODIMP CompareItem(REFGUID, REFPROPVARIANT, BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP Compare(IMFAttributes*, MF_ATTRIBUTES_MATCH_TYPE, BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP GetUINT32(REFGUID, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetUINT64(REFGUID, UINT64*) override { return E_NOTIMPL; }
    STDMETHODIMP GetDouble(REFGUID, double*) override { return E_NOTIMPL; }
    STDMETHODIMP GetGUID(REFGUID, GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetStringLength(REFGUID, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetString(REFGUID, LPWSTR, UINT32, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllocatedString(REFGUID, LPWSTR*, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetBlobSize(REFGUID, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetBlob(REFGUID, UINT8*, UINT32, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllocatedBlob(REFGUID, UINT8**, UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetUnknown(REFGUID, REFIID, LPVOID*) override { return E_NOTIMPL; }
    STDMETHODIMP SetItem(REFGUID, REFPROPVARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteItem(REFGUID) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteAllItems() override { return E_NOTIMPL; }
    STDMETHODIMP SetUINT32(REFGUID, UINT32) override { return E_NOTIMPL; }
    STDMETHODIMP SetUINT64(REFGUID, UINT64) override { return E_NOTIMPL; }
    STDMETHODIMP SetDouble(REFGUID, double) override { return E_NOTIMPL; }
    STDMETHODIMP SetGUID(REFGUID, REFGUID) override { return E_NOTIMPL; }
    STDMETHODIMP SetString(REFGUID, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetBlob(REFGUID, const UINT8*, UINT32) override { return E_NOTIMPL; }
    STDMETHODIMP SetUnknown(REFGUID, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP LockStore() override { return E_NOTIMPL; }
    STDMETHODIMP UnlockStore() override { return E_NOTIMPL; }
    STDMETHODIMP GetCount(UINT32*) override { return E_NOTIMPL; }
    STDMETHODIMP GetItemByIndex(UINT32, GUID*, PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP CopyAllItems(IMFAttributes*) override { return E_NOTIMPL; }

private:
    std::atomic<ULONG> m_nRefCount{1};
    MediaEventType m_eType;
    HRESULT m_hrStatus;
};
