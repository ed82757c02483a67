// The system's own wide printf can't be used: the meaning of %s, the set of letters and the treatment of an unknown one
// differ between systems. Here the format is read in one way for all of them, and only numbers go to the system's
// printf, each with a format that is known to be right.
#include "host/hostplatform/diagformat.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <limits>

#include "host/common/utf8.h"
#include "host/hostplatform/diagconversion.h"

namespace
{

constexpr std::size_t NO_LIMIT = std::numeric_limits<std::size_t>::max();

// The arguments that are left. A record, since a va_list can't be passed by reference everywhere.
struct SArguments
{
    std::va_list m_list;
};

// A conversion whose numbers are known.
struct SField
{
    SDiagConversion m_conversion;
    int m_nWidth = 0;       // negative for a field that is filled up on the right
    int m_nPrecision = -1;  // negative for none
};

// Widens up to the nul, or until the next character wouldn't fit uiMaxUnits. Reads no byte after that.
std::wstring WidenUtf8(const char* pszText, std::size_t uiMaxUnits)
{
    constexpr std::size_t LONGEST_SEQUENCE = 4;  // none contains a nul
    std::wstring strWide;
    while (strWide.size() < uiMaxUnits && *pszText != '\0')
    {
        const SUtf8Character character = DecodeUtf8(pszText, LONGEST_SEQUENCE);
        if (WideLength(character.m_ch) > uiMaxUnits - strWide.size()) break;
        wchar_t awchUnits[2];
        strWide.append(awchUnits, StoreWide(awchUnits, character.m_ch));
        pszText += character.m_uiBytes;
    }
    return strWide;
}

std::wstring CopyWide(const wchar_t* pwszText, std::size_t uiMaxUnits)
{
    std::size_t uiLength = 0;
    while (uiLength < uiMaxUnits && pwszText[uiLength] != L'\0')
        ++uiLength;
    return std::wstring(pwszText, uiLength);
}

void AppendPadded(std::wstring& strOut, const std::wstring& strText, int nWidth)
{
    const auto uiWidth = static_cast<std::size_t>(nWidth < 0 ? -nWidth : nWidth);
    const std::size_t uiPadding = uiWidth > strText.size() ? uiWidth - strText.size() : 0;
    if (nWidth >= 0) strOut.append(uiPadding, L' ');
    strOut += strText;
    if (nWidth < 0) strOut.append(uiPadding, L' ');
}

// pszLength is printf's length for TValue.
template <typename TValue>
void AppendNumber(std::wstring& strOut, const SField& field, const char* pszLength, TValue value)
{
    const SDiagConversion& conversion = field.m_conversion;
    std::string strFormat = "%";
    if (conversion.m_bSign) strFormat += '+';
    if (conversion.m_bSpace) strFormat += ' ';
    if (conversion.m_bAlternate) strFormat += '#';
    if (conversion.m_bZeros) strFormat += '0';
    strFormat += "*.*";
    strFormat += pszLength;
    strFormat += conversion.m_chType;

    char achShort[128];
    const int nLength =
        std::snprintf(achShort, sizeof(achShort), strFormat.c_str(), field.m_nWidth, field.m_nPrecision, value);
    if (nLength < 0) return;
    if (static_cast<std::size_t>(nLength) < sizeof(achShort))
    {
        strOut += WidenUtf8(achShort, NO_LIMIT);  // the language's decimal point may be more than one byte
        return;
    }
    std::string strLong(static_cast<std::size_t>(nLength) + 1, '\0');
    std::snprintf(strLong.data(), strLong.size(), strFormat.c_str(), field.m_nWidth, field.m_nPrecision, value);
    strOut += WidenUtf8(strLong.c_str(), NO_LIMIT);
}

// Arguments shorter than an int are passed as an int. The length says what they were.
long long TakeSigned(EArgumentLength eLength, SArguments& arguments)
{
    switch (eLength)
    {
    case EArgumentLength::Char:
        return static_cast<signed char>(va_arg(arguments.m_list, int));
    case EArgumentLength::Short:
        return static_cast<short>(va_arg(arguments.m_list, int));
    case EArgumentLength::Long:
        return va_arg(arguments.m_list, long);
    case EArgumentLength::SixtyFour:
        return va_arg(arguments.m_list, std::int64_t);
    default:
        return va_arg(arguments.m_list, int);
    }
}

unsigned long long TakeUnsigned(EArgumentLength eLength, SArguments& arguments)
{
    switch (eLength)
    {
    case EArgumentLength::Char:
        return static_cast<unsigned char>(va_arg(arguments.m_list, unsigned int));
    case EArgumentLength::Short:
        return static_cast<unsigned short>(va_arg(arguments.m_list, unsigned int));
    case EArgumentLength::Long:
        return va_arg(arguments.m_list, unsigned long);
    case EArgumentLength::SixtyFour:
        return va_arg(arguments.m_list, std::uint64_t);
    default:
        return va_arg(arguments.m_list, unsigned int);
    }
}

// The length, if there is one, decides whether the text is wide; otherwise the letter's case does.
bool IsWideText(const SDiagConversion& conversion)
{
    if (conversion.m_eLength != EArgumentLength::Default) return conversion.m_eLength == EArgumentLength::Long;
    return conversion.m_chType == 's' || conversion.m_chType == 'c';
}

std::wstring TakeText(const SField& field, SArguments& arguments)
{
    const std::size_t uiMaxUnits = field.m_nPrecision < 0 ? NO_LIMIT : static_cast<std::size_t>(field.m_nPrecision);
    if (IsWideText(field.m_conversion))
    {
        const auto* pwszText = va_arg(arguments.m_list, const wchar_t*);
        return CopyWide(pwszText == nullptr ? L"(null)" : pwszText, uiMaxUnits);
    }
    const auto* pszText = va_arg(arguments.m_list, const char*);
    return WidenUtf8(pszText == nullptr ? "(null)" : pszText, uiMaxUnits);
}

std::wstring TakeCharacter(const SField& field, SArguments& arguments)
{
    const int nCharacter = va_arg(arguments.m_list, int);
    if (IsWideText(field.m_conversion)) return std::wstring(1, static_cast<wchar_t>(nCharacter));
    const auto chNarrow = static_cast<char>(nCharacter);
    return std::wstring(1, static_cast<wchar_t>(DecodeUtf8(&chNarrow, 1).m_ch));
}

// One form on every system, since the systems' own printf functions differ.
std::wstring TakePointer(SArguments& arguments)
{
    char achText[2 + 2 * sizeof(void*) + 1];
    std::snprintf(achText, sizeof(achText), "0x%llx",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(va_arg(arguments.m_list, void*))));
    return WidenUtf8(achText, NO_LIMIT);
}

SField TakeFieldNumbers(const SDiagConversion& conversion, SArguments& arguments)
{
    const auto takeNumber = [&arguments](const SFieldNumber& number, int nLimit) {
        if (!number.m_bFromArgument) return number.m_nValue;
        return std::clamp(va_arg(arguments.m_list, int), -nLimit, nLimit);
    };
    SField field;
    field.m_conversion = conversion;
    field.m_nWidth = takeNumber(conversion.m_width, MAX_FIELD_NUMBER);
    if (conversion.m_bLeft && field.m_nWidth > 0) field.m_nWidth = -field.m_nWidth;
    if (conversion.m_precision.m_bGiven)
    {
        // For text the precision is the greatest length.
        const bool bText = conversion.m_chType == 's' || conversion.m_chType == 'S';
        field.m_nPrecision = takeNumber(conversion.m_precision, bText ? INT_MAX : MAX_FIELD_NUMBER);
    }
    return field;
}

void AppendConversion(std::wstring& strOut, const SDiagConversion& conversion, SArguments& arguments)
{
    const SField field = TakeFieldNumbers(conversion, arguments);
    switch (conversion.m_chType)
    {
    case 'd':
    case 'i':
        return AppendNumber(strOut, field, "ll", TakeSigned(conversion.m_eLength, arguments));
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        return AppendNumber(strOut, field, "ll", TakeUnsigned(conversion.m_eLength, arguments));
    case 's':
    case 'S':
        return AppendPadded(strOut, TakeText(field, arguments), field.m_nWidth);
    case 'c':
    case 'C':
        return AppendPadded(strOut, TakeCharacter(field, arguments), field.m_nWidth);
    case 'p':
        return AppendPadded(strOut, TakePointer(arguments), field.m_nWidth);
    default:
        break;
    }
    if (conversion.m_eLength == EArgumentLength::LongDouble)
    {
        return AppendNumber(strOut, field, "L", va_arg(arguments.m_list, long double));
    }
    return AppendNumber(strOut, field, "", va_arg(arguments.m_list, double));
}

}  // namespace

std::wstring FormatDiagText(const wchar_t* pwszFormat, std::va_list args)
{
    std::wstring strOut;
    SArguments arguments;
    va_copy(arguments.m_list, args);
    try
    {
        while (*pwszFormat != L'\0')
        {
            const std::size_t uiPlain = std::wcscspn(pwszFormat, L"%");
            strOut.append(pwszFormat, uiPlain);
            pwszFormat += uiPlain;
            if (*pwszFormat == L'\0') break;

            ++pwszFormat;
            if (*pwszFormat == L'%')
            {
                strOut += *pwszFormat++;
            }
            else if (const auto conversion = ParseDiagConversion(pwszFormat))
            {
                AppendConversion(strOut, *conversion, arguments);
                pwszFormat = conversion->m_pwszEnd;
            }
            else
            {
                strOut += L'%';  // the rest is ordinary text
            }
        }
    }
    catch (...)
    {
        va_end(arguments.m_list);
        throw;
    }
    va_end(arguments.m_list);
    return strOut;
}
