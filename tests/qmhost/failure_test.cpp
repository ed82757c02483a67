#include "parts/failure.h"

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

TEST(Failure, LineNamesOperationStatusAndMeaning)
{
    EXPECT_STREQ(Failure("GetImageAttributes", QM_ERR_FAIL, "'x.mp4' can't be opened as MP4 video").what(),
                 "GetImageAttributes failed with status -9 (general failure): 'x.mp4' can't be opened as MP4 video");
}

TEST(Failure, EveryStatusHasItsMeaning)
{
    EXPECT_EQ(StatusMeaning(-2), "not provided");
    EXPECT_EQ(StatusMeaning(-4), "index or picture form refused");
    EXPECT_EQ(StatusMeaning(-9), "general failure");
    EXPECT_EQ(StatusMeaning(-1500), "a file didn't open");
    EXPECT_EQ(StatusMeaning(-1506), "not supported by this format");
    EXPECT_EQ(StatusMeaning(-77), "unknown status");
}

TEST(Failure, ReasonStandsOnALineOfItsOwn)
{
    EXPECT_STREQ(Failure("WriteNextFrame", QM_ERR_FAIL, "frame 3", "no device").what(),
                 "WriteNextFrame failed with status -9 (general failure): frame 3\n  no device");
}

TEST(Failure, RequireLetsSuccessPass)
{
    EXPECT_NO_THROW(Require(QM_OK, "ReadFrame", "frame 1"));
    EXPECT_THROW(Require(QM_ERR_RANGE, "ReadFrame", "frame 1"), Failure);
    EXPECT_THROW(Require(1, "ReadFrame", "frame 1"), Failure);
}

}  // namespace
}  // namespace qmhost
