#include "platform/mediafoundation/attribute_access.h"

#include <algorithm>
#include <cstring>

#include "objbase.h"

namespace mediafoundation::attributes
{
namespace
{

// Whether the other store has an item equal to this one. *pbFound reports whether it has one under that key at all.
bool HasEqual(IMFAttributes* pTheirs, REFGUID guidKey, const AttributeValue& value, bool* pbFound)
{
    PROPVARIANT variant;
    PropVariantInit(&variant);
    *pbFound = SUCCEEDED(pTheirs->GetItem(guidKey, &variant));
    AttributeValue theirs;
    const bool bEqual = *pbFound && SUCCEEDED(FromPropVariant(variant, &theirs)) && AreEqual(value, theirs);
    PropVariantClear(&variant);
    return bEqual;
}

}  // namespace

HRESULT GetItem(const AttributeStore& store, REFGUID guidKey, PROPVARIANT* pValue)
{
    return WithoutExceptions([&] {
        AttributeValue value;
        const HRESULT hr = store.Get(guidKey, &value);
        // Without a place for the value the call only asks whether there is one.
        return FAILED(hr) || pValue == nullptr ? hr : ToPropVariant(value, pValue);
    });
}

HRESULT GetItemType(const AttributeStore& store, REFGUID guidKey, MF_ATTRIBUTE_TYPE* pType)
{
    if (pType == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        AttributeValue value;
        const HRESULT hr = store.Get(guidKey, &value);
        if (SUCCEEDED(hr)) *pType = TypeOf(value);
        return hr;
    });
}

HRESULT CompareItem(const AttributeStore& store, REFGUID guidKey, REFPROPVARIANT value, BOOL* pbResult)
{
    if (pbResult == nullptr) return E_POINTER;
    *pbResult = FALSE;
    return WithoutExceptions([&] {
        AttributeValue ours;
        AttributeValue theirs;
        const bool bBoth = SUCCEEDED(store.Get(guidKey, &ours)) && SUCCEEDED(FromPropVariant(value, &theirs));
        *pbResult = bBoth && AreEqual(ours, theirs) ? TRUE : FALSE;
        return S_OK;
    });
}

HRESULT Compare(const AttributeStore& store, IMFAttributes* pTheirs, MF_ATTRIBUTES_MATCH_TYPE matchType, BOOL* pbResult)
{
    if (pTheirs == nullptr || pbResult == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        const auto items = store.Items();
        UINT32 unTheirs = 0;
        HRESULT hr = pTheirs->GetCount(&unTheirs);
        if (FAILED(hr)) return hr;

        std::size_t uiEqual = 0;
        std::size_t uiCommon = 0;
        for (const auto& [guidKey, value] : items)
        {
            bool bFound = false;
            uiEqual += HasEqual(pTheirs, guidKey, value, &bFound) ? 1 : 0;
            uiCommon += bFound ? 1 : 0;
        }
        const std::size_t uiOurs = items.size();
        std::size_t uiWanted = 0;
        switch (matchType)
        {
        case MF_ATTRIBUTES_MATCH_OUR_ITEMS:
            uiWanted = uiOurs;
            break;
        case MF_ATTRIBUTES_MATCH_THEIR_ITEMS:
            uiWanted = unTheirs;
            break;
        case MF_ATTRIBUTES_MATCH_ALL_ITEMS:
            uiWanted = std::max<std::size_t>(uiOurs, unTheirs);
            break;
        case MF_ATTRIBUTES_MATCH_INTERSECTION:
            uiWanted = uiCommon;
            break;
        case MF_ATTRIBUTES_MATCH_SMALLER:
            uiWanted = std::min<std::size_t>(uiOurs, unTheirs);
            break;
        default:
            return E_INVALIDARG;
        }
        *pbResult = uiEqual == uiWanted ? TRUE : FALSE;
        return S_OK;
    });
}

HRESULT GetStringLength(const AttributeStore& store, REFGUID guidKey, UINT32* pcchLength)
{
    return GetString(store, guidKey, nullptr, 0, pcchLength);
}

HRESULT GetString(const AttributeStore& store, REFGUID guidKey, LPWSTR pwszValue, UINT32 cchBufSize, UINT32* pcchLength)
{
    if (pwszValue == nullptr && pcchLength == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        std::wstring text;
        const HRESULT hr = store.GetAs(guidKey, &text);
        if (FAILED(hr)) return hr;
        if (pcchLength != nullptr) *pcchLength = static_cast<UINT32>(text.size());
        if (pwszValue == nullptr) return S_OK;
        if (text.size() >= cchBufSize) return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
        std::copy_n(text.c_str(), text.size() + 1, pwszValue);
        return S_OK;
    });
}

HRESULT GetAllocatedString(const AttributeStore& store, REFGUID guidKey, LPWSTR* ppwszValue, UINT32* pcchLength)
{
    if (ppwszValue == nullptr || pcchLength == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        std::wstring text;
        HRESULT hr = store.GetAs(guidKey, &text);
        if (FAILED(hr)) return hr;
        const std::size_t uiUnits = text.size() + 1;
        auto* pText = static_cast<LPWSTR>(CoTaskMemAlloc(uiUnits * sizeof(WCHAR)));
        if (pText == nullptr) return E_OUTOFMEMORY;
        std::copy_n(text.c_str(), uiUnits, pText);
        *ppwszValue = pText;
        *pcchLength = static_cast<UINT32>(text.size());
        return hr;
    });
}

HRESULT GetBlobSize(const AttributeStore& store, REFGUID guidKey, UINT32* pcbBlobSize)
{
    if (pcbBlobSize == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        std::vector<UINT8> blob;
        const HRESULT hr = store.GetAs(guidKey, &blob);
        if (SUCCEEDED(hr)) *pcbBlobSize = static_cast<UINT32>(blob.size());
        return hr;
    });
}

HRESULT GetBlob(const AttributeStore& store, REFGUID guidKey, UINT8* pBuf, UINT32 cbBufSize, UINT32* pcbBlobSize)
{
    if (pBuf == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        std::vector<UINT8> blob;
        const HRESULT hr = store.GetAs(guidKey, &blob);
        if (FAILED(hr)) return hr;
        if (blob.size() > cbBufSize) return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
        std::copy(blob.begin(), blob.end(), pBuf);
        if (pcbBlobSize != nullptr) *pcbBlobSize = static_cast<UINT32>(blob.size());
        return hr;
    });
}

HRESULT GetAllocatedBlob(const AttributeStore& store, REFGUID guidKey, UINT8** ppBuf, UINT32* pcbSize)
{
    if (ppBuf == nullptr || pcbSize == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        std::vector<UINT8> blob;
        const HRESULT hr = store.GetAs(guidKey, &blob);
        if (FAILED(hr)) return hr;
        auto* pCopy = static_cast<UINT8*>(CoTaskMemAlloc(std::max<std::size_t>(blob.size(), 1)));
        if (pCopy == nullptr) return E_OUTOFMEMORY;
        std::copy(blob.begin(), blob.end(), pCopy);
        *ppBuf = pCopy;
        *pcbSize = static_cast<UINT32>(blob.size());
        return hr;
    });
}

HRESULT GetUnknown(const AttributeStore& store, REFGUID guidKey, REFIID riid, LPVOID* ppv)
{
    if (ppv == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        AttributeUnknown unknown;
        const HRESULT hr = store.GetAs(guidKey, &unknown);
        if (FAILED(hr)) return hr;
        return unknown ? unknown->QueryInterface(riid, ppv) : E_NOINTERFACE;
    });
}

HRESULT SetItem(AttributeStore& store, REFGUID guidKey, REFPROPVARIANT value)
{
    return WithoutExceptions([&] {
        AttributeValue attribute;
        const HRESULT hr = FromPropVariant(value, &attribute);
        if (SUCCEEDED(hr)) store.Set(guidKey, std::move(attribute));
        return hr;
    });
}

HRESULT DeleteItem(AttributeStore& store, REFGUID guidKey)
{
    store.Delete(guidKey);
    return S_OK;
}

HRESULT SetString(AttributeStore& store, REFGUID guidKey, LPCWSTR wszValue)
{
    if (wszValue == nullptr) return E_INVALIDARG;
    return WithoutExceptions([&] {
        store.Set(guidKey, std::wstring(wszValue));
        return S_OK;
    });
}

HRESULT SetBlob(AttributeStore& store, REFGUID guidKey, const UINT8* pBuf, UINT32 cbBufSize)
{
    if (pBuf == nullptr && cbBufSize > 0) return E_INVALIDARG;
    return WithoutExceptions([&] {
        store.Set(guidKey, std::vector<UINT8>(pBuf, pBuf + cbBufSize));
        return S_OK;
    });
}

HRESULT GetCount(const AttributeStore& store, UINT32* pcItems)
{
    if (pcItems == nullptr) return E_POINTER;
    *pcItems = store.Count();
    return S_OK;
}

HRESULT GetItemByIndex(const AttributeStore& store, UINT32 unIndex, GUID* pguidKey, PROPVARIANT* pValue)
{
    if (pguidKey == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        AttributeValue value;
        if (!store.At(unIndex, pguidKey, &value)) return E_INVALIDARG;
        return pValue == nullptr ? S_OK : ToPropVariant(value, pValue);
    });
}

HRESULT CopyAllItems(const AttributeStore& store, IMFAttributes* pDest)
{
    if (pDest == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        HRESULT hr = pDest->DeleteAllItems();
        for (const auto& [guidKey, value] : store.Items())
        {
            PROPVARIANT variant;
            PropVariantInit(&variant);
            if (SUCCEEDED(hr)) hr = ToPropVariant(value, &variant);
            if (SUCCEEDED(hr)) hr = pDest->SetItem(guidKey, variant);
            PropVariantClear(&variant);
        }
        return hr;
    });
}

}  // namespace mediafoundation::attributes
