#include "parts/framelist.h"

#include <gmock/gmock.h>

namespace qmhost
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::uint32_t> Members(const FrameList& list)
{
    std::vector<std::uint32_t> vFrames;
    list.ForEach([&](std::uint32_t uiFrame) { vFrames.push_back(uiFrame); });
    EXPECT_EQ(list.Count(), vFrames.size());
    return vFrames;
}

std::vector<std::uint32_t> Members(const char* pszList)
{
    return Members(FrameList::Parse(pszList));
}

std::string Problem(const char* pszList)
{
    try
    {
        FrameList::Parse(pszList);
    }
    catch (const FrameListError& e)
    {
        return e.what();
    }
    return "no problem";
}

TEST(FrameList, SingleNumbersKeepTheirOrder)
{
    EXPECT_THAT(Members("5,0,3"), ElementsAre(5, 0, 3));
}

TEST(FrameList, DuplicatesAreKept)
{
    EXPECT_THAT(Members("2,2,1:2"), ElementsAre(2, 2, 1, 2));
}

TEST(FrameList, RangeIncludesItsEnd)
{
    EXPECT_THAT(Members("7:10"), ElementsAre(7, 8, 9, 10));
}

TEST(FrameList, RangeOfOneFrame)
{
    EXPECT_THAT(Members("7:7"), ElementsAre(7));
    EXPECT_THAT(Members("7:7:3"), ElementsAre(7));
    EXPECT_THAT(Members("7:7:-3"), ElementsAre(7));
}

TEST(FrameList, StepsCountUpAndDown)
{
    EXPECT_THAT(Members("0:6:2"), ElementsAre(0, 2, 4, 6));
    EXPECT_THAT(Members("30:0:-10"), ElementsAre(30, 20, 10, 0));
}

TEST(FrameList, EndThatTheStepsMissIsLeftOut)
{
    EXPECT_THAT(Members("0:7:3"), ElementsAre(0, 3, 6));
    EXPECT_THAT(Members("7:0:-3"), ElementsAre(7, 4, 1));
    EXPECT_THAT(Members("1:2:100"), ElementsAre(1));
}

TEST(FrameList, ItemsOfAllKindsTogether)
{
    EXPECT_THAT(Members("0,5,7:9,20:0:-10"), ElementsAre(0, 5, 7, 8, 9, 20, 10, 0));
}

TEST(FrameList, BlanksRoundNumbersAreAllowed)
{
    EXPECT_THAT(Members(" 0 , 2 : 6 : 2 "), ElementsAre(0, 2, 4, 6));
}

TEST(FrameList, LargestFrameNumberOf32Bits)
{
    EXPECT_THAT(Members("4294967295"), ElementsAre(4294967295u));
    EXPECT_THAT(Members("4294967294:4294967295"), ElementsAre(4294967294u, 4294967295u));
}

TEST(FrameList, HugeRangeCostsNoMemory)
{
    const FrameList list = FrameList::Parse("0:4294967295,4294967295:0:-1");
    EXPECT_EQ(list.Count(), 2 * 4294967296ull);
    EXPECT_EQ(list.Largest(), 4294967295u);
}

TEST(FrameList, LargestLooksAtWhatIsMet)
{
    EXPECT_EQ(FrameList::Parse("3,0:10:4").Largest(), 8u);
    EXPECT_EQ(FrameList::Parse("12:0:-5").Largest(), 12u);
    EXPECT_EQ(FrameList::Parse("9,2").Largest(), 9u);
}

TEST(FrameList, AllFrames)
{
    EXPECT_THAT(Members(FrameList::All(3)), ElementsAre(0, 1, 2));
    EXPECT_THAT(Members(FrameList::All(0)), ElementsAre());
}

TEST(FrameList, RangeAgainstItsStepIsRefused)
{
    EXPECT_THAT(Problem("20:7"), HasSubstr("'20:7' runs down"));
    EXPECT_THAT(Problem("7:20:-1"), HasSubstr("'7:20:-1' runs up"));
}

TEST(FrameList, StepOfZeroIsRefused)
{
    EXPECT_THAT(Problem("0:5:0"), HasSubstr("step of 0"));
    EXPECT_THAT(Problem("5:5:0"), HasSubstr("step of 0"));
}

TEST(FrameList, EmptyItemsAreRefused)
{
    for (const char* pszList : {"", " ", ",", "1,", ",1", "1,,2"})
        EXPECT_THAT(Problem(pszList), HasSubstr("empty")) << pszList;
}

TEST(FrameList, WhatIsNoNumberIsRefused)
{
    for (const char* pszList : {"x", "-1", "1.5", "1:", ":1", "1:2:", "1:2:3:4", "1 2", "0x10", "4294967296",
                                "1:4294967296", "0:9:99999999999", "+1", "1-5"})
        EXPECT_THAT(Problem(pszList), HasSubstr("is no frame number")) << pszList;
}

}  // namespace
}  // namespace qmhost
