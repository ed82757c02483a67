// Values under GUIDs: the store of every IMFAttributes.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "mfobjects.h"
#include "platform/com/com_ptr.h"

namespace mediafoundation
{

using AttributeUnknown = platform::ComPtr<IUnknown>;
using AttributeValue = std::variant<UINT32, UINT64, double, GUID, std::wstring, std::vector<UINT8>, AttributeUnknown>;

MF_ATTRIBUTE_TYPE TypeOf(const AttributeValue& value);
bool AreEqual(const AttributeValue& left, const AttributeValue& right);
// MF_E_INVALIDTYPE for a type that attributes can't have.
HRESULT FromPropVariant(REFPROPVARIANT variant, AttributeValue* pValue);
// The result owns copies.
HRESULT ToPropVariant(const AttributeValue& value, PROPVARIANT* pVariant);

// Safe from any thread. Items keep the order in which they were first set.
class AttributeStore
{
public:
    HRESULT Get(REFGUID guidKey, AttributeValue* pValue) const;
    // The value if it is of that type, else MF_E_INVALIDTYPE; MF_E_ATTRIBUTENOTFOUND if there is none.
    template <typename Type>
    HRESULT GetAs(REFGUID guidKey, Type* pValue) const;
    void Set(REFGUID guidKey, AttributeValue value);
    void Delete(REFGUID guidKey);
    void Clear();
    UINT32 Count() const;
    bool At(UINT32 unIndex, GUID* pguidKey, AttributeValue* pValue) const;
    std::vector<std::pair<GUID, AttributeValue>> Items() const;

    void Lock() { m_lock.lock(); }
    void Unlock() { m_lock.unlock(); }

private:
    using Item = std::pair<GUID, AttributeValue>;
    const Item* Find(REFGUID guidKey) const;

    mutable std::recursive_mutex m_lock;
    std::vector<Item> m_items;
};

// MF_E_INVALIDTYPE. A function, so that this header needs no mferror.h.
HRESULT AttributeTypeMismatch();

template <typename Type>
HRESULT AttributeStore::GetAs(REFGUID guidKey, Type* pValue) const
{
    AttributeValue value;
    const HRESULT hr = Get(guidKey, &value);
    if (FAILED(hr)) return hr;
    Type* pHeld = std::get_if<Type>(&value);
    if (pHeld == nullptr) return AttributeTypeMismatch();
    *pValue = std::move(*pHeld);
    return S_OK;
}

}  // namespace mediafoundation
