#include "hostapi/hostcore.h"

#include <gtest/gtest.h>

#include <string>

TEST(StringA, IsNeverNull)
{
    CQmStringA str;
    EXPECT_STREQ(str, "");
    str = "MP4";
    EXPECT_STREQ(str.GetString(), "MP4");
    str = nullptr;
    EXPECT_STREQ(str, "");
}

TEST(StringA, CopiesAreIndependent)
{
    CQmStringA str;
    str = "one";
    const CQmStringA copy(str);
    CQmStringA assigned;
    assigned = str;
    str = "two";
    EXPECT_STREQ(copy, "one");
    EXPECT_STREQ(assigned, "one");
}

TEST(StringW, IsNeverNull)
{
    EXPECT_STREQ(CQmStringW(), L"");
    EXPECT_STREQ(CQmStringW(static_cast<const wchar_t*>(nullptr)), L"");
    EXPECT_STREQ(CQmStringW(static_cast<const char*>(nullptr), 0), L"");
    EXPECT_STREQ(CQmStringW(static_cast<const char*>(nullptr), 5), L"");
    CQmStringW str(L"text");
    str = static_cast<const wchar_t*>(nullptr);
    EXPECT_STREQ(str, L"");
}

TEST(StringW, CopiesAreIndependent)
{
    CQmStringW str(L"one");
    const CQmStringW copy(str);
    CQmStringW assigned(L"something longer");
    assigned = str;
    str = L"two";
    EXPECT_STREQ(copy, L"one");
    EXPECT_STREQ(assigned, L"one");
    EXPECT_STREQ(str.GetString(), L"two");
}

TEST(StringW, IsAssignedItselfAndItsOwnTail)
{
    CQmStringW str(L"0123456789");
    const CQmStringW& self = str;
    str = self;
    EXPECT_STREQ(str, L"0123456789");
    str = str.GetString() + 7;
    EXPECT_STREQ(str, L"789");
}

TEST(StringW, EmptyRemovesTheText)
{
    CQmStringW str(L"text");
    str.Empty();
    EXPECT_STREQ(str, L"");
    str.Empty();
    EXPECT_STREQ(str, L"");
    str = L"again";
    EXPECT_STREQ(str, L"again");
}

TEST(StringW, DiffersFromOtherText)
{
    const CQmStringW str(L"AcqTimesCache");
    EXPECT_FALSE(str != L"AcqTimesCache");
    EXPECT_TRUE(str != L"AcqTimesCach");
    EXPECT_TRUE(str != L"acqTimesCache");
    EXPECT_TRUE(str != nullptr);
    EXPECT_FALSE(CQmStringW() != nullptr);
    EXPECT_FALSE(CQmStringW() != L"");
}

TEST(StringW, WidensUtf8UpToTheNulOrTheLength)
{
    EXPECT_STREQ(CQmStringW("plain", 0), L"plain");
    EXPECT_STREQ(CQmStringW("plain", 3), L"pla");
    EXPECT_STREQ(CQmStringW("plain", 5), L"plain");
    EXPECT_STREQ(CQmStringW("pl\0in", 5), L"pl");
    EXPECT_STREQ(CQmStringW("\xC3\xA4\xE6\x97\xA5\xF0\x9F\x98\x80!", 0), L"\u00e4\u65e5\U0001F600!");
    EXPECT_STREQ(CQmStringW("\xEF\xBF\xBF\xF4\x8F\xBF\xBF", 0), L"\uFFFF\U0010FFFF");
}

TEST(StringW, WidensNoMoreBytesThanItsLength)
{
    const char achText[3] = {'a', 'b', 'c'};  // no nul after it
    EXPECT_STREQ(CQmStringW(achText, 3), L"abc");
}

TEST(StringW, ShowsBytesThatAreNotUtf8AsReplacements)
{
    EXPECT_STREQ(CQmStringW("a\xFFz", 0), L"a\uFFFDz");
    EXPECT_STREQ(CQmStringW("\x80", 0), L"\uFFFD");
    EXPECT_STREQ(CQmStringW("\xE6\x97!", 0), L"\uFFFD\uFFFD!");          // the third byte is missing
    EXPECT_STREQ(CQmStringW("\xE6\x97\xA5", 2), L"\uFFFD\uFFFD");        // cut by the length
    EXPECT_STREQ(CQmStringW("\xC0\xAF", 0), L"\uFFFD\uFFFD");            // '/' in a form that is too long
    EXPECT_STREQ(CQmStringW("\xE0\x80\xAF", 0), L"\uFFFD\uFFFD\uFFFD");  // likewise
    EXPECT_STREQ(CQmStringW("\xF0\x80\x80\xAF", 0), L"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_STREQ(CQmStringW("\xED\xA0\x80", 0), L"\uFFFD\uFFFD\uFFFD");            // half a surrogate pair
    EXPECT_STREQ(CQmStringW("\xF4\x90\x80\x80", 0), L"\uFFFD\uFFFD\uFFFD\uFFFD");  // beyond Unicode
    EXPECT_STREQ(CQmStringW("\xF8\x88\x80\x80\x80", 0), L"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(Translation, IsTheTextItselfWhereThereIsNone)
{
    EXPECT_STREQ(QM_GetTranslation(L"Lowest", "some/context"), L"Lowest");
    EXPECT_STREQ(QM_GetTranslation(L"Lowest", nullptr), L"Lowest");
    EXPECT_STREQ(QM_GetTranslation(nullptr, "some/context"), L"");
}
