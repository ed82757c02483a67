#include "platform/mediafoundation/attribute_store.h"

#include <algorithm>
#include <cstring>

#include "mferror.h"
#include "objbase.h"

namespace mediafoundation
{
namespace
{

void* CopyToTaskMemory(const void* pData, std::size_t uiBytes)
{
    void* pCopy = CoTaskMemAlloc(std::max<std::size_t>(uiBytes, 1));
    if (pCopy != nullptr && uiBytes > 0)
    {
        std::memcpy(pCopy, pData, uiBytes);
    }
    return pCopy;
}

}  // namespace

MF_ATTRIBUTE_TYPE TypeOf(const AttributeValue& value)
{
    constexpr MF_ATTRIBUTE_TYPE TYPES[] = {MF_ATTRIBUTE_UINT32,  MF_ATTRIBUTE_UINT64, MF_ATTRIBUTE_DOUBLE,
                                           MF_ATTRIBUTE_GUID,    MF_ATTRIBUTE_STRING, MF_ATTRIBUTE_BLOB,
                                           MF_ATTRIBUTE_IUNKNOWN};
    static_assert(std::size(TYPES) == std::variant_size_v<AttributeValue>);
    return TYPES[value.index()];
}

bool AreEqual(const AttributeValue& left, const AttributeValue& right)
{
    if (left.index() != right.index()) return false;
    if (const auto* pUnknown = std::get_if<AttributeUnknown>(&left))
    {
        return pUnknown->Get() == std::get<AttributeUnknown>(right).Get();
    }
    return std::visit(
        [&right](const auto& value) {
            using Type = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Type, AttributeUnknown>)
            {
                return false;
            }
            else
            {
                return value == std::get<Type>(right);
            }
        },
        left);
}

HRESULT FromPropVariant(REFPROPVARIANT variant, AttributeValue* pValue)
{
    switch (variant.vt)
    {
    case VT_UI4:
        *pValue = UINT32{variant.ulVal};
        return S_OK;
    case VT_UI8:
        *pValue = UINT64{variant.uhVal.QuadPart};
        return S_OK;
    case VT_R8:
        *pValue = variant.dblVal;
        return S_OK;
    case VT_CLSID:
        if (variant.puuid == nullptr) return E_INVALIDARG;
        *pValue = *variant.puuid;
        return S_OK;
    case VT_LPWSTR:
        if (variant.pwszVal == nullptr) return E_INVALIDARG;
        *pValue = std::wstring(variant.pwszVal);
        return S_OK;
    case VT_VECTOR | VT_UI1:
        if (variant.caub.pElems == nullptr && variant.caub.cElems > 0) return E_INVALIDARG;
        *pValue = std::vector<UINT8>(variant.caub.pElems, variant.caub.pElems + variant.caub.cElems);
        return S_OK;
    case VT_UNKNOWN:
        *pValue = AttributeUnknown(variant.punkVal);
        return S_OK;
    default:
        return MF_E_INVALIDTYPE;
    }
}

HRESULT ToPropVariant(const AttributeValue& value, PROPVARIANT* pVariant)
{
    PropVariantInit(pVariant);
    bool bDone = true;
    if (const auto* pNumber = std::get_if<UINT32>(&value))
    {
        pVariant->ulVal = *pNumber;
    }
    else if (const auto* pLong = std::get_if<UINT64>(&value))
    {
        pVariant->uhVal.QuadPart = *pLong;
    }
    else if (const auto* pDouble = std::get_if<double>(&value))
    {
        pVariant->dblVal = *pDouble;
    }
    else if (const auto* pGuid = std::get_if<GUID>(&value))
    {
        pVariant->puuid = static_cast<CLSID*>(CopyToTaskMemory(pGuid, sizeof(GUID)));
        bDone = pVariant->puuid != nullptr;
    }
    else if (const auto* pText = std::get_if<std::wstring>(&value))
    {
        pVariant->pwszVal = static_cast<LPWSTR>(CopyToTaskMemory(pText->c_str(), (pText->size() + 1) * sizeof(WCHAR)));
        bDone = pVariant->pwszVal != nullptr;
    }
    else if (const auto* pBlob = std::get_if<std::vector<UINT8>>(&value))
    {
        pVariant->caub.cElems = static_cast<ULONG>(pBlob->size());
        pVariant->caub.pElems = static_cast<UCHAR*>(CopyToTaskMemory(pBlob->data(), pBlob->size()));
        bDone = pVariant->caub.pElems != nullptr;
    }
    else
    {
        std::get<AttributeUnknown>(value).CopyTo(&pVariant->punkVal);
    }
    pVariant->vt = bDone ? static_cast<VARTYPE>(TypeOf(value)) : static_cast<VARTYPE>(VT_EMPTY);
    return bDone ? S_OK : E_OUTOFMEMORY;
}

const AttributeStore::Item* AttributeStore::Find(REFGUID guidKey) const
{
    const auto it =
        std::find_if(m_items.begin(), m_items.end(), [&](const Item& item) { return item.first == guidKey; });
    return it == m_items.end() ? nullptr : &*it;
}

HRESULT AttributeStore::Get(REFGUID guidKey, AttributeValue* pValue) const
{
    const std::lock_guard lock(m_lock);
    const Item* pItem = Find(guidKey);
    if (pItem == nullptr) return MF_E_ATTRIBUTENOTFOUND;
    *pValue = pItem->second;
    return S_OK;
}

void AttributeStore::Set(REFGUID guidKey, AttributeValue value)
{
    // The value that is replaced goes after the lock: releasing an object may call back.
    const std::lock_guard lock(m_lock);
    if (const Item* pItem = Find(guidKey))
    {
        std::swap(const_cast<Item*>(pItem)->second, value);
        return;
    }
    m_items.emplace_back(guidKey, std::move(value));
}

void AttributeStore::Delete(REFGUID guidKey)
{
    const std::lock_guard lock(m_lock);
    std::erase_if(m_items, [&](const Item& item) { return item.first == guidKey; });
}

void AttributeStore::Clear()
{
    const std::lock_guard lock(m_lock);
    m_items.clear();
}

UINT32 AttributeStore::Count() const
{
    const std::lock_guard lock(m_lock);
    return static_cast<UINT32>(m_items.size());
}

bool AttributeStore::At(UINT32 unIndex, GUID* pguidKey, AttributeValue* pValue) const
{
    const std::lock_guard lock(m_lock);
    if (unIndex >= m_items.size()) return false;
    *pguidKey = m_items[unIndex].first;
    *pValue = m_items[unIndex].second;
    return true;
}

std::vector<std::pair<GUID, AttributeValue>> AttributeStore::Items() const
{
    const std::lock_guard lock(m_lock);
    return m_items;
}

HRESULT AttributeTypeMismatch()
{
    return MF_E_INVALIDTYPE;
}

}  // namespace mediafoundation
