#include "parts/naturalorder.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

using Names = std::vector<std::string>;

// Each name comes before all later ones, whatever the order they are found in.
void ExpectOrder(const Names& vNames)
{
    for (std::size_t i = 0; i < vNames.size(); ++i)
        for (std::size_t j = 0; j < vNames.size(); ++j)
            EXPECT_EQ(NaturallyBefore(vNames[i], vNames[j]), i < j) << vNames[i] << " and " << vNames[j];
    std::mt19937 random(7);
    for (int i = 0; i < 20; ++i)
    {
        Names vFound = vNames;
        std::shuffle(vFound.begin(), vFound.end(), random);
        std::sort(vFound.begin(), vFound.end(), NaturallyBefore);
        EXPECT_EQ(vFound, vNames);
    }
}

TEST(NaturalOrder, NumbersCountAsNumbers)
{
    ExpectOrder({"img1.png", "img2.png", "img3.png", "img10.png", "img11.png", "img100.png"});
    ExpectOrder({"2.png", "10.png", "a.png"});
    ExpectOrder({"t1_z2.png", "t1_z10.png", "t2_z1.png", "t10_z1.png"});
}

TEST(NaturalOrder, NumbersOfAnyLength)
{
    ExpectOrder({"a99999999999999999999999999999998", "a99999999999999999999999999999999",
                 "a100000000000000000000000000000000"});
}

TEST(NaturalOrder, LeadingZerosDoNotChangeANumber)
{
    ExpectOrder({"img01.png", "img2.png", "img003.png", "img10.png", "img0011.png"});
}

TEST(NaturalOrder, EqualNumbersAreInTheOrderOfTheirZeros)
{
    ExpectOrder({"img1.png", "img01.png", "img001.png", "img2.png"});
    ExpectOrder({"0.png", "00.png", "1.png"});
    // The first number that differs in them counts; but first all numbers do.
    ExpectOrder({"a1b01.png", "a01b1.png", "a1b2.png", "a01b2.png"});
}

TEST(NaturalOrder, CapitalsDoNotSeparateNames)
{
    ExpectOrder({"IMG1.PNG", "img2.png", "IMG10.PNG", "img11.png"});
    ExpectOrder({"A.png", "a.png", "B.png", "b.png"});
}

TEST(NaturalOrder, ANameComesBeforeItsContinuations)
{
    ExpectOrder({"img1.png", "img1 (2).png", "img1-2.png", "img1_2.png", "img1a.png", "img2.png"});
    ExpectOrder({"img", "img1", "img1.5", "img1x"});
}

TEST(NaturalOrder, TheEndingCountsLast)
{
    ExpectOrder({"a1.png", "a1.tif", "a2.png", "a2.tif"});
}

TEST(NaturalOrder, BytesBeyondAsciiAreInTheirOrder)
{
    ExpectOrder({"z2.png", "\u00E92.png", "\u00E910.png", "\u4E2D1.png"});
}

}  // namespace
}  // namespace qmhost
