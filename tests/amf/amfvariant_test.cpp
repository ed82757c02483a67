// Variants: what single conversions give, and their failures.
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/short_memory.h"
#include "variants.h"

namespace
{

TEST(AmfVariant, NullPointersGiveSeven)
{
    CVariant variant;
    EXPECT_EQ(AMFVariantClear(nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(AMFVariantCopy(nullptr, &variant), AMF_INVALID_POINTER);
    EXPECT_EQ(AMFVariantCopy(&variant, nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(AMFVariantCopy(nullptr, nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(AMFVariantChangeType(nullptr, &variant, AMF_VARIANT_INT64), AMF_INVALID_POINTER);
    EXPECT_EQ(AMFVariantChangeType(nullptr, nullptr, AMF_VARIANT_INT64), AMF_INVALID_POINTER);
}

TEST(AmfVariant, CopyOntoItselfDoesNothing)
{
    CVariant variant;
    SetString(variant, "text");
    EXPECT_EQ(AMFVariantCopy(&variant, &variant), AMF_OK);
    EXPECT_EQ(Describe(variant), "String 'text'");
}

TEST(AmfVariant, CopyOfATypeAboveTwelveGivesFour)
{
    for (const int nType : {13, 17, 1000})
    {
        AMFVariantStruct source = {};
        source.type = static_cast<AMF_VARIANT_TYPE>(nType);
        CVariant dest;
        SetString(dest, "before");
        EXPECT_EQ(AMFVariantCopy(&dest, &source), AMF_INVALID_ARG);
        EXPECT_EQ(dest.type, AMF_VARIANT_EMPTY);
    }
}

TEST(AmfVariant, SourceOfATypeAboveTwelveHasNoConversion)
{
    AMFVariantStruct source = {};
    source.type = AMF_VARIANT_FLOAT;
    EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "4 Empty");
    EXPECT_EQ(Convert(source, AMF_VARIANT_FLOAT), "4 Empty");
}

TEST(AmfVariant, NullTextsAndInterfacesAreCopiedAsTheyAre)
{
    for (const AMF_VARIANT_TYPE eType : {AMF_VARIANT_STRING, AMF_VARIANT_WSTRING, AMF_VARIANT_INTERFACE})
    {
        AMFVariantStruct source = {};
        source.type = eType;
        CVariant dest;
        EXPECT_EQ(AMFVariantCopy(&dest, &source), AMF_OK);
        EXPECT_EQ(dest.type, eType);
        EXPECT_EQ(dest.pInterface, nullptr);
        EXPECT_EQ(AMFVariantClear(&source), AMF_OK);
    }
}

TEST(AmfVariant, CopyOfAnEmptyTextIsAnEmptyText)
{
    CVariant source;
    CVariant dest;
    SetString(source, "");
    EXPECT_EQ(AMFVariantCopy(&dest, &source), AMF_OK);
    EXPECT_EQ(Describe(dest), "String ''");
    SetWString(source, L"");
    EXPECT_EQ(AMFVariantCopy(&dest, &source), AMF_OK);
    EXPECT_EQ(Describe(dest), "WString ''");
}

TEST(AmfVariant, BoolFalseAndItsTexts)
{
    AMFVariantStruct source = {};
    source.type = AMF_VARIANT_BOOL;
    EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "0 Int64 0");
    EXPECT_EQ(Convert(source, AMF_VARIANT_DOUBLE), "0 Double 0.000000");
    EXPECT_EQ(Convert(source, AMF_VARIANT_STRING), "0 String 'false'");
    EXPECT_EQ(Convert(source, AMF_VARIANT_WSTRING), "0 WString 'false'");
}

TEST(AmfVariant, BoolToRectGivesFour)
{
    AMFVariantStruct source = {};
    source.type = AMF_VARIANT_BOOL;
    EXPECT_EQ(Convert(source, AMF_VARIANT_RECT), "4 Empty");
}

TEST(AmfVariant, NumbersThatAreZeroAreFalse)
{
    CVariant source;
    SetInt64(source, 0);
    EXPECT_EQ(Convert(source, AMF_VARIANT_BOOL), "0 Bool false");
    SetDouble(source, -0.0);
    EXPECT_EQ(Convert(source, AMF_VARIANT_BOOL), "0 Bool false");
    SetDouble(source, 0.25);
    EXPECT_EQ(Convert(source, AMF_VARIANT_BOOL), "0 Bool true");
}

TEST(AmfVariant, TheLargestIntegersHaveTheirTexts)
{
    CVariant source;
    SetInt64(source, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Convert(source, AMF_VARIANT_STRING), "0 String '-9223372036854775808'");
    EXPECT_EQ(Convert(source, AMF_VARIANT_DOUBLE), "0 Double -9223372036854775808.000000");
    SetInt64(source, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Convert(source, AMF_VARIANT_WSTRING), "0 WString '9223372036854775807'");
}

TEST(AmfVariant, DoubleToInt64IsTruncatedTowardsZero)
{
    CVariant source;
    SetDouble(source, 2.9);
    EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "0 Int64 2");
    SetDouble(source, -2.9);
    EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "0 Int64 -2");
    SetDouble(source, -9223372036854775808.0);
    EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "0 Int64 -9223372036854775808");
}

TEST(AmfVariant, DoubleBeyondInt64GivesFourAndZero)
{
    for (const double dValue : {9223372036854775808.0, -9223372036854777856.0, 1e300,
                                std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
    {
        CVariant source;
        SetDouble(source, dValue);
        EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "4 Int64 0") << dValue;
    }
}

TEST(AmfVariant, DoubleToStringHasSixDecimals)
{
    CVariant source;
    SetDouble(source, -0.0000004);
    EXPECT_EQ(Convert(source, AMF_VARIANT_STRING), "0 String '-0.000000'");
    SetDouble(source, 1e20);
    EXPECT_EQ(Convert(source, AMF_VARIANT_STRING), "0 String '100000000000000000000.000000'");
    SetDouble(source, -std::numeric_limits<double>::max());
    CVariant dest;
    EXPECT_EQ(AMFVariantChangeType(&dest, &source, AMF_VARIANT_STRING), AMF_OK);
    EXPECT_EQ(std::string(dest.stringValue).size(), 1U + 309U + 1U + 6U);
}

TEST(AmfVariant, DoubleToWStringGivesFourAndAnEmptyDestination)
{
    CVariant source;
    SetDouble(source, 1.5);
    EXPECT_EQ(Convert(source, AMF_VARIANT_WSTRING), "4 Empty");
}

TEST(AmfVariant, ColorToStringHasItsFourBytes)
{
    AMFVariantStruct source = {};
    source.type = AMF_VARIANT_COLOR;
    source.colorValue = {1, 2, 3, 4};
    EXPECT_EQ(Convert(source, AMF_VARIANT_STRING), "0 String '1,2,3,4'");
}

// --- texts

TEST(AmfVariant, TextToBoolKnowsEightWords)
{
    for (const char* pszText : {"true", "True", "TRUE", "1"})
    {
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_BOOL), "0 Bool true") << pszText;
    }
    for (const char* pszText : {"false", "False", "FALSE", "0"})
    {
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_BOOL), "0 Bool false") << pszText;
    }
    for (const char* pszText : {"yes", "tRUE", "true ", " 1", "2", "01", ""})
    {
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_BOOL), "4 Bool false") << pszText;
    }
    EXPECT_EQ(ConvertWString(L"TRUE", AMF_VARIANT_BOOL), "0 Bool true");
    EXPECT_EQ(ConvertWString(L"yes", AMF_VARIANT_BOOL), "4 Bool false");
}

TEST(AmfVariant, TextToInt64ReadsHexadecimalFromThreeCharactersOn)
{
    EXPECT_EQ(ConvertString("0x10", AMF_VARIANT_INT64), "0 Int64 16");
    EXPECT_EQ(ConvertString("16", AMF_VARIANT_INT64), "0 Int64 16");
    EXPECT_EQ(ConvertString("0x", AMF_VARIANT_INT64), "0 Int64 0");
    EXPECT_EQ(ConvertString("0xFFFFFFFFFFFFFFFF", AMF_VARIANT_INT64), "0 Int64 -1");
    EXPECT_EQ(ConvertString("0xa;", AMF_VARIANT_INT64), "0 Int64 10");
    EXPECT_EQ(ConvertString("0xg", AMF_VARIANT_INT64), "4 Int64 0");
    EXPECT_EQ(ConvertString("0X10", AMF_VARIANT_INT64), "0 Int64 0") << "a capital X is no such prefix";
    EXPECT_EQ(ConvertWString(L"0x10", AMF_VARIANT_INT64), "0 Int64 16");
}

TEST(AmfVariant, TextToInt64StopsAtTheFirstCharacterThatIsNoDigit)
{
    EXPECT_EQ(ConvertString("12abc", AMF_VARIANT_INT64), "0 Int64 12");
    EXPECT_EQ(ConvertString("2.9", AMF_VARIANT_INT64), "0 Int64 2");
    EXPECT_EQ(ConvertString("  -5", AMF_VARIANT_INT64), "0 Int64 -5");
    EXPECT_EQ(ConvertString("-9223372036854775808", AMF_VARIANT_INT64), "0 Int64 -9223372036854775808");
    EXPECT_EQ(ConvertString("abc", AMF_VARIANT_INT64), "4 Int64 0");
    EXPECT_EQ(ConvertString("", AMF_VARIANT_INT64), "4 Int64 0");
    EXPECT_EQ(ConvertWString(L"", AMF_VARIANT_INT64), "4 Int64 0");
}

TEST(AmfVariant, TextToDouble)
{
    EXPECT_EQ(ConvertString("2.5e1x", AMF_VARIANT_DOUBLE), "0 Double 25.000000");
    EXPECT_EQ(ConvertString("-.5", AMF_VARIANT_DOUBLE), "0 Double -0.500000");
    EXPECT_EQ(ConvertString("x", AMF_VARIANT_DOUBLE), "4 Double 0.000000");
    EXPECT_EQ(ConvertString("", AMF_VARIANT_DOUBLE), "4 Double 0.000000");
    EXPECT_EQ(ConvertWString(L"2.5", AMF_VARIANT_DOUBLE), "0 Double 2.500000");
}

TEST(AmfVariant, APartialReadCountsAsRead)
{
    EXPECT_EQ(ConvertString("1,2,3", AMF_VARIANT_RECT), "0 Rect 1 2 3 0");
    EXPECT_EQ(ConvertString("1;2", AMF_VARIANT_SIZE), "0 Size 1 0");
    EXPECT_EQ(ConvertString("1 ,2", AMF_VARIANT_POINT), "0 Point 1 0");
    EXPECT_EQ(ConvertString("1, 2", AMF_VARIANT_POINT), "0 Point 1 2");
    EXPECT_EQ(ConvertString("30", AMF_VARIANT_RATE), "0 Rate 30 0");
    EXPECT_EQ(ConvertString("16,9,4", AMF_VARIANT_RATIO), "0 Ratio 16 9");
    EXPECT_EQ(ConvertString("1,2", AMF_VARIANT_COLOR), "0 Color 1 2 0 255");
    EXPECT_EQ(ConvertWString(L"1,2,3", AMF_VARIANT_RECT), "0 Rect 1 2 3 0");
}

TEST(AmfVariant, AReadThatStoresNothingGivesFourAndTheNewTypeWithZero)
{
    for (const char* pszText : {"", "x", ",1"})
    {
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_RECT), "4 Rect 0 0 0 0");
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_SIZE), "4 Size 0 0");
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_POINT), "4 Point 0 0");
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_RATE), "4 Rate 0 0");
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_RATIO), "4 Ratio 0 0");
        EXPECT_EQ(ConvertString(pszText, AMF_VARIANT_COLOR), "4 Color 0 0 0 255");
    }
    EXPECT_EQ(ConvertWString(L"x", AMF_VARIANT_COLOR), "4 Color 0 0 0 255");
}

TEST(AmfVariant, RateAndRatioReadNegativeNumbersAsTheirBits)
{
    EXPECT_EQ(ConvertString("-1,2", AMF_VARIANT_RATE), "0 Rate 4294967295 2");
    EXPECT_EQ(ConvertString("3,-2", AMF_VARIANT_RATIO), "0 Ratio 3 4294967294");
}

TEST(AmfVariant, ColorReadsTheLowByteOfEachNumber)
{
    EXPECT_EQ(ConvertString("256,257,511,1000", AMF_VARIANT_COLOR), "0 Color 0 1 255 232");
    EXPECT_EQ(ConvertString("-1,0,0,0", AMF_VARIANT_COLOR), "0 Color 255 0 0 0");
}

TEST(AmfVariant, NarrowTextIsUtf8)
{
    EXPECT_EQ(ConvertString("a\xC3\xA4\xE2\x82\xAC", AMF_VARIANT_WSTRING), "0 WString 'a<00E4><20AC>'");
    EXPECT_EQ(ConvertWString(L"a\x00E4\x20AC", AMF_VARIANT_STRING), "0 String 'a\xC3\xA4\xE2\x82\xAC'");
}

TEST(AmfVariant, MalformedUtf8HasReplacementCharacters)
{
    EXPECT_EQ(ConvertString("a\xFFz", AMF_VARIANT_WSTRING), "0 WString 'a<FFFD>z'");
}

TEST(AmfVariant, AnEmptyOrNullTextBecomesANullOne)
{
    EXPECT_EQ(ConvertString("", AMF_VARIANT_WSTRING), "0 WString null");
    EXPECT_EQ(ConvertWString(L"", AMF_VARIANT_STRING), "0 String null");
    AMFVariantStruct source = {};
    source.type = AMF_VARIANT_STRING;
    EXPECT_EQ(Convert(source, AMF_VARIANT_WSTRING), "0 WString null");
    source.type = AMF_VARIANT_WSTRING;
    EXPECT_EQ(Convert(source, AMF_VARIANT_STRING), "0 String null");
}

TEST(AmfVariant, ANullTextReadsAsAnEmptyOne)
{
    for (const AMF_VARIANT_TYPE eType : {AMF_VARIANT_STRING, AMF_VARIANT_WSTRING})
    {
        AMFVariantStruct source = {};
        source.type = eType;
        EXPECT_EQ(Convert(source, AMF_VARIANT_BOOL), "4 Bool false");
        EXPECT_EQ(Convert(source, AMF_VARIANT_INT64), "4 Int64 0");
        EXPECT_EQ(Convert(source, AMF_VARIANT_DOUBLE), "4 Double 0.000000");
        EXPECT_EQ(Convert(source, AMF_VARIANT_RECT), "4 Rect 0 0 0 0");
        EXPECT_EQ(Convert(source, AMF_VARIANT_COLOR), "4 Color 0 0 0 255");
        EXPECT_EQ(Convert(source, AMF_VARIANT_INTERFACE), "4 Empty");
    }
}

// The system's allocator is not the program's own on Windows, where it can't be made short.
TEST(AmfVariant, WithoutMemoryATextIsNull)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "the system's memory can't be made short here";
    const std::string strLong(100000, 'x');
    CVariant source;
    SetString(source, strLong);
    CVariant wideSource;
    SetWString(wideSource, std::wstring(100000, L'x'));
    CVariant copy;
    CVariant wideCopy;
    CVariant wide;
    CVariant narrow;
    const CShortMemory shortage(100000, 10000000);
    EXPECT_EQ(AMFVariantCopy(&copy, &source), AMF_OK);
    EXPECT_EQ(Describe(copy), "String null");
    EXPECT_EQ(AMFVariantCopy(&wideCopy, &wideSource), AMF_OK);
    EXPECT_EQ(Describe(wideCopy), "WString null");
    EXPECT_EQ(AMFVariantChangeType(&wide, &source, AMF_VARIANT_WSTRING), AMF_OK);
    EXPECT_EQ(Describe(wide), "WString null");
    EXPECT_EQ(AMFVariantChangeType(&narrow, &wideSource, AMF_VARIANT_STRING), AMF_OK);
    EXPECT_EQ(Describe(narrow), "String null");
    EXPECT_GE(shortage.GetRefused(), 4U);
}

}  // namespace
