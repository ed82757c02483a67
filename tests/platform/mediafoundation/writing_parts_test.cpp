// What the encoder's parts do by themselves: planes, settings, and NAL units.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "platform/mediafoundation/writing/avc_stream.h"
#include "platform/mediafoundation/writing/encoder_settings.h"
#include "platform/mediafoundation/writing/yuy2_planes.h"

namespace mediafoundation
{
namespace
{

using ::testing::ElementsAre;

// Brightness is every other byte; colour the mean of the rows 2y and 2y + 1, halves upwards.
TEST(Yuy2Planes, ArePixelByPixelThoseOfTheDefinition)
{
    std::mt19937 random(17);
    for (const auto& size : {std::pair{2U, 2U}, {34U, 6U}, {130U, 4U}})
    {
        const unsigned uiWidth = size.first;
        const unsigned uiHeight = size.second;
        std::vector<std::uint8_t> yuy2(std::size_t{2} * uiWidth * uiHeight);
        for (std::uint8_t& ui : yuy2)
        {
            ui = static_cast<std::uint8_t>(random());
        }
        constexpr std::uint8_t GUARD = 0xa5;
        const std::size_t uiPitch = uiWidth + 5;  // the bytes after a row stay as they are
        std::vector<std::uint8_t> aPlanes[3] = {std::vector<std::uint8_t>(uiPitch * uiHeight, GUARD),
                                                std::vector<std::uint8_t>(uiPitch * uiHeight, GUARD),
                                                std::vector<std::uint8_t>(uiPitch * uiHeight, GUARD)};
        const auto nPitch = static_cast<std::ptrdiff_t>(uiPitch);
        Yuy2ToPlanes(yuy2.data(), uiWidth, uiHeight,
                     {{aPlanes[0].data(), aPlanes[1].data(), aPlanes[2].data()}, {nPitch, nPitch, nPitch}});
        for (std::size_t y = 0; y < uiHeight; ++y)
        {
            for (std::size_t x = 0; x < uiPitch; ++x)
            {
                const auto at = [&](std::size_t uiRow, std::size_t uiByte) {
                    return static_cast<unsigned>(yuy2[uiRow * 2 * uiWidth + uiByte]);
                };
                const bool bColour = x < uiWidth / 2 && y < uiHeight / 2;
                const unsigned uiY = x < uiWidth ? at(y, 2 * x) : GUARD;
                const unsigned uiU = bColour ? (at(2 * y, 4 * x + 1) + at(2 * y + 1, 4 * x + 1) + 1) / 2 : GUARD;
                const unsigned uiV = bColour ? (at(2 * y, 4 * x + 3) + at(2 * y + 1, 4 * x + 3) + 1) / 2 : GUARD;
                ASSERT_EQ(aPlanes[0][y * uiPitch + x], uiY) << x << " " << y;
                ASSERT_EQ(aPlanes[1][y * uiPitch + x], uiU) << x << " " << y;
                ASSERT_EQ(aPlanes[2][y * uiPitch + x], uiV) << x << " " << y;
            }
        }
    }
}

TEST(EncoderSettings, TheRateFactorFallsWithEveryStepOfQualityAndIsNeverLossless)
{
    for (std::uint32_t ui = 1; ui <= 100; ++ui)
    {
        EXPECT_LT(RateFactorOf(ui), RateFactorOf(ui - 1)) << ui;
    }
    EXPECT_DOUBLE_EQ(RateFactorOf(0), 51.0);
    EXPECT_DOUBLE_EQ(RateFactorOf(25), 44.5);
    EXPECT_DOUBLE_EQ(RateFactorOf(80), 18.0);
    EXPECT_DOUBLE_EQ(RateFactorOf(100), 10.0);
    EXPECT_DOUBLE_EQ(RateFactorOf(101), 10.0);
}

TEST(EncoderSettings, SpeedsAreThreePresets)
{
    EXPECT_EQ(PresetOf(0), "ultrafast");
    EXPECT_EQ(PresetOf(33), "ultrafast");
    EXPECT_EQ(PresetOf(34), "veryfast");
    EXPECT_EQ(PresetOf(66), "veryfast");
    EXPECT_EQ(PresetOf(67), "medium");
    EXPECT_EQ(PresetOf(100), "medium");
}

TEST(AvcStream, KeepsParameterSetsOnceAndGivesUnitsTheirLengths)
{
    const std::vector<std::uint8_t> sample = {0, 0, 0, 1,    0x09, 0xf0,               // delimiter
                                              0, 0, 0, 1,    0x67, 100,  8, 30, 0x80,  // sequence set
                                              0, 0, 1, 0x68, 0xee,                     // picture set
                                              0, 0, 1, 0x65, 1,    0,    2, 0,  0,     // key picture, zeros after it
                                              0, 0, 1, 0x65, 3};
    AvcStream stream;
    std::vector<std::uint8_t> bytes = {42};
    ASSERT_TRUE(stream.Convert(sample.data(), sample.size(), &bytes));
    ASSERT_TRUE(stream.Convert(sample.data(), sample.size(), &bytes));
    EXPECT_THAT(bytes, ElementsAre(42, 0, 0, 0, 4, 0x65, 1, 0, 2, 0, 0, 0, 2, 0x65, 3, 0, 0, 0, 4, 0x65, 1, 0, 2, 0, 0,
                                   0, 2, 0x65, 3));
    ASSERT_TRUE(stream.HasParameterSets());
    EXPECT_THAT(stream.Configuration(), ElementsAre(1, 100, 8, 30, 0xff, 0xe1, 0, 5, 0x67, 100, 8, 30, 0x80, 1, 0, 2,
                                                    0x68, 0xee, 0xfd, 0xf8, 0xf8, 0));
}

TEST(AvcStream, ASampleWithoutAPictureLeavesTheTargetAsItWas)
{
    AvcStream stream;
    std::vector<std::uint8_t> bytes = {42};
    const std::vector<std::uint8_t> sample = {0, 0, 1, 0x06, 1, 2};
    EXPECT_FALSE(stream.Convert(sample.data(), sample.size(), &bytes));
    EXPECT_FALSE(stream.Convert(sample.data(), 2, &bytes));
    EXPECT_FALSE(stream.Convert(nullptr, 0, &bytes));
    EXPECT_THAT(bytes, ElementsAre(42));
    EXPECT_FALSE(stream.HasParameterSets());
}

}  // namespace
}  // namespace mediafoundation
