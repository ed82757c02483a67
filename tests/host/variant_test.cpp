#include "hostapi/hostcore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

TEST(Variant, HoldsOneValueOfItsType)
{
    const CQmVariant empty;
    EXPECT_EQ(empty.GetType(), CQmVariant::EType::Empty);
    EXPECT_EQ(empty.GetInteger(), 0);
    EXPECT_EQ(empty.GetDouble(), 0.0);
    EXPECT_STREQ(empty.GetString(), L"");

    const CQmVariant integer(std::int64_t{-5000000000});
    EXPECT_EQ(integer.GetType(), CQmVariant::EType::Integer);
    EXPECT_EQ(integer.GetInteger(), -5000000000);
    EXPECT_EQ(integer.GetDouble(), 0.0);

    const CQmVariant real(0.15);
    EXPECT_EQ(real.GetType(), CQmVariant::EType::Double);
    EXPECT_EQ(real.GetDouble(), 0.15);
    EXPECT_EQ(real.GetInteger(), 0);

    const CQmVariant text(CQmStringW(L"text"));
    EXPECT_EQ(text.GetType(), CQmVariant::EType::String);
    EXPECT_STREQ(text.GetString(), L"text");
}

TEST(Variant, IsCopiedWhole)
{
    CQmVariant value(CQmStringW(L"text"));
    const CQmVariant copy(value);
    value = CQmVariant(std::int64_t{7});
    EXPECT_EQ(value.GetType(), CQmVariant::EType::Integer);
    EXPECT_EQ(value.GetInteger(), 7);
    EXPECT_STREQ(value.GetString(), L"");
    EXPECT_STREQ(copy.GetString(), L"text");
}

TEST(ImageAttributes, StartAsZerosAndAreCopiedAsABlock)
{
    static_assert(std::is_trivially_copyable_v<SQmImageAttributes>);
    const SQmImageAttributes attributes;
    EXPECT_EQ(attributes.m_uiWidth, 0u);
    EXPECT_EQ(attributes.m_uiWidthBytes, 0u);
    EXPECT_EQ(attributes.m_uiHeight, 0u);
    EXPECT_EQ(attributes.m_uiComponents, 0u);
    EXPECT_EQ(attributes.m_uiBitsInMemory, 0u);
    EXPECT_EQ(attributes.m_uiBitsSignificant, 0u);
    EXPECT_EQ(attributes.m_uiReservedAttr, 0u);
    EXPECT_EQ(attributes.m_uiSequenceCount, 0u);
    EXPECT_EQ(attributes.m_uiTileWidth, 0u);
    EXPECT_EQ(attributes.m_uiTileHeight, 0u);
    EXPECT_EQ(attributes.m_uiCompression, 0);
    EXPECT_EQ(attributes.m_dCompressionParam, 0.0);
}
