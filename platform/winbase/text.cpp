#include "platform/winbase/text.h"

#include <algorithm>

#include "platform/winbase/last_error.h"

namespace winbase
{
namespace
{

constexpr char32_t c_replacement = 0xFFFD;

bool IsScalarValue(char32_t c)
{
    return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

bool IsContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// What a first byte says: the length of the sequence, the bits of the byte itself, and the range of the second byte,
// which shuts out overlong forms, surrogates and what is above U+10FFFF. Length 0 is no first byte.
struct Lead
{
    std::size_t nLength;
    char32_t bits;
    unsigned char uiSecondMin = 0x80;
    unsigned char uiSecondMax = 0xBF;
};

Lead LeadOf(unsigned char byte)
{
    if (byte < 0x80)
    {
        return {1, byte};
    }
    if (byte >= 0xC2 && byte <= 0xDF)
    {
        return {2, byte & 0x1FU};
    }
    if ((byte & 0xF0) == 0xE0)
    {
        return {3, byte & 0x0FU, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    }
    if (byte >= 0xF0 && byte <= 0xF4)
    {
        return {4, byte & 0x07U, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    }
    return {0, 0};
}

// Decodes the sequence at the front of text. *pnUsed is its length, or that of the malformed part to be passed over.
char32_t DecodeFirst(std::string_view text, std::size_t* pnUsed, bool* pbMalformed)
{
    const Lead lead = LeadOf(static_cast<unsigned char>(text[0]));
    char32_t c = lead.bits;
    std::size_t n = 1;
    for (; n < lead.nLength && n < text.size(); ++n)
    {
        const auto byte = static_cast<unsigned char>(text[n]);
        if (!IsContinuation(byte) || (n == 1 && (byte < lead.uiSecondMin || byte > lead.uiSecondMax)))
        {
            break;
        }
        c = (c << 6) | (byte & 0x3FU);
    }
    *pnUsed = n;
    if (n == lead.nLength)
    {
        return c;
    }
    *pbMalformed = true;
    return c_replacement;
}

void AppendUtf8(std::string& target, char32_t c)
{
    if (c < 0x80)
    {
        target += static_cast<char>(c);
        return;
    }
    const int nTrailing = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr unsigned char c_aLeads[] = {0, 0xC0, 0xE0, 0xF0};
    target += static_cast<char>(c_aLeads[nTrailing] | (c >> (6 * nTrailing)));
    for (int i = nTrailing - 1; i >= 0; --i)
    {
        target += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
    }
}

// Hands a converted text to a caller's buffer as both conversions of the interface do.
template <typename Char>
int Deliver(const std::basic_string<Char>& text, Char* pTarget, int nTarget)
{
    if (nTarget == 0)
    {
        return static_cast<int>(text.size());
    }
    if (text.size() > static_cast<std::size_t>(nTarget))
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::copy(text.begin(), text.end(), pTarget);
    return static_cast<int>(text.size());
}

// The text that a pointer and a count mean, the nul included for a count of -1.
template <typename Char>
std::basic_string_view<Char> SourceText(const Char* pSource, int nSource)
{
    return {pSource, nSource < 0 ? std::char_traits<Char>::length(pSource) + 1 : static_cast<std::size_t>(nSource)};
}

bool IsConversion(UINT uiCodePage, const void* pSource, int nSource, const void* pTarget, int nTarget)
{
    const bool bKnown = uiCodePage == CP_UTF8 || uiCodePage == CP_ACP;
    return bKnown && pSource && nSource != 0 && nSource >= -1 && nTarget >= 0 && (pTarget || nTarget == 0) &&
           pSource != pTarget;
}

}  // namespace

std::wstring WideFromUtf8(std::string_view text, bool* pbMalformed)
{
    bool bMalformed = false;
    std::wstring wide;
    while (!text.empty())
    {
        std::size_t nUsed = 0;
        wide += static_cast<wchar_t>(DecodeFirst(text, &nUsed, &bMalformed));
        text.remove_prefix(nUsed);
    }
    if (pbMalformed)
    {
        *pbMalformed = bMalformed;
    }
    return wide;
}

std::string Utf8FromWide(std::wstring_view text, bool* pbMalformed)
{
    bool bMalformed = false;
    std::string narrow;
    for (const wchar_t wc : text)
    {
        const auto c = static_cast<char32_t>(wc);
        bMalformed = bMalformed || !IsScalarValue(c);
        AppendUtf8(narrow, IsScalarValue(c) ? c : c_replacement);
    }
    if (pbMalformed)
    {
        *pbMalformed = bMalformed;
    }
    return narrow;
}

}  // namespace winbase

using namespace winbase;

int WINAPI MultiByteToWideChar(UINT uiCodePage, DWORD dwFlags, LPCCH lpSource, int cbSource, LPWSTR lpTarget,
                               int cchTarget)
{
    if (!IsConversion(uiCodePage, lpSource, cbSource, lpTarget, cchTarget))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return WithoutExceptions(0, [&] {
        bool bMalformed = false;
        const std::wstring wide = WideFromUtf8(SourceText(lpSource, cbSource), &bMalformed);
        if (bMalformed && (dwFlags & MB_ERR_INVALID_CHARS))
        {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        }
        return Deliver(wide, lpTarget, cchTarget);
    });
}

int WINAPI WideCharToMultiByte(UINT uiCodePage, DWORD dwFlags, LPCWCH lpSource, int cchSource, LPSTR lpTarget,
                               int cbTarget, LPCCH lpDefaultChar, LPBOOL lpUsedDefaultChar)
{
    if (!IsConversion(uiCodePage, lpSource, cchSource, lpTarget, cbTarget) || lpDefaultChar || lpUsedDefaultChar)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return WithoutExceptions(0, [&] {
        bool bMalformed = false;
        const std::string narrow = Utf8FromWide(SourceText(lpSource, cchSource), &bMalformed);
        if (bMalformed && (dwFlags & WC_ERR_INVALID_CHARS))
        {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        }
        return Deliver(narrow, lpTarget, cbTarget);
    });
}
