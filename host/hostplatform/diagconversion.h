// One conversion of a printf-like format.
#pragma once

#include <optional>

enum class EArgumentLength
{
    Default,
    Char,       // hh
    Short,      // h
    Long,       // l
    SixtyFour,  // ll, I64, j, z, t
    LongDouble  // L
};

// A width or precision: a number, an argument of its own, or none.
struct SFieldNumber
{
    bool m_bGiven = false;
    bool m_bFromArgument = false;
    int m_nValue = 0;
};

struct SDiagConversion
{
    bool m_bLeft = false;       // -
    bool m_bSign = false;       // +
    bool m_bSpace = false;      // space
    bool m_bAlternate = false;  // #
    bool m_bZeros = false;      // 0
    SFieldNumber m_width;
    SFieldNumber m_precision;
    EArgumentLength m_eLength = EArgumentLength::Default;
    char m_chType = 0;                   // the letter at the end
    const wchar_t* m_pwszEnd = nullptr;  // what follows it
};

// Reads what follows a percent sign. Returns nothing for what printf doesn't define: an unknown letter, a length or a
// flag without meaning for the letter, a text that ends too early.
std::optional<SDiagConversion> ParseDiagConversion(const wchar_t* pwszText);

// No line needs wider fields or longer fractions, and a wrong number must not make a line of a gigabyte.
inline constexpr int MAX_FIELD_NUMBER = 65535;
