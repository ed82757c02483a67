#include "hostapi/hostpicbase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "picture_fixture.h"

namespace
{

QmStatus Measure(SQmLut& lut, STestPicture& picture, double dLow, double dHigh, bool bLink)
{
    SQmPicBuf record = picture.Record();
    return SQmPicBufAPI_Base::GetAutoContrast(nullptr, &lut, &record, dLow, dHigh, bLink, false);
}

QmStatus Build(SQmLut& display, std::uint32_t uiBits, SQmLut* pSource)
{
    return SQmPicBufAPI_Base::CreateLutsRGB(&display, nullptr, uiBits, pSource, nullptr, true);
}

// All values of a component, in order.
std::vector<std::uint32_t> SortedValues(const STestPicture& picture, std::uint32_t uiComponent)
{
    std::vector<std::uint32_t> vValues;
    for (std::uint32_t y = 0; y < picture.m_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < picture.m_uiWidth; ++x)
            vValues.push_back(picture.Get(x, y, uiComponent));
    }
    std::sort(vValues.begin(), vValues.end());
    return vValues;
}

// (value - low) * 255 / (high - low), halves rounded up, in whole numbers.
std::uint32_t Stretched(std::uint32_t uiValue, std::uint32_t uiLow, std::uint32_t uiHigh)
{
    if (uiValue <= uiLow) return 0;
    if (uiValue >= uiHigh) return 255;
    return ((uiValue - uiLow) * 510 + (uiHigh - uiLow)) / (2 * (uiHigh - uiLow));
}

}  // namespace

TEST(AutoContrast, LeavesOutTheDarkestAndTheBrightest)
{
    STestPicture picture(10, 10, 8, 1);
    for (std::uint32_t i = 0; i < 100; ++i)
        picture.Set(i % 10, i / 10, 0, 99 - i);  // each of 0 to 99 once
    SQmLut lut;
    ASSERT_EQ(Measure(lut, picture, 0.0, 0.0, false), QM_OK);
    EXPECT_EQ(lut.m_adLow[0], 0.0);
    EXPECT_EQ(lut.m_adHigh[0], 99.0);
    ASSERT_EQ(Measure(lut, picture, 0.05, 0.25, false), QM_OK);
    EXPECT_EQ(lut.m_adLow[0], 5.0);
    EXPECT_EQ(lut.m_adHigh[0], 74.0);
    ASSERT_EQ(Measure(lut, picture, 0.0, 0.009, false), QM_OK);  // less than one pixel
    EXPECT_EQ(lut.m_adHigh[0], 99.0);
    ASSERT_EQ(Measure(lut, picture, 0.5, 0.49, false), QM_OK);
    EXPECT_EQ(lut.m_adLow[0], 50.0);
    EXPECT_EQ(lut.m_adHigh[0], 50.0);
}

TEST(AutoContrast, IgnoresAFewOutliers)
{
    STestPicture picture(100, 30, 8, 3);
    std::fill(picture.m_vBytes.begin(), picture.m_vBytes.end(), static_cast<unsigned char>(100));
    picture.Set(0, 0, 0, 20);
    for (std::uint32_t x = 0; x < 3; ++x)
        picture.Set(x, 5, 1, 250);  // a thousandth of the pixels
    SQmLut lut;
    ASSERT_EQ(Measure(lut, picture, 0.0, 0.001, false), QM_OK);
    EXPECT_EQ(lut.m_adLow[0], 20.0);
    EXPECT_EQ(lut.m_adHigh[1], 100.0);
    picture.Set(3, 5, 1, 250);
    ASSERT_EQ(Measure(lut, picture, 0.0, 0.001, false), QM_OK);
    EXPECT_EQ(lut.m_adHigh[1], 250.0);
}

TEST(AutoContrast, AgreesWithSortingAllValues)
{
    std::mt19937 random(7);
    for (const std::uint32_t uiBits : {8u, 9u, 12u, 16u})
    {
        for (std::uint32_t uiComponents = 1; uiComponents <= 4; ++uiComponents)
        {
            STestPicture picture(37, 23, uiBits, uiComponents, 5);
            picture.FillRandom(random);
            const double dLow = static_cast<double>(random() % 400) / 1000.0;
            const double dHigh = static_cast<double>(random() % 400) / 1000.0;
            SQmLut apart;
            SQmLut linked;
            ASSERT_EQ(Measure(apart, picture, dLow, dHigh, false), QM_OK);
            ASSERT_EQ(Measure(linked, picture, dLow, dHigh, true), QM_OK);
            double dLowest = 65536.0;
            double dHighest = -1.0;
            for (std::uint32_t c = 0; c < uiComponents; ++c)
            {
                const std::vector<std::uint32_t> vValues = SortedValues(picture, c);
                const auto uiBelow = static_cast<std::size_t>(std::floor(dLow * 37 * 23));
                const auto uiAbove = static_cast<std::size_t>(std::floor(dHigh * 37 * 23));
                EXPECT_EQ(apart.m_adLow[c], vValues[uiBelow]);
                EXPECT_EQ(apart.m_adHigh[c], vValues[vValues.size() - 1 - uiAbove]);
                dLowest = std::min(dLowest, apart.m_adLow[c]);
                dHighest = std::max(dHighest, apart.m_adHigh[c]);
            }
            for (std::uint32_t c = 0; c < uiComponents; ++c)
            {
                EXPECT_EQ(linked.m_adLow[c], dLowest);
                EXPECT_EQ(linked.m_adHigh[c], dHighest);
            }
            EXPECT_NE(apart.m_uiHead, 0u);
            EXPECT_EQ(apart.m_uiComponents, uiComponents);
            EXPECT_EQ(apart.m_uiBits, uiBits);
        }
    }
}

TEST(AutoContrast, ValuesBeyondTheBitsCountAsTheHighest)
{
    STestPicture picture(2, 1, 10, 1);
    picture.Set(0, 0, 0, 5);
    picture.Set(1, 0, 0, 65535);
    SQmLut lut;
    ASSERT_EQ(Measure(lut, picture, 0.0, 0.0, false), QM_OK);
    EXPECT_EQ(lut.m_adHigh[0], 1023.0);
}

TEST(AutoContrast, RefusesWhatItCanNotMeasure)
{
    STestPicture picture(4, 4, 8, 3);
    SQmPicBuf record = picture.Record();
    SQmLut lut;
    const auto measure = [&lut](SQmPicBuf* pPic, double dLow, double dHigh, bool bMonotone) {
        return SQmPicBufAPI_Base::GetAutoContrast(nullptr, &lut, pPic, dLow, dHigh, true, bMonotone);
    };
    EXPECT_EQ(SQmPicBufAPI_Base::GetAutoContrast(nullptr, nullptr, &record, 0.0, 0.0, true, false), QM_ERR_FAIL);
    EXPECT_EQ(measure(nullptr, 0.0, 0.0, false), QM_ERR_FAIL);
    EXPECT_EQ(measure(&record, 0.0, 0.0, true), QM_ERR_RANGE);
    EXPECT_EQ(measure(&record, -0.1, 0.0, false), QM_ERR_RANGE);
    EXPECT_EQ(measure(&record, 0.0, std::nan(""), false), QM_ERR_RANGE);
    EXPECT_EQ(measure(&record, 0.5, 0.5, false), QM_ERR_RANGE);
    SQmPicBuf wrong = record;
    wrong.m_pData = nullptr;
    EXPECT_EQ(measure(&wrong, 0.0, 0.0, false), QM_ERR_FAIL);
    wrong = record;
    wrong.m_uiHeight = 0;
    EXPECT_EQ(measure(&wrong, 0.0, 0.0, false), QM_ERR_RANGE);
    wrong = record;
    wrong.m_uiWidthBytes = 11;
    EXPECT_EQ(measure(&wrong, 0.0, 0.0, false), QM_ERR_RANGE);
    wrong = record;
    wrong.m_uiComponents = 5;
    EXPECT_EQ(measure(&wrong, 0.0, 0.0, false), QM_ERR_RANGE);
    EXPECT_EQ(lut.m_uiHead, 0u);  // no range was measured
}

TEST(DisplayLut, WithoutARangeShowsEightBitsAsTheyAre)
{
    SQmLut source;
    for (SQmLut* pSource : {static_cast<SQmLut*>(nullptr), &source})
    {
        SQmLut display;
        ASSERT_EQ(Build(display, 8, pSource), QM_OK);
        ASSERT_EQ(display.m_uiComponents, 4u);
        for (std::uint32_t i = 0; i < 4 * 256; ++i)
            ASSERT_EQ(display.m_pTables[i], i % 256);
    }
}

TEST(DisplayLut, WithoutARangeShowsTheWholeRangeOfMoreBits)
{
    for (const std::uint32_t uiBits : {9u, 12u, 16u})
    {
        const std::uint32_t uiMax = (1u << uiBits) - 1;
        SQmLut display;
        ASSERT_EQ(Build(display, uiBits, nullptr), QM_OK);
        for (std::uint32_t i = 0; i <= uiMax; ++i)
            ASSERT_EQ(display.m_pTables[i], Stretched(i, 0, uiMax));
    }
}

TEST(DisplayLut, StretchesTheMeasuredRange)
{
    std::mt19937 random(8);
    for (const std::uint32_t uiBits : {8u, 10u, 16u})
    {
        STestPicture picture(20, 20, uiBits, 3);
        picture.FillRandom(random);
        SQmLut source;
        source.m_uiHead = 0;  // as a module clears it
        ASSERT_EQ(Measure(source, picture, 0.1, 0.2, false), QM_OK);
        SQmLut display;
        ASSERT_EQ(Build(display, uiBits, &source), QM_OK);
        ASSERT_EQ(display.m_uiComponents, 3u);
        for (std::uint32_t c = 0; c < 3; ++c)
        {
            const std::uint32_t uiSize = 1u << uiBits;
            for (std::uint32_t i = 0; i < uiSize; ++i)
            {
                ASSERT_EQ(display.m_pTables[c * uiSize + i], Stretched(i, static_cast<std::uint32_t>(source.m_adLow[c]),
                                                                       static_cast<std::uint32_t>(source.m_adHigh[c])));
            }
        }
    }
}

TEST(DisplayLut, LeavesAFlatPictureUnchanged)
{
    STestPicture picture(4, 4, 8, 3);
    std::fill(picture.m_vBytes.begin(), picture.m_vBytes.end(), static_cast<unsigned char>(100));
    SQmLut source;
    ASSERT_EQ(Measure(source, picture, 0.0, 0.001, true), QM_OK);
    SQmLut display;
    ASSERT_EQ(Build(display, 8, &source), QM_OK);
    for (std::uint32_t i = 0; i < 256; ++i)
        EXPECT_EQ(display.m_pTables[i], i);
}

TEST(DisplayLut, IsBuiltAgainAndInPlace)
{
    STestPicture picture(2, 1, 8, 1);
    picture.Set(0, 0, 0, 100);
    picture.Set(1, 0, 0, 200);
    SQmLut lut;
    ASSERT_EQ(Measure(lut, picture, 0.0, 0.0, false), QM_OK);
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(Build(lut, 8, &lut), QM_OK);
        ASSERT_NE(lut.m_pTables, nullptr);
        EXPECT_EQ(lut.m_pTables[100], 0);
        EXPECT_EQ(lut.m_pTables[150], 128);
        EXPECT_EQ(lut.m_pTables[200], 255);
    }
}

TEST(DisplayLut, UnbuiltHasARangeButNoTables)
{
    STestPicture picture(2, 1, 8, 1);
    picture.Set(0, 0, 0, 100);
    picture.Set(1, 0, 0, 200);
    SQmLut source;
    ASSERT_EQ(Measure(source, picture, 0.0, 0.0, false), QM_OK);
    SQmLut display;
    ASSERT_EQ(SQmPicBufAPI_Base::CreateLutsRGB(&display, nullptr, 8, &source, nullptr, false), QM_OK);
    EXPECT_EQ(display.m_pTables, nullptr);
    EXPECT_EQ(display.m_adLow[0], 100.0);
    EXPECT_EQ(display.m_adHigh[0], 200.0);
}

TEST(DisplayLut, RefusesARangeOfOtherBits)
{
    STestPicture picture(4, 4, 8, 3);
    SQmLut source;
    ASSERT_EQ(Measure(source, picture, 0.0, 0.0, true), QM_OK);
    SQmLut display;
    EXPECT_EQ(Build(display, 10, &source), QM_ERR_RANGE);
    EXPECT_EQ(Build(display, 7, nullptr), QM_ERR_RANGE);
    EXPECT_EQ(Build(display, 17, nullptr), QM_ERR_RANGE);
    EXPECT_EQ(SQmPicBufAPI_Base::CreateLutsRGB(nullptr, nullptr, 8, nullptr, nullptr, true), QM_ERR_FAIL);
    EXPECT_EQ(display.m_pTables, nullptr);
}

TEST(DisplayLut, FreeTwiceIsHarmless)
{
    SQmLut lut;
    ASSERT_EQ(Build(lut, 8, nullptr), QM_OK);
    SQmLut::Free(lut);
    EXPECT_EQ(lut.m_pTables, nullptr);
    SQmLut::Free(lut);
}
