#include "parts/picturesize.h"

#include <gmock/gmock.h>

namespace qmhost
{
namespace
{

using testing::ElementsAre;

TEST(PictureSize, WidthAndHeight)
{
    const auto size = ParsePictureSize("640x360");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->m_uiWidth, 640u);
    EXPECT_EQ(size->m_uiHeight, 360u);
}

TEST(PictureSize, CapitalCross)
{
    EXPECT_TRUE(ParsePictureSize("1X1"));
}

TEST(PictureSize, SidesHaveLimits)
{
    EXPECT_TRUE(ParsePictureSize("16384x16384"));
    for (const char* pszSize : {"0x1", "1x0", "16385x1", "1x16385", "4294967297x1"})
        EXPECT_FALSE(ParsePictureSize(pszSize)) << pszSize;
}

TEST(PictureSize, OtherTextsAreRefused)
{
    for (const char* pszSize : {"", "x", "640", "640x", "x360", "640*360", "-1x5", "1x2x3", "1.5x2", " 1x2", "1 x 2"})
        EXPECT_FALSE(ParsePictureSize(pszSize)) << pszSize;
}

// The host has two ways to lay out a preview's rows, one for pictures straight from the frame store and one after the
// look-up tables. Both give the same pitch, which is why this program needs only one.
TEST(RowPitch, BothOfTheHostsFormulasAgree)
{
    for (std::uint32_t uiWidth = 1; uiWidth <= LARGEST_SIDE; ++uiWidth)
    {
        ASSERT_EQ(RowPitch(uiWidth), (((uiWidth * 24 / 8) - 1) & ~3u) + 4) << uiWidth;
        ASSERT_EQ(RowPitch(uiWidth), (3 * (uiWidth + 1)) & ~3u) << uiWidth;
    }
}

TEST(RowPitch, WorkedValues)
{
    EXPECT_EQ(RowPitch(1), 4u);
    EXPECT_EQ(RowPitch(2), 8u);
    EXPECT_EQ(RowPitch(3), 12u);
    EXPECT_EQ(RowPitch(4), 12u);
    EXPECT_EQ(RowPitch(640), 1920u);
}

TEST(TightRows, PaddingIsLeftOut)
{
    const unsigned char auiPixels[] = {1, 2, 3, 99, 4, 5, 6, 99};
    EXPECT_THAT(TightRows({auiPixels, 1, 2, 4}), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(TightRows, LastRowNeedsNoPadding)
{
    const std::vector<unsigned char> vPixels = {1, 2, 3, 99, 4, 5, 6};
    EXPECT_THAT(TightRows({vPixels.data(), 1, 2, 4}), ElementsAre(1, 2, 3, 4, 5, 6));
}

}  // namespace
}  // namespace qmhost
