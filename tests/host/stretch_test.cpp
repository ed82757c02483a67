#include "hostapi/hostpicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "picture_fixture.h"
#include "support/repetitions.h"

namespace
{

enum EMode : std::uint32_t
{
    NEAREST,
    LINEAR,
    AREA,
    SMOOTH
};

// The weight of each of uiSource pixels in pixel i of uiTarget, from the definition of the modes and in whole numbers.
// All source pixels of a row are listed; most have the weight 0.
std::vector<std::uint64_t> Weights(std::uint32_t uiMode, std::int64_t nSource, std::int64_t nTarget, std::int64_t i)
{
    if (uiMode == SMOOTH) uiMode = nTarget < nSource ? AREA : LINEAR;
    std::vector<std::uint64_t> vWeights(static_cast<std::size_t>(nSource));
    if (uiMode == AREA)
    {
        // The part of [k, k + 1) that [i, i + 1) * nSource / nTarget covers, in 1/nTarget.
        for (std::int64_t k = 0; k < nSource; ++k)
        {
            const std::int64_t nCovered =
                std::min((i + 1) * nSource, (k + 1) * nTarget) - std::max(i * nSource, k * nTarget);
            vWeights[static_cast<std::size_t>(k)] = static_cast<std::uint64_t>(std::max<std::int64_t>(nCovered, 0));
        }
        return vWeights;
    }
    // Twice the distance between the middles of target pixel i and source pixel k, in 1/nTarget source pixel.
    const auto distance = [=](std::int64_t k) { return std::abs((2 * i + 1) * nSource - (2 * k + 1) * nTarget); };
    if (uiMode == LINEAR)
    {
        // The weight falls from 1 at the middle to 0 at the neighbour's middle. Outside, the border pixel is repeated.
        for (std::int64_t k = -1; k <= nSource; ++k)
        {
            const std::int64_t nWeight = std::max<std::int64_t>(2 * nTarget - distance(k), 0);
            vWeights[static_cast<std::size_t>(std::clamp<std::int64_t>(k, 0, nSource - 1))] +=
                static_cast<std::uint64_t>(nWeight);
        }
        return vWeights;
    }
    std::int64_t nNearest = 0;
    for (std::int64_t k = 0; k < nSource; ++k)
    {
        if (distance(k) <= distance(nNearest)) nNearest = k;  // of two at the same distance, the later
    }
    vWeights[static_cast<std::size_t>(nNearest)] = 1;
    return vWeights;
}

STestPicture TurnedOver(const STestPicture& picture, bool bMirror, bool bFlip)
{
    STestPicture turned = picture;
    for (std::uint32_t y = 0; y < picture.m_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < picture.m_uiWidth; ++x)
        {
            for (std::uint32_t c = 0; c < picture.m_uiComponents; ++c)
            {
                turned.Set(bMirror ? picture.m_uiWidth - 1 - x : x, bFlip ? picture.m_uiHeight - 1 - y : y, c,
                           picture.Get(x, y, c));
            }
        }
    }
    return turned;
}

struct SRegion
{
    std::uint32_t m_uiLeft, m_uiTop, m_uiWidth, m_uiHeight;
};

void StretchByDefinition(STestPicture& target, const SRegion& region, const STestPicture& source, std::uint32_t uiMode)
{
    for (std::uint32_t y = 0; y < region.m_uiHeight; ++y)
    {
        const auto vRows = Weights(uiMode, source.m_uiHeight, region.m_uiHeight, y);
        for (std::uint32_t x = 0; x < region.m_uiWidth; ++x)
        {
            const auto vColumns = Weights(uiMode, source.m_uiWidth, region.m_uiWidth, x);
            for (std::uint32_t c = 0; c < source.m_uiComponents; ++c)
            {
                std::uint64_t uiSum = 0;
                std::uint64_t uiTotal = 0;
                for (std::uint32_t v = 0; v < source.m_uiHeight; ++v)
                {
                    for (std::uint32_t u = 0; u < source.m_uiWidth; ++u)
                    {
                        uiSum += vRows[v] * vColumns[u] * source.Get(u, v, c);
                        uiTotal += vRows[v] * vColumns[u];
                    }
                }
                target.Set(region.m_uiLeft + x, region.m_uiTop + y, c,
                           static_cast<std::uint32_t>((2 * uiSum + uiTotal) / (2 * uiTotal)));
            }
        }
    }
}

QmStatus StretchDisplay(STestPicture& target, const SRegion& region, const STestPicture& source, std::uint32_t uiMode,
                        bool bMirror, bool bFlip)
{
    return CQmPicMemAPI_Base::StretchDisplay(
        target.m_vBytes.data(), target.m_uiWidth, target.m_uiHeight, target.m_uiComponents, target.m_uiWidthBytes,
        target.m_uiBits, region.m_uiWidth, region.m_uiHeight, region.m_uiLeft, region.m_uiTop, source.m_vBytes.data(),
        source.m_uiWidth, source.m_uiHeight, source.m_uiWidthBytes, uiMode, bMirror, bFlip);
}

QmStatus Stretch(STestPicture& target, STestPicture& source, unsigned int uiMode)
{
    SQmPicBuf dst = target.Record();
    const SQmPicBuf src = source.Record();
    return CQmPicBufAPI::Stretch(&dst, &src, uiMode);
}

STestPicture Row(std::initializer_list<std::uint32_t> values)
{
    STestPicture picture(static_cast<std::uint32_t>(values.size()), 1, 8, 1);
    std::uint32_t x = 0;
    for (const std::uint32_t uiValue : values)
        picture.Set(x++, 0, 0, uiValue);
    return picture;
}

std::vector<unsigned char> StretchedRow(std::initializer_list<std::uint32_t> values, std::uint32_t uiWidth, EMode eMode)
{
    STestPicture source = Row(values);
    STestPicture target(uiWidth, 1, 8, 1);
    EXPECT_EQ(Stretch(target, source, eMode), QM_OK);
    return target.m_vBytes;
}

using CValues = std::vector<unsigned char>;

}  // namespace

TEST(Stretch, NearestTakesThePixelUnderTheMiddle)
{
    EXPECT_EQ(StretchedRow({10, 20}, 4, NEAREST), (CValues{10, 10, 20, 20}));
    EXPECT_EQ(StretchedRow({10, 20, 30}, 1, NEAREST), (CValues{20}));
    EXPECT_EQ(StretchedRow({10, 20, 30, 40}, 2, NEAREST), (CValues{20, 40}));
    EXPECT_EQ(StretchedRow({10, 20, 30}, 3, NEAREST), (CValues{10, 20, 30}));
}

TEST(Stretch, LinearInterpolatesBetweenMiddles)
{
    EXPECT_EQ(StretchedRow({0, 100}, 4, LINEAR), (CValues{0, 25, 75, 100}));
    EXPECT_EQ(StretchedRow({0, 100}, 3, LINEAR), (CValues{0, 50, 100}));
    EXPECT_EQ(StretchedRow({7}, 3, LINEAR), (CValues{7, 7, 7}));
    EXPECT_EQ(StretchedRow({0, 1}, 3, LINEAR), (CValues{0, 1, 1}));  // halves are rounded up
}

TEST(Stretch, AreaAveragesWhatAPixelCovers)
{
    EXPECT_EQ(StretchedRow({10, 20, 30, 41}, 2, AREA), (CValues{15, 36}));
    EXPECT_EQ(StretchedRow({0, 90, 180}, 2, AREA), (CValues{30, 150}));
    EXPECT_EQ(StretchedRow({10, 40}, 3, AREA), (CValues{10, 25, 40}));
    EXPECT_EQ(StretchedRow({255, 255, 255, 255, 255}, 3, AREA), (CValues{255, 255, 255}));
}

TEST(Stretch, SmoothChoosesForEachAxis)
{
    EXPECT_EQ(StretchedRow({0, 90, 180}, 2, SMOOTH), (CValues{30, 150}));
    EXPECT_EQ(StretchedRow({0, 100}, 4, SMOOTH), (CValues{0, 25, 75, 100}));
    STestPicture source(4, 2, 8, 1);
    for (std::uint32_t x = 0; x < 4; ++x)
    {
        source.Set(x, 0, 0, 40 * x);
        source.Set(x, 1, 0, 40 * x + 100);
    }
    STestPicture target(2, 4, 8, 1);
    ASSERT_EQ(Stretch(target, source, SMOOTH), QM_OK);
    EXPECT_EQ(target.m_vBytes, (CValues{20, 100, 45, 125, 95, 175, 120, 200}));
}

TEST(Stretch, AgreesWithTheDefinition)
{
    constexpr unsigned int SEED = 11;
    std::mt19937 random(SEED);
    for (int nCase = 0; nCase < test_support::FullFromAQuarter(400); ++nCase)
    {
        const std::uint32_t uiBits = random() % 3 == 0 ? 9 + random() % 8 : 8;
        const std::uint32_t uiComponents = 1 + random() % 4;
        const std::uint32_t uiMode = random() % 4;
        STestPicture source(1 + random() % 17, 1 + random() % 17, uiBits, uiComponents, random() % 4);
        source.FillRandom(random);
        STestPicture target(1 + random() % 17, 1 + random() % 17, uiBits, uiComponents, random() % 4);
        SCOPED_TRACE(testing::Message() << "seed " << SEED << ", case " << nCase << ": " << source.m_uiWidth << 'x'
                                        << source.m_uiHeight << " to " << target.m_uiWidth << 'x' << target.m_uiHeight
                                        << ", mode " << uiMode << ", bits " << uiBits);
        STestPicture expected = target;
        StretchByDefinition(expected, {0, 0, target.m_uiWidth, target.m_uiHeight}, source, uiMode);
        ASSERT_EQ(Stretch(target, source, uiMode), QM_OK);
        ASSERT_EQ(target.m_vBytes, expected.m_vBytes);
    }
}

TEST(Stretch, AgreesWithTheDefinitionOnLongAxes)
{
    std::mt19937 random(12);
    for (const std::uint32_t uiMode : {NEAREST, LINEAR, AREA, SMOOTH})
    {
        for (const auto& [uiSource, uiTarget] : {std::pair{1999u, 640u}, {640u, 1999u}, {1024u, 256u}, {3u, 1000u}})
        {
            STestPicture across(uiSource, 1, 16, 1);
            across.FillRandom(random);
            STestPicture target(uiTarget, 1, 16, 1);
            STestPicture expected = target;
            StretchByDefinition(expected, {0, 0, uiTarget, 1}, across, uiMode);
            ASSERT_EQ(Stretch(target, across, uiMode), QM_OK);
            EXPECT_EQ(target.m_vBytes, expected.m_vBytes) << uiSource << " to " << uiTarget << ", mode " << uiMode;

            STestPicture down(1, uiSource, 16, 1);
            down.m_vBytes = across.m_vBytes;
            STestPicture column(1, uiTarget, 16, 1);
            ASSERT_EQ(Stretch(column, down, uiMode), QM_OK);
            EXPECT_EQ(column.m_vBytes, expected.m_vBytes) << uiSource << " to " << uiTarget << ", mode " << uiMode;
        }
    }
}

TEST(Stretch, KeepsAFlatPictureFlat)
{
    for (const std::uint32_t uiMode : {NEAREST, LINEAR, AREA, SMOOTH})
    {
        for (const std::uint32_t uiValue : {0u, 1u, 65534u, 65535u})
        {
            STestPicture source(97, 61, 16, 3);
            for (std::uint32_t i = 0; i < 97 * 61 * 3; ++i)
                source.Set(i / 3 % 97, i / 3 / 97, i % 3, uiValue);
            for (const auto& [uiWidth, uiHeight] : {std::pair{31u, 200u}, {200u, 31u}, {97u, 61u}})
            {
                STestPicture target(uiWidth, uiHeight, 16, 3);
                ASSERT_EQ(Stretch(target, source, uiMode), QM_OK);
                for (std::uint32_t i = 0; i < uiWidth * uiHeight * 3; ++i)
                {
                    ASSERT_EQ(target.Get(i / 3 % uiWidth, i / 3 / uiWidth, i % 3), uiValue);
                }
            }
        }
    }
}

TEST(Stretch, RefusesPicturesThatDoNotMatch)
{
    STestPicture source(4, 4, 8, 3);
    STestPicture bits(4, 4, 9, 3);
    STestPicture components(4, 4, 8, 2);
    STestPicture target(2, 2, 8, 3);
    EXPECT_EQ(Stretch(bits, source, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(Stretch(components, source, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(Stretch(target, source, 4), QM_ERR_RANGE);
    EXPECT_EQ(Stretch(source, source, SMOOTH), QM_ERR_RANGE);

    SQmPicBuf dst = target.Record();
    SQmPicBuf src = source.Record();
    EXPECT_EQ(CQmPicBufAPI::Stretch(nullptr, &src, SMOOTH), QM_ERR_FAIL);
    EXPECT_EQ(CQmPicBufAPI::Stretch(&dst, nullptr, SMOOTH), QM_ERR_FAIL);
    src.m_uiWidth = 0;
    EXPECT_EQ(CQmPicBufAPI::Stretch(&dst, &src, SMOOTH), QM_ERR_RANGE);
    src = source.Record();
    src.m_pData = nullptr;
    EXPECT_EQ(CQmPicBufAPI::Stretch(&dst, &src, SMOOTH), QM_ERR_FAIL);
    src = source.Record();
    dst.m_pData = nullptr;
    EXPECT_EQ(CQmPicBufAPI::Stretch(&dst, &src, SMOOTH), QM_ERR_FAIL);
}

TEST(StretchDisplay, DrawsIntoItsRegionOnly)
{
    constexpr unsigned int SEED = 13;
    std::mt19937 random(SEED);
    for (int nCase = 0; nCase < 200; ++nCase)
    {
        SCOPED_TRACE(testing::Message() << "seed " << SEED << ", case " << nCase);
        const std::uint32_t uiBits = random() % 2 == 0 ? 8 : 16;
        const std::uint32_t uiComponents = 1 + random() % 4;
        const std::uint32_t uiMode = random() % 4;
        const bool bMirror = random() % 2 == 0;
        const bool bFlip = random() % 2 == 0;
        const SRegion region = {static_cast<std::uint32_t>(random() % 5), static_cast<std::uint32_t>(random() % 5),
                                static_cast<std::uint32_t>(1 + random() % 9),
                                static_cast<std::uint32_t>(1 + random() % 9)};
        STestPicture source(1 + random() % 9, 1 + random() % 9, uiBits, uiComponents, random() % 4);
        source.FillRandom(random);
        STestPicture target(region.m_uiLeft + region.m_uiWidth + random() % 4,
                            region.m_uiTop + region.m_uiHeight + random() % 4, uiBits, uiComponents, random() % 4);
        target.FillRandom(random);
        STestPicture expected = target;
        StretchByDefinition(expected, region, TurnedOver(source, bMirror, bFlip), uiMode);
        ASSERT_EQ(StretchDisplay(target, region, source, uiMode, bMirror, bFlip), QM_OK);
        ASSERT_EQ(target.m_vBytes, expected.m_vBytes);
    }
}

TEST(StretchDisplay, AddsTheMarginOfAnOddPicture)
{
    std::mt19937 random(14);
    STestPicture source(5, 3, 8, 3, 1);
    source.FillRandom(random);
    STestPicture target(6, 4, 8, 3, 2);
    std::fill(target.m_vBytes.begin(), target.m_vBytes.end(), static_cast<unsigned char>(0));
    ASSERT_EQ(StretchDisplay(target, {0, 0, 5, 3}, source, SMOOTH, false, false), QM_OK);
    for (std::uint32_t i = 0; i < 6 * 4 * 3; ++i)
    {
        const std::uint32_t x = i / 3 % 6;
        const std::uint32_t y = i / 3 / 6;
        EXPECT_EQ(target.Get(x, y, i % 3), x < 5 && y < 3 ? source.Get(x, y, i % 3) : 0u);
    }
}

TEST(StretchDisplay, MirrorsThePicture)
{
    const STestPicture source = Row({1, 2, 3});
    STestPicture target(3, 1, 8, 1);
    ASSERT_EQ(StretchDisplay(target, {0, 0, 3, 1}, source, SMOOTH, true, false), QM_OK);
    EXPECT_EQ(target.m_vBytes, (CValues{3, 2, 1}));
    STestPicture column(1, 3, 8, 1);
    column.m_vBytes = {1, 2, 3};
    STestPicture turned(1, 3, 8, 1);
    ASSERT_EQ(StretchDisplay(turned, {0, 0, 1, 3}, column, SMOOTH, false, true), QM_OK);
    EXPECT_EQ(turned.m_vBytes, (CValues{3, 2, 1}));
}

TEST(StretchDisplay, RefusesWhatDoesNotFit)
{
    STestPicture source(4, 4, 8, 3);
    STestPicture target(8, 8, 8, 3);
    const std::vector<unsigned char> vBefore = target.m_vBytes;
    const auto draw = [&](const SRegion& region, std::uint32_t uiMode) {
        return StretchDisplay(target, region, source, uiMode, false, false);
    };
    EXPECT_EQ(draw({5, 0, 4, 4}, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(draw({0, 5, 4, 4}, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(draw({9, 0, 0, 4}, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(draw({4, 0, 0xFFFFFFFF, 4}, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(draw({0, 4, 4, 0xFFFFFFFE}, SMOOTH), QM_ERR_RANGE);
    EXPECT_EQ(draw({0, 0, 4, 4}, 4), QM_ERR_RANGE);
    EXPECT_EQ(draw({8, 8, 0, 0}, SMOOTH), QM_OK);  // a region without pixels takes no drawing

    const auto drawForm = [&](std::uint32_t uiComponents, std::uint32_t uiBits, std::uint32_t uiDstPitch,
                              std::uint32_t uiSrcPitch) {
        return CQmPicMemAPI_Base::StretchDisplay(target.m_vBytes.data(), 8, 8, uiComponents, uiDstPitch, uiBits, 4, 4,
                                                 0, 0, source.m_vBytes.data(), 4, 4, uiSrcPitch, SMOOTH, false, false);
    };
    EXPECT_EQ(drawForm(5, 8, 64, 64), QM_ERR_RANGE);
    EXPECT_EQ(drawForm(0, 8, 64, 64), QM_ERR_RANGE);
    EXPECT_EQ(drawForm(3, 7, 64, 64), QM_ERR_RANGE);
    EXPECT_EQ(drawForm(3, 17, 64, 64), QM_ERR_RANGE);
    EXPECT_EQ(drawForm(3, 8, 23, 12), QM_ERR_RANGE);
    EXPECT_EQ(drawForm(3, 8, 24, 11), QM_ERR_RANGE);
    EXPECT_EQ(CQmPicMemAPI_Base::StretchDisplay(nullptr, 8, 8, 3, 24, 8, 4, 4, 0, 0, source.m_vBytes.data(), 4, 4, 12,
                                                SMOOTH, false, false),
              QM_ERR_FAIL);
    EXPECT_EQ(CQmPicMemAPI_Base::StretchDisplay(target.m_vBytes.data(), 8, 8, 3, 24, 8, 4, 4, 0, 0, nullptr, 4, 4, 12,
                                                SMOOTH, false, false),
              QM_ERR_FAIL);
    EXPECT_EQ(target.m_vBytes, vBefore);
}
