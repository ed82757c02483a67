// Rows of planes as rows of YUY2.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "platform/mediafoundation/reading/yuy2_rows.h"

namespace mediafoundation
{
namespace
{

TEST(Yuy2Rows, PitchIsTwoBytesPerPixelRoundedUpTo32)
{
    EXPECT_EQ(Yuy2Pitch(1), 32U);
    EXPECT_EQ(Yuy2Pitch(16), 32U);
    EXPECT_EQ(Yuy2Pitch(17), 64U);
    EXPECT_EQ(Yuy2Pitch(1920), 3840U);
    EXPECT_EQ(Yuy2Pitch(1921), 3872U);
}

// Every width, with guard bytes: the fast form gives the bytes of the plain one and touches nothing after them, and
// the plain one those of the definition.
TEST(Yuy2Rows, FastAndPlainGiveTheBytesOfTheDefinition)
{
    std::mt19937 random(7);
    const auto bytes = [&](std::size_t uiCount) {
        std::vector<std::uint8_t> row(uiCount);
        for (std::uint8_t& uiByte : row)
        {
            uiByte = static_cast<std::uint8_t>(random());
        }
        return row;
    };
    constexpr std::uint8_t GUARD = 0xa5;
    for (std::size_t uiWidth = 1; uiWidth <= 100; ++uiWidth)
    {
        const std::size_t uiPairs = (uiWidth + 1) / 2;
        const auto y = bytes(uiWidth);
        const auto u = bytes(uiPairs);
        const auto v = bytes(uiPairs);
        std::vector<std::uint8_t> expected;
        for (std::size_t i = 0; i < uiPairs; ++i)
        {
            expected.insert(expected.end(), {y[2 * i], u[i], y[std::min(2 * i + 1, uiWidth - 1)], v[i]});
        }
        expected.insert(expected.end(), 32, GUARD);
        std::vector<std::uint8_t> fast(expected.size(), GUARD);
        std::vector<std::uint8_t> plain(expected.size(), GUARD);
        InterleaveYuy2(fast.data(), y.data(), u.data(), v.data(), uiWidth);
        InterleaveYuy2Plain(plain.data(), y.data(), u.data(), v.data(), uiWidth);
        EXPECT_EQ(fast, expected) << uiWidth;
        EXPECT_EQ(plain, expected) << uiWidth;
    }
}

}  // namespace
}  // namespace mediafoundation
