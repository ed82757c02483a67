#include "parts/text.h"

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

// U+0041, U+00E9, U+20AC, U+1F600: one, two, three and four bytes in UTF-8.
constexpr const char* MIXED_UTF8 = "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

std::wstring MixedWide()
{
    std::wstring text = L"A\u00E9\u20AC";
    if (sizeof(wchar_t) == 2)
    {
        text += {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    }
    else
    {
        text += static_cast<wchar_t>(0x1F600);
    }
    return text;
}

TEST(Text, Utf8BecomesWide)
{
    EXPECT_EQ(WideFromUtf8(MIXED_UTF8), MixedWide());
    EXPECT_EQ(WideFromUtf8(""), std::wstring());
}

TEST(Text, WideBecomesUtf8)
{
    EXPECT_EQ(Utf8FromWide(MixedWide()), MIXED_UTF8);
}

TEST(Text, EdgesOfTheUtf8Forms)
{
    for (const char* pszEdge : {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
                                "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"})
    {
        const auto wide = WideFromUtf8(pszEdge);
        ASSERT_TRUE(wide) << pszEdge;
        EXPECT_EQ(Utf8FromWide(*wide), pszEdge);
    }
}

TEST(Text, WhatIsNotUtf8IsRefused)
{
    const char* const apszWrong[] = {
        "\x80",              // goes on without a start
        "\xC3",              // ends too early
        "\xE2\x82",          // ends too early
        "\xC3(",             // doesn't go on
        "\xC0\xAF",          // a slash in two bytes
        "\xE0\x80\xAF",      // a slash in three bytes
        "\xF0\x80\x80\xAF",  // a slash in four bytes
        "\xED\xA0\x80",      // half a surrogate pair
        "\xF4\x90\x80\x80",  // above U+10FFFF
        "\xF8\x88\x80\x80\x80",
        "\xFF",
    };
    for (const char* pszWrong : apszWrong)
        EXPECT_FALSE(WideFromUtf8(pszWrong)) << pszWrong;
}

TEST(Text, LoneSurrogateBecomesReplacement)
{
    const std::wstring text = {L'a', static_cast<wchar_t>(0xD83D), L'b'};
    EXPECT_EQ(Utf8FromWide(text), "a\xEF\xBF\xBD"
                                  "b");
    const std::wstring tail = {static_cast<wchar_t>(0xDE00)};
    EXPECT_EQ(Utf8FromWide(tail), "\xEF\xBF\xBD");
}

TEST(Text, PathsKeepTheirText)
{
    EXPECT_EQ(Utf8FromPath(PathFromUtf8(MIXED_UTF8)), MIXED_UTF8);
}

TEST(Text, NumbersAreTheWholeText)
{
    EXPECT_EQ(NumberFromText<std::uint32_t>("4294967295"), 4294967295u);
    EXPECT_EQ(NumberFromText<double>("1e-1"), 0.1);
    for (const char* pszText : {"", " 1", "1 ", "+1", "1x", "x", "-1", "4294967296", "1.5"})
        EXPECT_FALSE(NumberFromText<std::uint32_t>(pszText)) << pszText;
    for (const char* pszText : {"", "1,5", "0x1", "1e999"})
        EXPECT_FALSE(NumberFromText<double>(pszText)) << pszText;
}

TEST(Text, QuotedStaysOneLine)
{
    EXPECT_EQ(Quoted("plain name.mp4"), "'plain name.mp4'");
    EXPECT_EQ(Quoted("two\nlines\t\x7F"), "'two\\x0Alines\\x09\\x7F'");
    EXPECT_EQ(Quoted(MIXED_UTF8), std::string("'") + MIXED_UTF8 + "'");
}

}  // namespace
}  // namespace qmhost
