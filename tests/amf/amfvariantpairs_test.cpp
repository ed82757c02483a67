// Every pair of types, with and without a conversion.
#include <array>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "variants.h"

namespace
{

constexpr int TYPES = 13;

// One row: the source, what it becomes in the order of the type numbers, each with the result in front.
struct SRow
{
    const char* m_pszSource;
    std::function<void(AMFVariantStruct&)> m_funcSet;
    std::array<const char*, TYPES> m_apszExpected;
};

CountedInterface g_interface;

const SRow ROWS[TYPES] = {
    {"Empty",
     [](AMFVariantStruct&) {},
     {"0 Empty", "0 Bool false", "0 Int64 0", "0 Double 0.000000", "4 Empty", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "4 Empty", "0 String ''", "0 WString ''", "4 Empty"}},
    {"Bool true",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_BOOL;
         v.boolValue = true;
     },
     {"4 Empty", "0 Bool true", "0 Int64 1", "0 Double 1.000000", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "0 String 'true'", "0 WString 'true'", "4 Empty"}},
    {"Int64 -7",
     [](AMFVariantStruct& v) { SetInt64(v, -7); },
     {"4 Empty", "0 Bool true", "0 Int64 -7", "0 Double -7.000000", "4 Empty", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "4 Empty", "0 String '-7'", "0 WString '-7'", "4 Empty"}},
    {"Double 2.900000",
     [](AMFVariantStruct& v) { SetDouble(v, 2.9); },
     {"4 Empty", "0 Bool true", "0 Int64 2", "0 Double 2.900000", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "0 String '2.900000'", "4 Empty", "4 Empty"}},
    {"Rect 1 -2 3 2147483647",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_RECT;
         v.rectValue = {1, -2, 3, 2147483647};
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "0 Rect 1 -2 3 2147483647", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "4 Empty", "0 String '1,-2,3,2147483647'", "0 WString '1,-2,3,2147483647'", "4 Empty"}},
    {"Size 640 -480",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_SIZE;
         v.sizeValue = {640, -480};
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "0 Size 640 -480", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "0 String '640,-480'", "0 WString '640,-480'", "4 Empty"}},
    {"Point -5 6",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_POINT;
         v.pointValue = {-5, 6};
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "0 Point -5 6", "4 Empty", "4 Empty", "4 Empty",
      "0 String '-5,6'", "0 WString '-5,6'", "4 Empty"}},
    {"Rate 30 4294967295",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_RATE;
         v.rateValue = {30, 4294967295};
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "0 Rate 30 4294967295", "4 Empty",
      "4 Empty", "0 String '30,-1'", "0 WString '30,-1'", "4 Empty"}},
    {"Ratio 16 9",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_RATIO;
         v.ratioValue = {16, 9};
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "0 Ratio 16 9", "4 Empty",
      "0 String '16,9'", "0 WString '16,9'", "4 Empty"}},
    {"Color 1 2 3 255",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_COLOR;
         v.colorValue = {1, 2, 3, 255};
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty",
      "0 Color 1 2 3 255", "0 String '1,2,3,255'", "0 WString '1,2,3,255'", "4 Empty"}},
    {"String '12,34,56,78'",
     [](AMFVariantStruct& v) { SetString(v, "12,34,56,78"); },
     {"4 Empty", "4 Bool false", "0 Int64 12", "0 Double 12.000000", "0 Rect 12 34 56 78", "0 Size 12 34",
      "0 Point 12 34", "0 Rate 12 34", "0 Ratio 12 34", "0 Color 12 34 56 78", "0 String '12,34,56,78'",
      "0 WString '12,34,56,78'", "4 Empty"}},
    {"WString '12,34,56,78'",
     [](AMFVariantStruct& v) { SetWString(v, L"12,34,56,78"); },
     {"4 Empty", "4 Bool false", "0 Int64 12", "0 Double 12.000000", "0 Rect 12 34 56 78", "0 Size 12 34",
      "0 Point 12 34", "0 Rate 12 34", "0 Ratio 12 34", "0 Color 12 34 56 78", "0 String '12,34,56,78'",
      "0 WString '12,34,56,78'", "4 Empty"}},
    {"Interface",
     [](AMFVariantStruct& v) {
         v.type = AMF_VARIANT_INTERFACE;
         v.pInterface = &g_interface;
         g_interface.Acquire();
     },
     {"4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty", "4 Empty",
      "4 Empty", "4 Empty", "0 Interface"}},
};

class AmfVariantPairs : public testing::TestWithParam<int>
{
protected:
    const SRow& m_row = ROWS[GetParam()];
    ~AmfVariantPairs() override { EXPECT_EQ(g_interface.m_nReferences, 1) << "every reference has been given back"; }
};

TEST_P(AmfVariantPairs, ToEveryType)
{
    for (int iType = 0; iType < TYPES; ++iType)
    {
        SCOPED_TRACE("to type " + std::to_string(iType));
        CVariant source;
        m_row.m_funcSet(source);
        EXPECT_EQ(Convert(source, static_cast<AMF_VARIANT_TYPE>(iType)),
                  m_row.m_apszExpected[static_cast<std::size_t>(iType)]);
        EXPECT_EQ(Describe(source), m_row.m_pszSource) << "the source stays";
    }
}

// The value is lost before it is read, so every type but its own gives what an empty variant gives. An empty one has a
// conversion to itself only when it has not been another type before.
TEST_P(AmfVariantPairs, IntoItselfGivesWhatAnEmptyOneGives)
{
    for (int iType = 0; iType < TYPES; ++iType)
    {
        std::string strExpected = ROWS[0].m_apszExpected[static_cast<std::size_t>(iType)];
        if (iType == AMF_VARIANT_EMPTY) strExpected = "4 Empty";
        if (iType == GetParam()) strExpected = "0 " + std::string(m_row.m_pszSource);
        for (const bool bNullSource : {false, true})
        {
            SCOPED_TRACE("to type " + std::to_string(iType));
            CVariant variant;
            m_row.m_funcSet(variant);
            const AMF_RESULT eResult =
                AMFVariantChangeType(&variant, bNullSource ? nullptr : &variant, static_cast<AMF_VARIANT_TYPE>(iType));
            EXPECT_EQ(std::to_string(static_cast<int>(eResult)) + " " + Describe(variant), strExpected);
        }
    }
}

TEST_P(AmfVariantPairs, ToATypeThatThereIsNotGivesFourAndAnEmptyOne)
{
    for (const int nType : {13, 17, 18, -1})
    {
        CVariant source;
        m_row.m_funcSet(source);
        EXPECT_EQ(Convert(source, static_cast<AMF_VARIANT_TYPE>(nType)), "4 Empty");
    }
}

TEST_P(AmfVariantPairs, CopyIsDeep)
{
    CVariant dest;
    SetString(dest, "before");
    {
        CVariant source;
        m_row.m_funcSet(source);
        EXPECT_EQ(AMFVariantCopy(&dest, &source), AMF_OK);
        EXPECT_EQ(Describe(source), m_row.m_pszSource);
    }
    EXPECT_EQ(Describe(dest), m_row.m_pszSource) << "after the end of the source";
}

TEST_P(AmfVariantPairs, ClearEmptiesIt)
{
    CVariant variant;
    m_row.m_funcSet(variant);
    EXPECT_EQ(AMFVariantClear(&variant), AMF_OK);
    EXPECT_EQ(variant.type, AMF_VARIANT_EMPTY);
    EXPECT_EQ(AMFVariantClear(&variant), AMF_OK) << "again";
}

INSTANTIATE_TEST_SUITE_P(Sources, AmfVariantPairs, testing::Range(0, TYPES), [](const auto& row) {
    const std::string strSource = ROWS[row.param].m_pszSource;
    return strSource.substr(0, strSource.find(' '));
});

}  // namespace
