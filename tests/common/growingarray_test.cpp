// The array of the sample log.
#include <gtest/gtest.h>

#include "common/growingarray.h"
#include "support/growing_array.h"

TEST(GrowingArray, HoldsItsEntriesAcrossBlocks)
{
    CGrowingArray<std::uint32_t> array;
    EXPECT_TRUE(array.empty());
    constexpr std::uint32_t uiCount = 1000001;  // 4 MB
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
    {
        array.push_back(ui * 3);
        ASSERT_EQ(array.back(), ui * 3);
    }
    ASSERT_EQ(array.size(), uiCount);
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
    {
        ASSERT_EQ(array[ui], ui * 3);
    }
}

TEST(GrowingArray, NeverMovesAnEntry)
{
    CGrowingArray<double> array{1.5};
    const double* pFirst = &array[0];
    for (int n = 0; n < 300000; ++n)
    {
        array.push_back(array[0]);
    }
    EXPECT_EQ(&array[0], pFirst);
    EXPECT_EQ(array.back(), 1.5);
}

TEST(GrowingArray, TakesLessThanAMebibyteBeyondItsEntries)
{
    CGrowingArray<std::uint32_t> array;
    for (std::uint32_t ui = 0; ui < 1000000; ++ui)
    {
        array.push_back(ui);
        ASSERT_LT((array.capacity() - array.size()) * sizeof(ui), std::size_t{1} << 20);
    }
}

TEST(GrowingArray, ReservesAheadAndFreesEverything)
{
    CGrowingArray<std::uint32_t> array;
    array.reserve(200000);
    EXPECT_GE(array.capacity(), 200000U);
    EXPECT_TRUE(array.empty());
    array.push_back(7);
    array.Release();
    EXPECT_EQ(array.capacity(), 0U);
    EXPECT_TRUE(array.empty());
    array.push_back(8);
    EXPECT_EQ(ToVector(array), std::vector<std::uint32_t>{8});
}
