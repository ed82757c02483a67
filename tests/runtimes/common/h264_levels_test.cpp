// The table of levels is that of x264, which has the standard's numbers from its own hands.
#include <gtest/gtest.h>

#include "runtimes/common/h264_levels.h"
#include "runtimes/common/x264_library.h"

namespace
{

TEST(H264Levels, AreThoseThatX264Knows)
{
    const x264_level_t* p = x264_levels;
    for (const runtimes::H264Level& level : runtimes::H264Levels())
    {
        ASSERT_EQ(level.uiLevel, p->level_idc);
        EXPECT_EQ(level.uiMacroblocksPerSecond, static_cast<std::uint32_t>(p->mbps)) << int{level.uiLevel};
        EXPECT_EQ(level.uiMacroblocksPerPicture, static_cast<std::uint32_t>(p->frame_size)) << int{level.uiLevel};
        EXPECT_EQ(level.uiBitRate, static_cast<std::uint32_t>(p->bitrate)) << int{level.uiLevel};
        EXPECT_EQ(level.uiBuffer, static_cast<std::uint32_t>(p->cpb)) << int{level.uiLevel};
        EXPECT_EQ(level.uiMinCompression, p->mincr) << int{level.uiLevel};
        ++p;
    }
    EXPECT_EQ(p->level_idc, 0);
}

TEST(H264Levels, AreFoundByNumber)
{
    ASSERT_NE(runtimes::FindH264Level(41), nullptr);
    EXPECT_EQ(runtimes::FindH264Level(41)->uiMacroblocksPerPicture, 8192u);
    EXPECT_EQ(runtimes::FindH264Level(14), nullptr);
    EXPECT_EQ(runtimes::FindH264Level(0), nullptr);
}

// Each side is bounded too: 396 macroblocks in level 1.1 may be 56 in a row, since 56 * 56 is below 8 * 396.
TEST(H264Levels, BoundTheSidesOfAPicture)
{
    constexpr std::uint64_t c_ui64Bytes = 1000;
    EXPECT_EQ(runtimes::LowestH264Level({28, 1, 1, 1, c_ui64Bytes}).uiLevel, 10);
    EXPECT_EQ(runtimes::LowestH264Level({29, 1, 1, 1, c_ui64Bytes}).uiLevel, 11);
    EXPECT_EQ(runtimes::LowestH264Level({1, 56, 1, 1, c_ui64Bytes}).uiLevel, 11);
    EXPECT_EQ(runtimes::LowestH264Level({1, 57, 1, 1, c_ui64Bytes}).uiLevel, 21);
}

}  // namespace
