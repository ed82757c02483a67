#include "hostapi/hostpicbase.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "picture_fixture.h"

namespace
{

// Tables that show which component a value was converted by.
void MakeMarkedTables(SQmLut& lut, std::uint32_t uiBits, std::uint32_t uiComponents)
{
    ASSERT_EQ(SQmPicBufAPI_Base::CreateLutsRGB(&lut, nullptr, uiBits, nullptr, nullptr, true), QM_OK);
    lut.m_uiComponents = uiComponents;
    const std::uint32_t uiSize = 1u << uiBits;
    for (std::uint32_t i = 0; i < uiComponents * uiSize; ++i)
    {
        lut.m_pTables[i] = static_cast<unsigned char>((i % uiSize >> (uiBits - 8)) + 50 * (i / uiSize));
    }
}

QmStatus Convert(STestPicture& target, STestPicture& source, std::uint64_t uiPixels, const SQmLut* pLut)
{
    return CQmPicMemAPI_Base::ConvertToTrueColor(target.m_vBytes.data(), target.m_uiWidthBytes, source.m_vBytes.data(),
                                                 source.m_uiComponents, source.m_uiBits, source.m_uiWidthBytes,
                                                 source.m_uiWidth, uiPixels, pLut);
}

}  // namespace

TEST(TrueColor, ConvertsEveryComponentByItsTable)
{
    std::mt19937 random(9);
    for (const std::uint32_t uiBits : {8u, 9u, 12u, 16u})
    {
        for (const std::uint32_t uiComponents : {1u, 3u, 4u})
        {
            SQmLut lut;
            MakeMarkedTables(lut, uiBits, 3);
            STestPicture source(13, 7, uiBits, uiComponents, 3);
            source.FillRandom(random);
            STestPicture target(13, 7, 8, 3, 2);
            STestPicture expected(13, 7, 8, 3, 2);  // with its padding, which must stay unchanged
            for (std::uint32_t y = 0; y < 7; ++y)
            {
                for (std::uint32_t x = 0; x < 13; ++x)
                {
                    for (std::uint32_t c = 0; c < 3; ++c)
                    {
                        const std::uint32_t uiFrom = uiComponents == 1 ? 0 : c;
                        expected.Set(x, y, c, ((source.Get(x, y, uiFrom) >> (uiBits - 8)) + 50 * uiFrom) & 0xFF);
                    }
                }
            }
            ASSERT_EQ(Convert(target, source, 13 * 7, &lut), QM_OK);
            EXPECT_EQ(target.m_vBytes, expected.m_vBytes) << uiBits << " bits, " << uiComponents << " components";
        }
    }
}

TEST(TrueColor, ConvertsTheGivenNumberOfPixelsOnly)
{
    SQmLut lut;
    MakeMarkedTables(lut, 8, 3);
    STestPicture source(4, 3, 8, 1);
    std::fill(source.m_vBytes.begin(), source.m_vBytes.end(), static_cast<unsigned char>(7));
    STestPicture target(4, 3, 8, 3);
    ASSERT_EQ(Convert(target, source, 6, &lut), QM_OK);  // one row and a half
    EXPECT_EQ(std::count(target.m_vBytes.begin(), target.m_vBytes.end(), 7), 18);
    EXPECT_EQ(target.Get(1, 1, 2), 7u);
    EXPECT_EQ(target.Get(2, 1, 0), 0xEEu);
    STestPicture untouched(4, 3, 8, 3);
    ASSERT_EQ(Convert(untouched, source, 0, &lut), QM_OK);
    EXPECT_EQ(untouched.m_vBytes, STestPicture(4, 3, 8, 3).m_vBytes);
}

TEST(TrueColor, ValuesBeyondTheBitsAreTheHighest)
{
    SQmLut lut;
    ASSERT_EQ(SQmPicBufAPI_Base::CreateLutsRGB(&lut, nullptr, 10, nullptr, nullptr, true), QM_OK);
    STestPicture source(2, 1, 10, 1);
    source.Set(0, 0, 0, 1024);
    source.Set(1, 0, 0, 65535);
    STestPicture target(2, 1, 8, 3);
    ASSERT_EQ(Convert(target, source, 2, &lut), QM_OK);
    EXPECT_EQ(target.m_vBytes, std::vector<unsigned char>(6, 255));
}

TEST(TrueColor, RefusesFormsThatItDoesNotSupport)
{
    SQmLut lut;
    ASSERT_EQ(SQmPicBufAPI_Base::CreateLutsRGB(&lut, nullptr, 8, nullptr, nullptr, true), QM_OK);
    SQmLut grey;
    MakeMarkedTables(grey, 8, 1);
    const SQmLut empty;
    unsigned char auiDst[48] = {};
    const unsigned char auiSrc[64] = {};
    const auto convert = [&](std::uint32_t uiDstPitch, std::uint32_t uiComponents, std::uint32_t uiBits,
                             std::uint32_t uiSrcPitch, std::uint32_t uiWidth, const SQmLut* pLut) {
        return CQmPicMemAPI_Base::ConvertToTrueColor(auiDst, uiDstPitch, auiSrc, uiComponents, uiBits, uiSrcPitch,
                                                     uiWidth, 4, pLut);
    };
    EXPECT_EQ(convert(12, 3, 8, 12, 4, &lut), QM_OK);
    EXPECT_EQ(convert(11, 3, 8, 12, 4, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 3, 8, 11, 4, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 3, 8, 12, 0, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 2, 8, 12, 4, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 0, 8, 12, 4, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 5, 8, 64, 4, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 3, 7, 12, 4, &lut), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 3, 10, 24, 4, &lut), QM_ERR_RANGE);  // tables for other bits
    EXPECT_EQ(convert(12, 3, 8, 12, 4, &grey), QM_ERR_RANGE);
    EXPECT_EQ(convert(12, 1, 8, 4, 4, &grey), QM_OK);
    EXPECT_EQ(convert(12, 3, 8, 12, 4, &empty), QM_ERR_FAIL);
    EXPECT_EQ(convert(12, 3, 8, 12, 4, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(CQmPicMemAPI_Base::ConvertToTrueColor(nullptr, 12, auiSrc, 3, 8, 12, 4, 4, &lut), QM_ERR_FAIL);
    EXPECT_EQ(CQmPicMemAPI_Base::ConvertToTrueColor(auiDst, 12, nullptr, 3, 8, 12, 4, 4, &lut), QM_ERR_FAIL);
}

TEST(TrueColor, ShowsAPreviewWithAutomaticContrast)
{
    // As a module makes one: measure, build the display tables, convert.
    STestPicture picture(16, 16, 8, 3);
    for (std::uint32_t i = 0; i < 256; ++i)
    {
        for (std::uint32_t c = 0; c < 3; ++c)
            picture.Set(i % 16, i / 16, c, 60 + i % 16 * 8);  // 60 to 180
    }
    SQmPicBuf record = picture.Record();
    SQmLut display;
    SQmLut source;
    source.m_uiHead = 0;
    ASSERT_EQ(SQmPicBufAPI_Base::GetAutoContrast(nullptr, &source, &record, 0.0, 0.001, true, false), QM_OK);
    ASSERT_EQ(SQmPicBufAPI_Base::CreateLutsRGB(&display, nullptr, 8, &source, nullptr, true), QM_OK);
    SQmLut::Free(source);
    STestPicture target(16, 16, 8, 3, 3);  // rows of (3 * (16 + 1)) & ~3 bytes and one more of padding
    ASSERT_EQ(Convert(target, picture, 256, &display), QM_OK);
    for (std::uint32_t x = 0; x < 16; ++x)
    {
        EXPECT_EQ(target.Get(x, 9, 1), 17 * x);  // 8 * x of 120 is 17 * x of 255
    }
}
