// The operations of IMFAttributes on a store: null pointers, buffers and memory for the caller.
#pragma once

#include "mferror.h"
#include "platform/mediafoundation/attribute_store.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation::attributes
{

HRESULT GetItem(const AttributeStore& store, REFGUID guidKey, PROPVARIANT* pValue);
HRESULT GetItemType(const AttributeStore& store, REFGUID guidKey, MF_ATTRIBUTE_TYPE* pType);
HRESULT CompareItem(const AttributeStore& store, REFGUID guidKey, REFPROPVARIANT value, BOOL* pbResult);
HRESULT Compare(const AttributeStore& store, IMFAttributes* pTheirs, MF_ATTRIBUTES_MATCH_TYPE matchType,
                BOOL* pbResult);
HRESULT GetStringLength(const AttributeStore& store, REFGUID guidKey, UINT32* pcchLength);
HRESULT GetString(const AttributeStore& store, REFGUID guidKey, LPWSTR pwszValue, UINT32 cchBufSize,
                  UINT32* pcchLength);
HRESULT GetAllocatedString(const AttributeStore& store, REFGUID guidKey, LPWSTR* ppwszValue, UINT32* pcchLength);
HRESULT GetBlobSize(const AttributeStore& store, REFGUID guidKey, UINT32* pcbBlobSize);
HRESULT GetBlob(const AttributeStore& store, REFGUID guidKey, UINT8* pBuf, UINT32 cbBufSize, UINT32* pcbBlobSize);
HRESULT GetAllocatedBlob(const AttributeStore& store, REFGUID guidKey, UINT8** ppBuf, UINT32* pcbSize);
HRESULT GetUnknown(const AttributeStore& store, REFGUID guidKey, REFIID riid, LPVOID* ppv);
HRESULT SetItem(AttributeStore& store, REFGUID guidKey, REFPROPVARIANT value);
HRESULT DeleteItem(AttributeStore& store, REFGUID guidKey);
HRESULT SetString(AttributeStore& store, REFGUID guidKey, LPCWSTR wszValue);
HRESULT SetBlob(AttributeStore& store, REFGUID guidKey, const UINT8* pBuf, UINT32 cbBufSize);
HRESULT GetCount(const AttributeStore& store, UINT32* pcItems);
HRESULT GetItemByIndex(const AttributeStore& store, UINT32 unIndex, GUID* pguidKey, PROPVARIANT* pValue);
HRESULT CopyAllItems(const AttributeStore& store, IMFAttributes* pDest);

template <typename Type>
HRESULT GetValue(const AttributeStore& store, REFGUID guidKey, Type* pValue)
{
    if (pValue == nullptr) return E_POINTER;
    return WithoutExceptions([&] { return store.GetAs(guidKey, pValue); });
}

template <typename Type>
HRESULT SetValue(AttributeStore& store, REFGUID guidKey, Type value)
{
    return WithoutExceptions([&] {
        store.Set(guidKey, AttributeValue(std::move(value)));
        return S_OK;
    });
}

}  // namespace mediafoundation::attributes
