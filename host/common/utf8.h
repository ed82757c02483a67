// UTF-8 to and from the system's wide text, which is UTF-16 on Windows and UTF-32 elsewhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

inline constexpr char32_t UTF_REPLACEMENT = 0xFFFD;
inline constexpr bool UTF_WIDE_IS_16_BIT = sizeof(wchar_t) == 2;

constexpr bool IsUnicodeScalar(char32_t ch) noexcept
{
    return ch < 0xD800 || (ch > 0xDFFF && ch <= 0x10FFFF);
}

// One character of narrow text.
struct SUtf8Character
{
    char32_t m_ch;
    std::size_t m_uiBytes;  // its length
};

// Decodes the character at pszText, which has at least one byte and at most uiAvailable. A byte that begins no
// well-formed sequence is a character of its own, U+FFFD, so one wrong byte never affects its neighbours.
inline SUtf8Character DecodeUtf8(const char* pszText, std::size_t uiAvailable) noexcept
{
    const auto byteAt = [pszText](std::size_t i) { return static_cast<unsigned char>(pszText[i]); };
    const unsigned char uiLead = byteAt(0);
    if (uiLead < 0x80) return {uiLead, 1};

    const std::size_t uiLength = uiLead < 0xC2 ? 0 : uiLead < 0xE0 ? 2 : uiLead < 0xF0 ? 3 : uiLead < 0xF5 ? 4 : 0;
    if (uiLength == 0 || uiLength > uiAvailable) return {UTF_REPLACEMENT, 1};

    char32_t ch = uiLead & (0x7Fu >> uiLength);
    for (std::size_t i = 1; i < uiLength; ++i)
    {
        if ((byteAt(i) & 0xC0) != 0x80) return {UTF_REPLACEMENT, 1};
        ch = (ch << 6) | (byteAt(i) & 0x3Fu);
    }
    // Two-byte forms that are too long were refused by their first byte; these are the others.
    const char32_t chLeast = uiLength == 3 ? 0x800 : uiLength == 4 ? 0x10000 : 0x80;
    if (ch < chLeast || !IsUnicodeScalar(ch)) return {UTF_REPLACEMENT, 1};
    return {ch, uiLength};
}

// The number of wide units of a character: 2 for a surrogate pair.
constexpr std::size_t WideLength(char32_t ch) noexcept
{
    return UTF_WIDE_IS_16_BIT && ch > 0xFFFF ? 2 : 1;
}

// Stores a character's wide units and returns the place after them.
inline wchar_t* StoreWide(wchar_t* pwsz, char32_t ch) noexcept
{
    if (WideLength(ch) == 2)
    {
        *pwsz++ = static_cast<wchar_t>(0xD7C0 + (ch >> 10));
        *pwsz++ = static_cast<wchar_t>(0xDC00 + (ch & 0x3FF));
        return pwsz;
    }
    *pwsz++ = static_cast<wchar_t>(ch);
    return pwsz;
}

// Appends the bytes of a character. False, with nothing appended, for what isn't one.
inline bool AppendUtf8(std::string& strText, char32_t ch)
{
    if (!IsUnicodeScalar(ch)) return false;
    const auto appendTail = [&strText, ch](int nShift) {
        strText.push_back(static_cast<char>(0x80 | ((ch >> nShift) & 0x3F)));
    };
    if (ch < 0x80)
    {
        strText.push_back(static_cast<char>(ch));
    }
    else if (ch < 0x800)
    {
        strText.push_back(static_cast<char>(0xC0 | (ch >> 6)));
        appendTail(0);
    }
    else if (ch < 0x10000)
    {
        strText.push_back(static_cast<char>(0xE0 | (ch >> 12)));
        appendTail(6);
        appendTail(0);
    }
    else
    {
        strText.push_back(static_cast<char>(0xF0 | (ch >> 18)));
        appendTail(12);
        appendTail(6);
        appendTail(0);
    }
    return true;
}
