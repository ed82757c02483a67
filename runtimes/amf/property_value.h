// The value of a property, with what belongs to it.
#pragma once

#include <map>
#include <string>

#include "abi/amf/amf.h"

namespace amfruntime
{

// Owns the text or the reference of its variant.
class PropertyValue
{
public:
    PropertyValue() : m_variant{} {}
    // A copy. Throws std::bad_alloc, and std::invalid_argument for a type that this version has not.
    explicit PropertyValue(const AMFVariantStruct& variant);
    // Takes over the content of a variant that GetProperty filled.
    static PropertyValue Adopt(const AMFVariantStruct& variant);
    static PropertyValue Of(bool bValue);
    static PropertyValue Of(std::int64_t nValue);
    static PropertyValue Of(AMFSize size);
    static PropertyValue Of(AMFRate rate);
    static PropertyValue Of(AMFRatio ratio);
    static PropertyValue Of(AMFInterface* pInterface);

    PropertyValue(const PropertyValue& other) : PropertyValue(other.m_variant) {}
    PropertyValue(PropertyValue&& other) noexcept : m_variant(other.Detach()) {}
    PropertyValue& operator=(PropertyValue other) noexcept;
    ~PropertyValue();

    const AMFVariantStruct& Get() const { return m_variant; }
    // Gives the content up to the caller, as GetProperty does.
    AMFVariantStruct Detach() noexcept;

private:
    AMFVariantStruct m_variant;
};

using PropertyMap = std::map<std::wstring, PropertyValue, std::less<>>;

}  // namespace amfruntime
