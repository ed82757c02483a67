// Variants for the tests, and what they hold as text.
#pragma once

#include <cwchar>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include <objbase.h>

#include "amf/common/amfvariant.h"

// An interface that counts. It is the test's own and is never deleted.
class CountedInterface : public AMFInterface
{
public:
    amf_long Acquire() override { return ++m_nReferences; }
    amf_long Release() override { return --m_nReferences; }
    AMF_RESULT QueryInterface(const AMFGuid&, void**) override { return AMF_NO_INTERFACE; }

    amf_long m_nReferences = 1;
};

// Clears itself at the end.
struct CVariant : public AMFVariantStruct
{
    CVariant() : AMFVariantStruct{} {}
    ~CVariant() { AMFVariantClear(this); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
};

template <typename TChar>
TChar* TaskText(const std::basic_string<TChar>& strText)
{
    auto* const pText = static_cast<TChar*>(CoTaskMemAlloc((strText.size() + 1) * sizeof(TChar)));
    std::char_traits<TChar>::copy(pText, strText.c_str(), strText.size() + 1);
    return pText;
}

inline void SetString(AMFVariantStruct& variant, const std::string& strText)
{
    AMFVariantClear(&variant);
    variant.type = AMF_VARIANT_STRING;
    variant.stringValue = TaskText(strText);
}

inline void SetWString(AMFVariantStruct& variant, const std::wstring& strText)
{
    AMFVariantClear(&variant);
    variant.type = AMF_VARIANT_WSTRING;
    variant.wstringValue = TaskText(strText);
}

inline void SetInt64(AMFVariantStruct& variant, std::int64_t nValue)
{
    AMFVariantClear(&variant);
    variant.type = AMF_VARIANT_INT64;
    variant.int64Value = nValue;
}

inline void SetDouble(AMFVariantStruct& variant, double dValue)
{
    AMFVariantClear(&variant);
    variant.type = AMF_VARIANT_DOUBLE;
    variant.doubleValue = dValue;
}

// The type and the value: "Rect 1 2 3 4", "String 'x'", "WString null". Wide text has its characters above ASCII as
// <XXXX>.
inline std::string Describe(const AMFVariantStruct& variant)
{
    const auto join = [](const char* pszType, auto... values) {
        std::string strText = pszType;
        ((strText += ' ' + std::to_string(values)), ...);
        return strText;
    };
    switch (variant.type)
    {
    case AMF_VARIANT_EMPTY:
        return "Empty";
    case AMF_VARIANT_BOOL:
        return variant.boolValue ? "Bool true" : "Bool false";
    case AMF_VARIANT_INT64:
        return join("Int64", variant.int64Value);
    case AMF_VARIANT_DOUBLE:
        return join("Double", variant.doubleValue);
    case AMF_VARIANT_RECT:
        return join("Rect", variant.rectValue.left, variant.rectValue.top, variant.rectValue.right,
                    variant.rectValue.bottom);
    case AMF_VARIANT_SIZE:
        return join("Size", variant.sizeValue.width, variant.sizeValue.height);
    case AMF_VARIANT_POINT:
        return join("Point", variant.pointValue.x, variant.pointValue.y);
    case AMF_VARIANT_RATE:
        return join("Rate", variant.rateValue.num, variant.rateValue.den);
    case AMF_VARIANT_RATIO:
        return join("Ratio", variant.ratioValue.num, variant.ratioValue.den);
    case AMF_VARIANT_COLOR:
        return join("Color", variant.colorValue.r, variant.colorValue.g, variant.colorValue.b, variant.colorValue.a);
    case AMF_VARIANT_STRING:
        return variant.stringValue != nullptr ? "String '" + std::string(variant.stringValue) + "'" : "String null";
    case AMF_VARIANT_WSTRING: {
        if (variant.wstringValue == nullptr) return "WString null";
        std::string strText = "WString '";
        for (const wchar_t* pwch = variant.wstringValue; *pwch != L'\0'; ++pwch)
        {
            char achHex[16];
            std::snprintf(achHex, sizeof achHex, "<%04X>", static_cast<unsigned>(*pwch));
            strText += *pwch < 128 ? std::string(1, static_cast<char>(*pwch)) : achHex;
        }
        return strText + "'";
    }
    case AMF_VARIANT_INTERFACE:
        return variant.pInterface != nullptr ? "Interface" : "Interface null";
    default:
        return "type " + std::to_string(static_cast<int>(variant.type));
    }
}

// The result of the conversion, then what the destination holds.
inline std::string Convert(const AMFVariantStruct& source, AMF_VARIANT_TYPE eNewType)
{
    CVariant dest;
    SetString(dest, "before");
    const AMF_RESULT eResult = AMFVariantChangeType(&dest, &source, eNewType);
    return std::to_string(static_cast<int>(eResult)) + " " + Describe(dest);
}

inline std::string ConvertString(const std::string& strText, AMF_VARIANT_TYPE eNewType)
{
    CVariant source;
    SetString(source, strText);
    return Convert(source, eNewType);
}

inline std::string ConvertWString(const std::wstring& strText, AMF_VARIANT_TYPE eNewType)
{
    CVariant source;
    SetWString(source, strText);
    return Convert(source, eNewType);
}
