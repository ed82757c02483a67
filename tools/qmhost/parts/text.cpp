#include "parts/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace qmhost
{
namespace
{

constexpr char32_t REPLACEMENT = 0xFFFD;

// The forms of a UTF-8 character by its first byte.
struct Utf8Form
{
    unsigned char m_uiMask;
    unsigned char m_uiLead;
    std::size_t m_uiLength;
    char32_t m_cSmallest;  // anything below has a shorter form
};

constexpr std::array<Utf8Form, 4> UTF8_FORMS = {{
    {0x80, 0x00, 1, 0},
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
}};

bool IsSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDFFF;
}

// Takes one character off the front of text; nothing when what stands there isn't one.
std::optional<char32_t> TakeUtf8(std::string_view& text)
{
    const auto uiLead = static_cast<unsigned char>(text.front());
    const auto pForm = std::find_if(UTF8_FORMS.begin(), UTF8_FORMS.end(),
                                    [&](const Utf8Form& form) { return (uiLead & form.m_uiMask) == form.m_uiLead; });
    if (pForm == UTF8_FORMS.end() || pForm->m_uiLength > text.size()) return std::nullopt;

    char32_t c = uiLead & static_cast<unsigned char>(~pForm->m_uiMask);
    for (std::size_t i = 1; i < pForm->m_uiLength; ++i)
    {
        const auto uiByte = static_cast<unsigned char>(text[i]);
        if ((uiByte & 0xC0) != 0x80) return std::nullopt;
        c = (c << 6) | (uiByte & 0x3F);
    }
    if (c < pForm->m_cSmallest || c > 0x10FFFF || IsSurrogate(c)) return std::nullopt;
    text.remove_prefix(pForm->m_uiLength);
    return c;
}

void AppendWide(std::wstring& out, char32_t c)
{
    if (sizeof(wchar_t) == 2 && c >= 0x10000)
    {
        c -= 0x10000;
        out.push_back(static_cast<wchar_t>(0xD800 + (c >> 10)));
        out.push_back(static_cast<wchar_t>(0xDC00 + (c & 0x3FF)));
        return;
    }
    out.push_back(static_cast<wchar_t>(c));
}

char32_t TakeWide(std::wstring_view& text)
{
    const auto c = static_cast<char32_t>(text.front());
    text.remove_prefix(1);
    if (!IsSurrogate(c)) return c <= 0x10FFFF ? c : REPLACEMENT;
    if (sizeof(wchar_t) != 2 || c >= 0xDC00 || text.empty()) return REPLACEMENT;
    const auto cLow = static_cast<char32_t>(text.front());
    if (cLow < 0xDC00 || cLow > 0xDFFF) return REPLACEMENT;
    text.remove_prefix(1);
    return 0x10000 + ((c - 0xD800) << 10) + (cLow - 0xDC00);
}

void AppendUtf8(std::string& out, char32_t c)
{
    const auto tail = [&](int nShift) { out.push_back(static_cast<char>(0x80 | ((c >> nShift) & 0x3F))); };
    if (c < 0x80)
    {
        out.push_back(static_cast<char>(c));
    }
    else if (c < 0x800)
    {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        tail(0);
    }
    else if (c < 0x10000)
    {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        tail(6);
        tail(0);
    }
    else
    {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        tail(12);
        tail(6);
        tail(0);
    }
}

}  // namespace

std::optional<std::wstring> WideFromUtf8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    while (!text.empty())
    {
        const auto c = TakeUtf8(text);
        if (!c) return std::nullopt;
        AppendWide(out, *c);
    }
    return out;
}

std::string Utf8FromWide(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    while (!text.empty())
        AppendUtf8(out, TakeWide(text));
    return out;
}

std::filesystem::path PathFromUtf8(std::string_view text)
{
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string Utf8FromPath(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::string Quoted(std::string_view text)
{
    static constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string out = "'";
    for (const char c : text)
    {
        const auto uiByte = static_cast<unsigned char>(c);
        if (uiByte < 0x20 || uiByte == 0x7F)
        {
            out += {'\\', 'x', DIGITS[uiByte >> 4], DIGITS[uiByte & 15]};
        }
        else
        {
            out += c;
        }
    }
    return out + "'";
}

}  // namespace qmhost
