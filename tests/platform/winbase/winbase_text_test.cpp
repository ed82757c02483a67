#include <string>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

std::wstring Widen(const std::string& text, DWORD dwFlags = 0)
{
    wchar_t wsz[64] = {};
    const int n = MultiByteToWideChar(CP_UTF8, dwFlags, text.data(), static_cast<int>(text.size()), wsz, 64);
    return {wsz, wsz + n};
}

std::string Narrow(const std::wstring& text, DWORD dwFlags = 0)
{
    char sz[64] = {};
    const int n =
        WideCharToMultiByte(CP_UTF8, dwFlags, text.data(), static_cast<int>(text.size()), sz, 64, nullptr, nullptr);
    return {sz, sz + n};
}

TEST(WinbaseText, Utf8AndWideTextAreTurnedIntoEachOther)
{
    const std::string utf8 = "Az\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::wstring wide = L"Az\u00e9\u20ac\U0001F600";
    EXPECT_EQ(Widen(utf8), wide);
    EXPECT_EQ(Narrow(wide), utf8);
}

TEST(WinbaseText, ACountOfMinusOneTakesTheNulToo)
{
    wchar_t wsz[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, wsz, 8), 4);
    EXPECT_STREQ(wsz, L"abc");
    char sz[8] = {};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\u20ac", -1, nullptr, 0, nullptr, nullptr), 4);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\u20ac", -1, sz, 8, nullptr, nullptr), 4);
    EXPECT_STREQ(sz, "\xE2\x82\xAC");
}

TEST(WinbaseText, TooSmallATargetIsRefused)
{
    wchar_t wsz[3] = {};
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abcd", 4, wsz, 3), 0); }),
              static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    char sz[3] = {};
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"abcd", 4, sz, 3, nullptr, nullptr), 0); }),
              static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST(WinbaseText, MalformedUtf8BecomesTheReplacementCharacter)
{
    EXPECT_EQ(Widen("a\xFFz"), L"a\uFFFDz");
    EXPECT_EQ(Widen("a\x80z"), L"a\uFFFDz");
    EXPECT_EQ(Widen("a\xE2\x82"), L"a\uFFFD");
}

TEST(WinbaseText, MalformedUtf8IsRefusedWhenAsked)
{
    for (const char* psz : {"\xFF", "\x80", "\xE2\x82", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE0\x80\x80",
                            "\xF0\x80\x80\x80", "\xC3z"})
    {
        wchar_t wsz[16] = {};
        EXPECT_EQ(LastErrorOf([&] {
                      EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, psz, -1, wsz, 16), 0) << psz;
                  }),
                  static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
    }
    EXPECT_EQ(Widen("\xF4\x8F\xBF\xBF\xEF\xBF\xBD\xED\x9F\xBF", MB_ERR_INVALID_CHARS), L"\U0010FFFF\uFFFD\uD7FF");
}

TEST(WinbaseText, LoneSurrogateIsRefusedWhenAsked)
{
    const wchar_t wsz[] = {L'a', static_cast<wchar_t>(0xD800), L'z'};
    char sz[16] = {};
    EXPECT_EQ(LastErrorOf([&] {
                  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wsz, 3, sz, 16, nullptr, nullptr), 0);
              }),
              static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
    EXPECT_EQ(Narrow({wsz, wsz + 3}), "a\xEF\xBF\xBDz");
}

TEST(WinbaseText, ImpossibleArgumentsAreRefused)
{
    wchar_t wsz[4] = {};
    char sz[4] = {};
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, nullptr, 1, wsz, 4), 0); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a", 0, wsz, 4), 0); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(MultiByteToWideChar(54321, 0, "a", 1, wsz, 4), 0); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"a", 0, sz, 4, nullptr, nullptr), 0); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
