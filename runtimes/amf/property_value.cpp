#include "runtimes/amf/property_value.h"

#include <cstring>
#include <cwchar>
#include <new>
#include <stdexcept>
#include <utility>

#include <windows.h>

#include <objbase.h>

namespace amfruntime
{
namespace
{

// In task memory, since callers free what they are given there. Null for null.
template <typename Character>
Character* CopyText(const Character* pText, std::size_t uiLength)
{
    if (!pText)
    {
        return nullptr;
    }
    const std::size_t uiBytes = (uiLength + 1) * sizeof(Character);
    auto* const pCopy = static_cast<Character*>(CoTaskMemAlloc(uiBytes));
    if (!pCopy)
    {
        throw std::bad_alloc();
    }
    std::memcpy(pCopy, pText, uiBytes);
    return pCopy;
}

AMFVariantStruct Typed(AMF_VARIANT_TYPE eType)
{
    AMFVariantStruct variant{};
    variant.type = eType;
    return variant;
}

}  // namespace

PropertyValue::PropertyValue(const AMFVariantStruct& variant) : m_variant(variant)
{
    switch (variant.type)
    {
    case AMF_VARIANT_STRING:
        m_variant.stringValue =
            CopyText(variant.stringValue, variant.stringValue ? std::strlen(variant.stringValue) : 0);
        break;
    case AMF_VARIANT_WSTRING:
        m_variant.wstringValue =
            CopyText(variant.wstringValue, variant.wstringValue ? std::wcslen(variant.wstringValue) : 0);
        break;
    case AMF_VARIANT_INTERFACE:
        if (m_variant.pInterface)
        {
            m_variant.pInterface->Acquire();
        }
        break;
    default:
        if (variant.type < AMF_VARIANT_EMPTY || variant.type > AMF_VARIANT_INTERFACE)
        {
            throw std::invalid_argument("no such type of variant");
        }
    }
}

PropertyValue PropertyValue::Adopt(const AMFVariantStruct& variant)
{
    PropertyValue value;
    value.m_variant = variant;
    return value;
}

PropertyValue PropertyValue::Of(bool bValue)
{
    AMFVariantStruct variant = Typed(AMF_VARIANT_BOOL);
    variant.boolValue = bValue;
    return PropertyValue(variant);
}

PropertyValue PropertyValue::Of(std::int64_t nValue)
{
    AMFVariantStruct variant = Typed(AMF_VARIANT_INT64);
    variant.int64Value = nValue;
    return PropertyValue(variant);
}

PropertyValue PropertyValue::Of(AMFSize size)
{
    AMFVariantStruct variant = Typed(AMF_VARIANT_SIZE);
    variant.sizeValue = size;
    return PropertyValue(variant);
}

PropertyValue PropertyValue::Of(AMFRate rate)
{
    AMFVariantStruct variant = Typed(AMF_VARIANT_RATE);
    variant.rateValue = rate;
    return PropertyValue(variant);
}

PropertyValue PropertyValue::Of(AMFRatio ratio)
{
    AMFVariantStruct variant = Typed(AMF_VARIANT_RATIO);
    variant.ratioValue = ratio;
    return PropertyValue(variant);
}

PropertyValue PropertyValue::Of(AMFInterface* pInterface)
{
    AMFVariantStruct variant = Typed(AMF_VARIANT_INTERFACE);
    variant.pInterface = pInterface;
    return PropertyValue(variant);
}

PropertyValue& PropertyValue::operator=(PropertyValue other) noexcept
{
    std::swap(m_variant, other.m_variant);
    return *this;
}

PropertyValue::~PropertyValue()
{
    if (m_variant.type == AMF_VARIANT_STRING)
    {
        CoTaskMemFree(m_variant.stringValue);
    }
    else if (m_variant.type == AMF_VARIANT_WSTRING)
    {
        CoTaskMemFree(m_variant.wstringValue);
    }
    else if (m_variant.type == AMF_VARIANT_INTERFACE && m_variant.pInterface)
    {
        m_variant.pInterface->Release();
    }
}

AMFVariantStruct PropertyValue::Detach() noexcept
{
    return std::exchange(m_variant, AMFVariantStruct{});
}

}  // namespace amfruntime
