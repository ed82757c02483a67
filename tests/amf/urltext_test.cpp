// Text for URLs, and bytes as hexadecimal text.
#include <string>

#include <gtest/gtest.h>

#include "amf/common/urltext.h"

namespace
{

TEST(UrlText, BackslashesBecomeSlashes)
{
    EXPECT_EQ(FormUrl(L"a\\b/c\\", EReserved::All), "a/b/c/");
}

TEST(UrlText, EveryReservedCharacterIsWrittenInHexadecimal)
{
    EXPECT_EQ(FormUrl(L":? %,;@&=+$<>#\"", EReserved::All), "%3A%3F%20%25%2C%3B%40%26%3D%2B%24%3C%3E%23%22");
    EXPECT_EQ(FormUrl(L":? %,;@&=+$<>#\"", EReserved::QueryParts), "%3A%3F%20%25%2C%3B%40&=%2B%24%3C%3E%23%22");
}

TEST(UrlText, ControlCharactersAndBytesFrom7FOnAreWrittenInHexadecimal)
{
    EXPECT_EQ(FormUrl(L"\x01\t\x1F!~\x7F", EReserved::All), "%01%09%1F!~%7F");
    EXPECT_EQ(FormUrl(L"\x0080\x00E4\x20AC", EReserved::QueryParts), "%C2%80%C3%A4%E2%82%AC");
}

TEST(UrlText, AllOtherCharactersStay)
{
    constexpr wchar_t OTHERS[] = L"ABCXYZabcxyz0189!'()*-./[]^_`{|}~";
    EXPECT_EQ(FormUrl(OTHERS, EReserved::All), "ABCXYZabcxyz0189!'()*-./[]^_`{|}~");
}

TEST(UrlText, AnEmptyTextStaysEmpty)
{
    EXPECT_EQ(FormUrl(L"", EReserved::All), "");
    EXPECT_EQ(HexFromBytes(""), "");
    EXPECT_EQ(BytesFromHex(""), "");
}

TEST(HexText, HasTwoUpperCaseDigitsForEachByte)
{
    EXPECT_EQ(HexFromBytes(std::string("\x00\x0A\x7F\x80\xFF", 5)), "000A7F80FF");
}

TEST(HexText, IsReadBack)
{
    std::string strAll;
    for (int i = 0; i < 256; ++i)
    {
        strAll += static_cast<char>(i);
    }
    EXPECT_EQ(BytesFromHex(HexFromBytes(strAll)), strAll);
    EXPECT_EQ(BytesFromHex("0aFf"), "\x0A\xFF");
}

TEST(HexText, WhatIsNoPairOfDigitsGivesNothing)
{
    EXPECT_FALSE(BytesFromHex("0"));
    EXPECT_FALSE(BytesFromHex("000"));
    EXPECT_FALSE(BytesFromHex("0G"));
    EXPECT_FALSE(BytesFromHex(" 1"));
    EXPECT_FALSE(BytesFromHex("-1"));
}

}  // namespace
