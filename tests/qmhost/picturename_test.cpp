#include "parts/picturename.h"

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

TEST(PictureName, SixDigitsAtLeast)
{
    EXPECT_EQ(PictureName(123, 200, "png"), "frame_000123.png");
    EXPECT_EQ(PictureName(0, 1, "tif"), "frame_000000.tif");
}

TEST(PictureName, EnoughDigitsForTheLastFrame)
{
    EXPECT_EQ(PictureName(999'999, 1'000'000, "png"), "frame_999999.png");
    EXPECT_EQ(PictureName(5, 1'000'001, "png"), "frame_0000005.png");
    EXPECT_EQ(PictureName(4'294'967'294u, 4'294'967'295u, "png"), "frame_4294967294.png");
}

}  // namespace
}  // namespace qmhost
