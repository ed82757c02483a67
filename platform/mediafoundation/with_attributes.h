// IMFAttributes for the classes that have it.
#pragma once

#include "platform/mediafoundation/attribute_access.h"
#include "platform/mediafoundation/attribute_store.h"

namespace mediafoundation
{

// Object is a ComObject whose one attribute interface is IMFAttributes or derives from it.
template <typename Object>
class WithAttributes : public Object
{
public:
    HRESULT STDMETHODCALLTYPE GetItem(REFGUID guidKey, PROPVARIANT* pValue) override
    {
        return attributes::GetItem(m_store, guidKey, pValue);
    }
    HRESULT STDMETHODCALLTYPE GetItemType(REFGUID guidKey, MF_ATTRIBUTE_TYPE* pType) override
    {
        return attributes::GetItemType(m_store, guidKey, pType);
    }
    HRESULT STDMETHODCALLTYPE CompareItem(REFGUID guidKey, REFPROPVARIANT Value, BOOL* pbResult) override
    {
        return attributes::CompareItem(m_store, guidKey, Value, pbResult);
    }
    HRESULT STDMETHODCALLTYPE Compare(IMFAttributes* pTheirs, MF_ATTRIBUTES_MATCH_TYPE MatchType,
                                      BOOL* pbResult) override
    {
        return attributes::Compare(m_store, pTheirs, MatchType, pbResult);
    }
    HRESULT STDMETHODCALLTYPE GetUINT32(REFGUID guidKey, UINT32* punValue) override
    {
        return attributes::GetValue(m_store, guidKey, punValue);
    }
    HRESULT STDMETHODCALLTYPE GetUINT64(REFGUID guidKey, UINT64* punValue) override
    {
        return attributes::GetValue(m_store, guidKey, punValue);
    }
    HRESULT STDMETHODCALLTYPE GetDouble(REFGUID guidKey, double* pfValue) override
    {
        return attributes::GetValue(m_store, guidKey, pfValue);
    }
    HRESULT STDMETHODCALLTYPE GetGUID(REFGUID guidKey, GUID* pguidValue) override
    {
        return attributes::GetValue(m_store, guidKey, pguidValue);
    }
    HRESULT STDMETHODCALLTYPE GetStringLength(REFGUID guidKey, UINT32* pcchLength) override
    {
        return attributes::GetStringLength(m_store, guidKey, pcchLength);
    }
    HRESULT STDMETHODCALLTYPE GetString(REFGUID guidKey, LPWSTR pwszValue, UINT32 cchBufSize,
                                        UINT32* pcchLength) override
    {
        return attributes::GetString(m_store, guidKey, pwszValue, cchBufSize, pcchLength);
    }
    HRESULT STDMETHODCALLTYPE GetAllocatedString(REFGUID guidKey, LPWSTR* ppwszValue, UINT32* pcchLength) override
    {
        return attributes::GetAllocatedString(m_store, guidKey, ppwszValue, pcchLength);
    }
    HRESULT STDMETHODCALLTYPE GetBlobSize(REFGUID guidKey, UINT32* pcbBlobSize) override
    {
        return attributes::GetBlobSize(m_store, guidKey, pcbBlobSize);
    }
    HRESULT STDMETHODCALLTYPE GetBlob(REFGUID guidKey, UINT8* pBuf, UINT32 cbBufSize, UINT32* pcbBlobSize) override
    {
        return attributes::GetBlob(m_store, guidKey, pBuf, cbBufSize, pcbBlobSize);
    }
    HRESULT STDMETHODCALLTYPE GetAllocatedBlob(REFGUID guidKey, UINT8** ppBuf, UINT32* pcbSize) override
    {
        return attributes::GetAllocatedBlob(m_store, guidKey, ppBuf, pcbSize);
    }
    HRESULT STDMETHODCALLTYPE GetUnknown(REFGUID guidKey, REFIID riid, LPVOID* ppv) override
    {
        return attributes::GetUnknown(m_store, guidKey, riid, ppv);
    }
    HRESULT STDMETHODCALLTYPE SetItem(REFGUID guidKey, REFPROPVARIANT Value) override
    {
        return attributes::SetItem(m_store, guidKey, Value);
    }
    HRESULT STDMETHODCALLTYPE DeleteItem(REFGUID guidKey) override { return attributes::DeleteItem(m_store, guidKey); }
    HRESULT STDMETHODCALLTYPE DeleteAllItems() override
    {
        m_store.Clear();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetUINT32(REFGUID guidKey, UINT32 unValue) override
    {
        return attributes::SetValue(m_store, guidKey, unValue);
    }
    HRESULT STDMETHODCALLTYPE SetUINT64(REFGUID guidKey, UINT64 unValue) override
    {
        return attributes::SetValue(m_store, guidKey, unValue);
    }
    HRESULT STDMETHODCALLTYPE SetDouble(REFGUID guidKey, double fValue) override
    {
        return attributes::SetValue(m_store, guidKey, fValue);
    }
    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guidKey, REFGUID guidValue) override
    {
        return attributes::SetValue(m_store, guidKey, guidValue);
    }
    HRESULT STDMETHODCALLTYPE SetString(REFGUID guidKey, LPCWSTR wszValue) override
    {
        return attributes::SetString(m_store, guidKey, wszValue);
    }
    HRESULT STDMETHODCALLTYPE SetBlob(REFGUID guidKey, const UINT8* pBuf, UINT32 cbBufSize) override
    {
        return attributes::SetBlob(m_store, guidKey, pBuf, cbBufSize);
    }
    HRESULT STDMETHODCALLTYPE SetUnknown(REFGUID guidKey, IUnknown* pUnknown) override
    {
        return attributes::SetValue(m_store, guidKey, AttributeUnknown(pUnknown));
    }
    HRESULT STDMETHODCALLTYPE LockStore() override
    {
        m_store.Lock();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnlockStore() override
    {
        m_store.Unlock();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetCount(UINT32* pcItems) override { return attributes::GetCount(m_store, pcItems); }
    HRESULT STDMETHODCALLTYPE GetItemByIndex(UINT32 unIndex, GUID* pguidKey, PROPVARIANT* pValue) override
    {
        return attributes::GetItemByIndex(m_store, unIndex, pguidKey, pValue);
    }
    HRESULT STDMETHODCALLTYPE CopyAllItems(IMFAttributes* pDest) override
    {
        return attributes::CopyAllItems(m_store, pDest);
    }

protected:
    AttributeStore& Store() { return m_store; }
    const AttributeStore& Store() const { return m_store; }

private:
    AttributeStore m_store;
};

}  // namespace mediafoundation
