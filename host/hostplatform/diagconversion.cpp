#include "host/hostplatform/diagconversion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <iterator>
#include <string_view>

namespace
{

constexpr unsigned int LengthBit(EArgumentLength eLength)
{
    return 1u << static_cast<unsigned int>(eLength);
}

template <typename... TLength>
constexpr unsigned int LengthBits(TLength... lengths)
{
    return (LengthBit(lengths) | ...);
}

using enum EArgumentLength;

// Of the types with a letter of their own, only long differs between the systems.
static_assert(sizeof(long long) == 8 && sizeof(std::intmax_t) == 8 && sizeof(std::size_t) == 8 &&
              sizeof(std::ptrdiff_t) == 8);

// What the letters of one kind may have besides a width.
struct SConversionKind
{
    std::string_view m_strTypes;
    std::string_view m_strFlags;
    bool m_bPrecision;
    unsigned int m_uiLengths;
};

constexpr unsigned int INTEGER_LENGTHS = LengthBits(Default, Char, Short, Long, SixtyFour);
constexpr unsigned int FLOAT_LENGTHS = LengthBits(Default, Long, LongDouble);
constexpr unsigned int TEXT_LENGTHS = LengthBits(Default, Short, Long);

constexpr SConversionKind KINDS[] = {
    {"di", "-+ 0", true, INTEGER_LENGTHS},  {"u", "-0", true, INTEGER_LENGTHS},
    {"oxX", "-#0", true, INTEGER_LENGTHS},  {"fFeEgGaA", "-+ #0", true, FLOAT_LENGTHS},
    {"sS", "-", true, TEXT_LENGTHS},        {"cC", "-", false, TEXT_LENGTHS},
    {"p", "-", false, LengthBits(Default)},
};

bool ParseFlag(wchar_t ch, SDiagConversion& conversion)
{
    switch (ch)
    {
    case L'-':
        return conversion.m_bLeft = true;
    case L'+':
        return conversion.m_bSign = true;
    case L' ':
        return conversion.m_bSpace = true;
    case L'#':
        return conversion.m_bAlternate = true;
    case L'0':
        return conversion.m_bZeros = true;
    default:
        return false;
    }
}

const wchar_t* ParseNumber(const wchar_t* pwsz, SFieldNumber& number)
{
    if (*pwsz == L'*')
    {
        number = {true, true, 0};
        return pwsz + 1;
    }
    for (; *pwsz >= L'0' && *pwsz <= L'9'; ++pwsz)
    {
        number.m_bGiven = true;
        number.m_nValue = std::min(number.m_nValue * 10 + static_cast<int>(*pwsz - L'0'), MAX_FIELD_NUMBER);
    }
    return pwsz;
}

const wchar_t* ParseLength(const wchar_t* pwsz, EArgumentLength& eLength)
{
    struct SName
    {
        const wchar_t* m_pwszName;
        EArgumentLength m_eLength;
    };
    static constexpr SName NAMES[] = {{L"hh", Char},     {L"h", Short},       {L"ll", SixtyFour},
                                      {L"l", Long},      {L"I64", SixtyFour}, {L"j", SixtyFour},
                                      {L"z", SixtyFour}, {L"t", SixtyFour},   {L"L", LongDouble}};
    for (const SName& name : NAMES)
    {
        const std::size_t uiLength = std::wcslen(name.m_pwszName);
        if (std::wcsncmp(name.m_pwszName, pwsz, uiLength) == 0)
        {
            eLength = name.m_eLength;
            return pwsz + uiLength;
        }
    }
    return pwsz;
}

bool IsDefined(const SDiagConversion& conversion)
{
    const auto pKind = std::find_if(std::begin(KINDS), std::end(KINDS), [&conversion](const SConversionKind& kind) {
        return kind.m_strTypes.find(conversion.m_chType) != std::string_view::npos;
    });
    if (pKind == std::end(KINDS)) return false;

    const auto isAllowed = [pKind](bool bUsed, char chFlag) {
        return !bUsed || pKind->m_strFlags.find(chFlag) != std::string_view::npos;
    };
    return isAllowed(conversion.m_bLeft, '-') && isAllowed(conversion.m_bSign, '+') &&
           isAllowed(conversion.m_bSpace, ' ') && isAllowed(conversion.m_bAlternate, '#') &&
           isAllowed(conversion.m_bZeros, '0') && (pKind->m_bPrecision || !conversion.m_precision.m_bGiven) &&
           (pKind->m_uiLengths & LengthBit(conversion.m_eLength)) != 0;
}

}  // namespace

std::optional<SDiagConversion> ParseDiagConversion(const wchar_t* pwszText)
{
    SDiagConversion conversion;
    const wchar_t* pwsz = pwszText;
    while (ParseFlag(*pwsz, conversion))
        ++pwsz;
    pwsz = ParseNumber(pwsz, conversion.m_width);
    if (*pwsz == L'.')
    {
        pwsz = ParseNumber(pwsz + 1, conversion.m_precision);
        conversion.m_precision.m_bGiven = true;  // a point alone means 0
    }
    pwsz = ParseLength(pwsz, conversion.m_eLength);
    if (*pwsz <= L' ' || *pwsz > L'~') return std::nullopt;
    conversion.m_chType = static_cast<char>(*pwsz);
    conversion.m_pwszEnd = pwsz + 1;
    if (!IsDefined(conversion)) return std::nullopt;
    return conversion;
}
