// The attributes of scripted objects that have none.
#pragma once

#include <windows.h>

#include <mfidl.h>

// An interface with attributes whose every call for them fails.
template <typename TInterface>
class CNoAttributes : public TInterface
{
public:
    virtual ~CNoAttributes() = default;

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
};
