// Narrow and wide text.
//
// An empty text has no block of its own. So an empty string needs no memory, and a string that finds none is empty.
#include "hostapi/hostcore.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

#include "host/common/utf8.h"

namespace
{

// The block that every empty text points at. It is never written and never freed.
template <typename TChar>
TChar g_chEmpty = 0;

template <typename TChar>
TChar* AllocateText(std::size_t uiLength) noexcept
{
    return static_cast<TChar*>(std::malloc((uiLength + 1) * sizeof(TChar)));
}

template <typename TChar>
TChar* CopyText(const TChar* pszText, std::size_t uiLength) noexcept
{
    TChar* pszCopy = uiLength == 0 ? nullptr : AllocateText<TChar>(uiLength);
    if (pszCopy == nullptr) return &g_chEmpty<TChar>;
    std::memcpy(pszCopy, pszText, uiLength * sizeof(TChar));
    pszCopy[uiLength] = 0;
    return pszCopy;
}

char* CopyText(const char* pszText) noexcept
{
    return CopyText(pszText, pszText == nullptr ? 0 : std::strlen(pszText));
}

wchar_t* CopyText(const wchar_t* pwszText) noexcept
{
    return CopyText(pwszText, pwszText == nullptr ? 0 : std::wcslen(pwszText));
}

template <typename TChar>
void FreeText(TChar* pszText) noexcept
{
    if (pszText != &g_chEmpty<TChar>) std::free(pszText);
}

wchar_t* WidenText(const char* pszText, std::size_t uiBytes) noexcept
{
    wchar_t* pwszWide =
        uiBytes == 0 ? nullptr : AllocateText<wchar_t>(uiBytes);  // no character takes more units than bytes
    if (pwszWide == nullptr) return &g_chEmpty<wchar_t>;
    wchar_t* pwszEnd = pwszWide;
    for (std::size_t i = 0; i < uiBytes;)
    {
        const SUtf8Character character = DecodeUtf8(pszText + i, uiBytes - i);
        pwszEnd = StoreWide(pwszEnd, character.m_ch);
        i += character.m_uiBytes;
    }
    *pwszEnd = L'\0';
    return pwszWide;
}

// The number of bytes before the nul, at most uiLength; 0 for uiLength means no limit.
std::size_t BoundedLength(const char* pszText, std::size_t uiLength) noexcept
{
    if (pszText == nullptr) return 0;
    if (uiLength == 0) return std::strlen(pszText);
    const void* pNul = std::memchr(pszText, 0, uiLength);
    return pNul == nullptr ? uiLength : static_cast<std::size_t>(static_cast<const char*>(pNul) - pszText);
}

}  // namespace

CQmStringA::CQmStringA() : m_pszText(&g_chEmpty<char>) {}

CQmStringA::CQmStringA(const CQmStringA& other) : m_pszText(CopyText(other.m_pszText)) {}

CQmStringA::~CQmStringA()
{
    FreeText(m_pszText);
}

CQmStringA& CQmStringA::operator=(const CQmStringA& other)
{
    return this == &other ? *this : *this = other.m_pszText;
}

CQmStringA& CQmStringA::operator=(const char* pszText)
{
    // The new text may be part of the old one.
    FreeText(std::exchange(m_pszText, CopyText(pszText)));
    return *this;
}

CQmStringA::operator const char*() const
{
    return m_pszText;
}

const char* CQmStringA::GetString() const
{
    return m_pszText;
}

CQmStringW::CQmStringW() : m_pwszText(&g_chEmpty<wchar_t>) {}

CQmStringW::CQmStringW(const CQmStringW& other) : m_pwszText(CopyText(other.m_pwszText)) {}

CQmStringW::CQmStringW(const wchar_t* pwszText) : m_pwszText(CopyText(pwszText)) {}

CQmStringW::CQmStringW(const char* pszText, std::size_t uiLength)
    : m_pwszText(WidenText(pszText, BoundedLength(pszText, uiLength)))
{}

CQmStringW::~CQmStringW()
{
    FreeText(m_pwszText);
}

CQmStringW& CQmStringW::operator=(const CQmStringW& other)
{
    return this == &other ? *this : *this = other.m_pwszText;
}

CQmStringW& CQmStringW::operator=(const wchar_t* pwszText)
{
    // The new text may be part of the old one.
    FreeText(std::exchange(m_pwszText, CopyText(pwszText)));
    return *this;
}

CQmStringW::operator const wchar_t*() const
{
    return m_pwszText;
}

const wchar_t* CQmStringW::GetString() const
{
    return m_pwszText;
}

void CQmStringW::Empty()
{
    FreeText(std::exchange(m_pwszText, &g_chEmpty<wchar_t>));
}

bool operator!=(const CQmStringW& str, const wchar_t* pwszText)
{
    return std::wcscmp(str.GetString(), pwszText == nullptr ? L"" : pwszText) != 0;
}
