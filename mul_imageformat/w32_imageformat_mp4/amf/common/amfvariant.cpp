#include "amf/common/amfvariant.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include <windows.h>

#include <objbase.h>

namespace
{

// --- texts, each in a block of task memory; null for an empty or missing source, and without memory

template <typename TChar>
TChar* AllocateText(std::size_t uiCharacters)
{
    return static_cast<TChar*>(CoTaskMemAlloc(uiCharacters * sizeof(TChar)));
}

// Also of an empty text.
template <typename TChar>
TChar* CopyText(const TChar* pSource, std::size_t uiLength)
{
    if (pSource == nullptr) return nullptr;
    auto* const pCopy = AllocateText<TChar>(uiLength + 1);
    if (pCopy != nullptr) std::memcpy(pCopy, pSource, (uiLength + 1) * sizeof(TChar));
    return pCopy;
}

char* CopyText(const char* pszSource)
{
    return CopyText(pszSource, pszSource != nullptr ? std::strlen(pszSource) : 0);
}

wchar_t* CopyText(const wchar_t* pwszSource)
{
    return CopyText(pwszSource, pwszSource != nullptr ? std::wcslen(pwszSource) : 0);
}

wchar_t* WideText(const char* pszText)
{
    if (pszText == nullptr || *pszText == '\0') return nullptr;
    const int nLength = MultiByteToWideChar(CP_UTF8, 0, pszText, -1, nullptr, 0);
    auto* const pwszText = nLength > 0 ? AllocateText<wchar_t>(static_cast<std::size_t>(nLength)) : nullptr;
    if (pwszText != nullptr) MultiByteToWideChar(CP_UTF8, 0, pszText, -1, pwszText, nLength);
    return pwszText;
}

char* Utf8Text(const wchar_t* pwszText)
{
    if (pwszText == nullptr || *pwszText == L'\0') return nullptr;
    const int nLength = WideCharToMultiByte(CP_UTF8, 0, pwszText, -1, nullptr, 0, nullptr, nullptr);
    auto* const pszText = nLength > 0 ? AllocateText<char>(static_cast<std::size_t>(nLength)) : nullptr;
    if (pszText != nullptr) WideCharToMultiByte(CP_UTF8, 0, pwszText, -1, pszText, nLength, nullptr, nullptr);
    return pszText;
}

// --- values of each type, put into an empty variant

AMF_RESULT PutBool(AMFVariantStruct* pDest, bool bValue)
{
    pDest->type = AMF_VARIANT_BOOL;
    pDest->boolValue = bValue;
    return AMF_OK;
}

AMF_RESULT PutInt64(AMFVariantStruct* pDest, std::int64_t nValue)
{
    pDest->type = AMF_VARIANT_INT64;
    pDest->int64Value = nValue;
    return AMF_OK;
}

AMF_RESULT PutDouble(AMFVariantStruct* pDest, double dValue)
{
    pDest->type = AMF_VARIANT_DOUBLE;
    pDest->doubleValue = dValue;
    return AMF_OK;
}

// A copy of the text, as String or WString. The text has ASCII characters only.
AMF_RESULT PutText(AMFVariantStruct* pDest, AMF_VARIANT_TYPE eNewType, const char* pszText)
{
    pDest->type = eNewType;
    if (eNewType == AMF_VARIANT_STRING)
        pDest->stringValue = CopyText(pszText);
    else
        pDest->wstringValue = *pszText != '\0' ? WideText(pszText) : CopyText(L"");
    return AMF_OK;
}

bool IsText(AMF_VARIANT_TYPE eType)
{
    return eType == AMF_VARIANT_STRING || eType == AMF_VARIANT_WSTRING;
}

constexpr std::size_t PAIR_CHARACTERS = 32;

AMF_RESULT PutPairText(AMFVariantStruct* pDest, AMF_VARIANT_TYPE eNewType, std::int32_t nFirst, std::int32_t nSecond)
{
    if (!IsText(eNewType)) return AMF_INVALID_ARG;
    char achText[PAIR_CHARACTERS];
    std::snprintf(achText, sizeof achText, "%d,%d", static_cast<int>(nFirst), static_cast<int>(nSecond));
    return PutText(pDest, eNewType, achText);
}

AMF_RESULT PutFourText(AMFVariantStruct* pDest, AMF_VARIANT_TYPE eNewType, const std::int32_t (&anValues)[4])
{
    if (!IsText(eNewType)) return AMF_INVALID_ARG;
    char achText[2 * PAIR_CHARACTERS];
    std::snprintf(achText, sizeof achText, "%d,%d,%d,%d", static_cast<int>(anValues[0]), static_cast<int>(anValues[1]),
                  static_cast<int>(anValues[2]), static_cast<int>(anValues[3]));
    return PutText(pDest, eNewType, achText);
}

// --- from each type; the destination is empty, and stays so where there is no conversion

AMF_RESULT FromEmpty(AMFVariantStruct* pDest, AMF_VARIANT_TYPE eNewType)
{
    switch (eNewType)
    {
    case AMF_VARIANT_BOOL:
        return PutBool(pDest, false);
    case AMF_VARIANT_INT64:
        return PutInt64(pDest, 0);
    case AMF_VARIANT_DOUBLE:
        return PutDouble(pDest, 0.0);
    case AMF_VARIANT_STRING:
    case AMF_VARIANT_WSTRING:
        return PutText(pDest, eNewType, "");
    default:
        return AMF_INVALID_ARG;
    }
}

AMF_RESULT FromBool(AMFVariantStruct* pDest, bool bValue, AMF_VARIANT_TYPE eNewType)
{
    switch (eNewType)
    {
    case AMF_VARIANT_INT64:
        return PutInt64(pDest, bValue ? 1 : 0);
    case AMF_VARIANT_DOUBLE:
        return PutDouble(pDest, bValue ? 1.0 : 0.0);
    case AMF_VARIANT_STRING:
    case AMF_VARIANT_WSTRING:
        return PutText(pDest, eNewType, bValue ? "true" : "false");
    default:
        return AMF_INVALID_ARG;
    }
}

AMF_RESULT FromInt64(AMFVariantStruct* pDest, std::int64_t nValue, AMF_VARIANT_TYPE eNewType)
{
    char achText[PAIR_CHARACTERS];
    switch (eNewType)
    {
    case AMF_VARIANT_BOOL:
        return PutBool(pDest, nValue != 0);
    case AMF_VARIANT_DOUBLE:
        return PutDouble(pDest, static_cast<double>(nValue));
    case AMF_VARIANT_STRING:
    case AMF_VARIANT_WSTRING:
        std::snprintf(achText, sizeof achText, "%" PRId64, nValue);
        return PutText(pDest, eNewType, achText);
    default:
        return AMF_INVALID_ARG;
    }
}

AMF_RESULT PutTruncated(AMFVariantStruct* pDest, double dValue)
{
    // 2^63 and its negative are exact in a double. No comparison holds for a number that isn't one.
    constexpr double LIMIT = 9223372036854775808.0;
    if (dValue >= -LIMIT && dValue < LIMIT) return PutInt64(pDest, static_cast<std::int64_t>(dValue));
    PutInt64(pDest, 0);
    return AMF_INVALID_ARG;
}

// There is no conversion to WString, unlike for every other type that has a text. That is part of the design.
AMF_RESULT FromDouble(AMFVariantStruct* pDest, double dValue, AMF_VARIANT_TYPE eNewType)
{
    char achText[512];  // the largest has 309 digits before the point
    switch (eNewType)
    {
    case AMF_VARIANT_BOOL:
        return PutBool(pDest, dValue != 0.0);
    case AMF_VARIANT_INT64:
        return PutTruncated(pDest, dValue);
    case AMF_VARIANT_STRING:
        std::snprintf(achText, sizeof achText, "%lf", dValue);
        return PutText(pDest, eNewType, achText);
    default:
        return AMF_INVALID_ARG;
    }
}

// --- from texts

AMF_RESULT ReadResult(bool bRead)
{
    return bRead ? AMF_OK : AMF_INVALID_ARG;
}

bool IsOneOf(const char* pszText, const char* const (&apszWords)[4])
{
    for (const char* pszWord : apszWords)
    {
        if (std::strcmp(pszText, pszWord) == 0) return true;
    }
    return false;
}

AMF_RESULT PutReadBool(AMFVariantStruct* pDest, const char* pszText)
{
    static constexpr const char* TRUE_WORDS[4] = {"true", "True", "TRUE", "1"};
    static constexpr const char* FALSE_WORDS[4] = {"false", "False", "FALSE", "0"};
    const bool bTrue = IsOneOf(pszText, TRUE_WORDS);
    PutBool(pDest, bTrue);
    return ReadResult(bTrue || IsOneOf(pszText, FALSE_WORDS));
}

AMF_RESULT PutReadInt64(AMFVariantStruct* pDest, const char* pszText)
{
    std::uint64_t uiValue = 0;
    std::int64_t nValue = 0;
    bool bRead = false;
    if (std::strlen(pszText) >= 3 && std::strncmp(pszText, "0x", 2) == 0)
    {
        bRead = std::sscanf(pszText, "0x%" SCNx64, &uiValue) > 0;
        nValue = static_cast<std::int64_t>(uiValue);
    }
    else
    {
        bRead = std::sscanf(pszText, "%" SCNd64, &nValue) > 0;
    }
    PutInt64(pDest, nValue);
    return ReadResult(bRead);
}

AMF_RESULT PutReadDouble(AMFVariantStruct* pDest, const char* pszText)
{
    double dValue = 0.0;
    const bool bRead = std::sscanf(pszText, "%lf", &dValue) > 0;
    PutDouble(pDest, dValue);
    return ReadResult(bRead);
}

AMF_RESULT PutReadRect(AMFVariantStruct* pDest, const char* pszText)
{
    int anRead[4] = {};
    const bool bRead = std::sscanf(pszText, "%d,%d,%d,%d", &anRead[0], &anRead[1], &anRead[2], &anRead[3]) > 0;
    pDest->type = AMF_VARIANT_RECT;
    pDest->rectValue = {anRead[0], anRead[1], anRead[2], anRead[3]};
    return ReadResult(bRead);
}

// Size, Point, Rate and Ratio. Of the latter two a negative number keeps its bits.
AMF_RESULT PutReadPair(AMFVariantStruct* pDest, AMF_VARIANT_TYPE eNewType, const char* pszText)
{
    int nFirst = 0;
    int nSecond = 0;
    const bool bRead = std::sscanf(pszText, "%d,%d", &nFirst, &nSecond) > 0;
    const auto uiFirst = static_cast<std::uint32_t>(nFirst);
    const auto uiSecond = static_cast<std::uint32_t>(nSecond);
    pDest->type = eNewType;
    if (eNewType == AMF_VARIANT_SIZE) pDest->sizeValue = {nFirst, nSecond};
    if (eNewType == AMF_VARIANT_POINT) pDest->pointValue = {nFirst, nSecond};
    if (eNewType == AMF_VARIANT_RATE) pDest->rateValue = {uiFirst, uiSecond};
    if (eNewType == AMF_VARIANT_RATIO) pDest->ratioValue = {uiFirst, uiSecond};
    return ReadResult(bRead);
}

// The low byte of each number.
AMF_RESULT PutReadColor(AMFVariantStruct* pDest, const char* pszText)
{
    unsigned auiRead[4] = {0, 0, 0, 255};
    const bool bRead = std::sscanf(pszText, "%u,%u,%u,%u", &auiRead[0], &auiRead[1], &auiRead[2], &auiRead[3]) > 0;
    pDest->type = AMF_VARIANT_COLOR;
    pDest->colorValue = {static_cast<std::uint8_t>(auiRead[0]), static_cast<std::uint8_t>(auiRead[1]),
                         static_cast<std::uint8_t>(auiRead[2]), static_cast<std::uint8_t>(auiRead[3])};
    return ReadResult(bRead);
}

AMF_RESULT FromString(AMFVariantStruct* pDest, const char* pszSource, AMF_VARIANT_TYPE eNewType)
{
    const char* const pszText = pszSource != nullptr ? pszSource : "";
    switch (eNewType)
    {
    case AMF_VARIANT_BOOL:
        return PutReadBool(pDest, pszText);
    case AMF_VARIANT_INT64:
        return PutReadInt64(pDest, pszText);
    case AMF_VARIANT_DOUBLE:
        return PutReadDouble(pDest, pszText);
    case AMF_VARIANT_RECT:
        return PutReadRect(pDest, pszText);
    case AMF_VARIANT_SIZE:
    case AMF_VARIANT_POINT:
    case AMF_VARIANT_RATE:
    case AMF_VARIANT_RATIO:
        return PutReadPair(pDest, eNewType, pszText);
    case AMF_VARIANT_COLOR:
        return PutReadColor(pDest, pszText);
    case AMF_VARIANT_WSTRING:
        pDest->type = AMF_VARIANT_WSTRING;
        pDest->wstringValue = WideText(pszText);
        return AMF_OK;
    default:
        return AMF_INVALID_ARG;
    }
}

AMF_RESULT FromWString(AMFVariantStruct* pDest, const wchar_t* pwszSource, AMF_VARIANT_TYPE eNewType)
{
    char* const pszText = Utf8Text(pwszSource);
    if (eNewType == AMF_VARIANT_STRING)
    {
        pDest->type = AMF_VARIANT_STRING;
        pDest->stringValue = pszText;
        return AMF_OK;
    }
    const AMF_RESULT eResult = FromString(pDest, pszText, eNewType);
    CoTaskMemFree(pszText);
    return eResult;
}

}  // namespace

AMF_RESULT AMFVariantClear(AMFVariantStruct* pVariant)
{
    if (pVariant == nullptr) return AMF_INVALID_POINTER;
    if (pVariant->type == AMF_VARIANT_STRING) CoTaskMemFree(pVariant->stringValue);
    if (pVariant->type == AMF_VARIANT_WSTRING) CoTaskMemFree(pVariant->wstringValue);
    if (pVariant->type == AMF_VARIANT_INTERFACE && pVariant->pInterface != nullptr) pVariant->pInterface->Release();
    pVariant->type = AMF_VARIANT_EMPTY;
    return AMF_OK;
}

AMF_RESULT AMFVariantCopy(AMFVariantStruct* pDest, const AMFVariantStruct* pSource)
{
    if (pDest == nullptr || pSource == nullptr) return AMF_INVALID_POINTER;
    if (pDest == pSource) return AMF_OK;
    AMFVariantClear(pDest);
    if (pSource->type < AMF_VARIANT_EMPTY || pSource->type > AMF_VARIANT_INTERFACE) return AMF_INVALID_ARG;

    *pDest = *pSource;
    if (pSource->type == AMF_VARIANT_STRING) pDest->stringValue = CopyText(pSource->stringValue);
    if (pSource->type == AMF_VARIANT_WSTRING) pDest->wstringValue = CopyText(pSource->wstringValue);
    if (pSource->type == AMF_VARIANT_INTERFACE && pSource->pInterface != nullptr) pSource->pInterface->Acquire();
    return AMF_OK;
}

AMF_RESULT AMFVariantChangeType(AMFVariantStruct* pDest, const AMFVariantStruct* pSource, AMF_VARIANT_TYPE eNewType)
{
    if (pDest == nullptr) return AMF_INVALID_POINTER;
    if (pSource == nullptr) pSource = pDest;
    if (pSource->type == eNewType) return pSource == pDest ? AMF_OK : AMFVariantCopy(pDest, pSource);

    // Before the source is read: a variant that is converted into itself is empty then. That is part of the design.
    AMFVariantClear(pDest);
    switch (pSource->type)
    {
    case AMF_VARIANT_EMPTY:
        return FromEmpty(pDest, eNewType);
    case AMF_VARIANT_BOOL:
        return FromBool(pDest, pSource->boolValue, eNewType);
    case AMF_VARIANT_INT64:
        return FromInt64(pDest, pSource->int64Value, eNewType);
    case AMF_VARIANT_DOUBLE:
        return FromDouble(pDest, pSource->doubleValue, eNewType);
    case AMF_VARIANT_RECT: {
        const AMFRect& rect = pSource->rectValue;
        return PutFourText(pDest, eNewType, {rect.left, rect.top, rect.right, rect.bottom});
    }
    case AMF_VARIANT_SIZE:
        return PutPairText(pDest, eNewType, pSource->sizeValue.width, pSource->sizeValue.height);
    case AMF_VARIANT_POINT:
        return PutPairText(pDest, eNewType, pSource->pointValue.x, pSource->pointValue.y);
    case AMF_VARIANT_RATE:
        return PutPairText(pDest, eNewType, static_cast<std::int32_t>(pSource->rateValue.num),
                           static_cast<std::int32_t>(pSource->rateValue.den));
    case AMF_VARIANT_RATIO:
        return PutPairText(pDest, eNewType, static_cast<std::int32_t>(pSource->ratioValue.num),
                           static_cast<std::int32_t>(pSource->ratioValue.den));
    case AMF_VARIANT_COLOR: {
        const AMFColor& color = pSource->colorValue;
        return PutFourText(pDest, eNewType, {color.r, color.g, color.b, color.a});
    }
    case AMF_VARIANT_STRING:
        return FromString(pDest, pSource->stringValue, eNewType);
    case AMF_VARIANT_WSTRING:
        return FromWString(pDest, pSource->wstringValue, eNewType);
    default:
        return AMF_INVALID_ARG;
    }
}
