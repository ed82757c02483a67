#include "parts/timesfile.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>

#include "parts/text.h"
#include "parts/timetable.h"
#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<double> Parse(const std::string& text)
{
    std::istringstream in(text);
    return ReadTimesCsv(in);
}

std::string Problem(const std::string& text)
{
    try
    {
        Parse(text);
        return "none";
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
}

TEST(TimesFile, WhatTheProgramWritesItReads)
{
    EXPECT_THAT(Parse(TimesAsCsv({{0, 0.0}, {1, 33.0}, {2, 3e11}})), ElementsAre(0.0, 33.0, 3e11));
}

TEST(TimesFile, FractionsOfAMillisecond)
{
    EXPECT_THAT(Parse("frame,time_ms\n0,0\n1,33.4\n2,100.05\n3,1e3\n"), ElementsAre(0.0, 33.4, 100.05, 1000.0));
}

TEST(TimesFile, ChosenFramesStandForPicturesInTheirOrder)
{
    EXPECT_THAT(Parse("frame,time_ms\n7,280\n100,4000\n"), ElementsAre(280.0, 4000.0));
}

TEST(TimesFile, TimesMayRunBackwards)  // that is the module's affair
{
    EXPECT_THAT(Parse("frame,time_ms\n0,50\n1,20\n"), ElementsAre(50.0, 20.0));
}

TEST(TimesFile, OtherEditorsEndLinesInOtherWays)
{
    EXPECT_THAT(Parse("\xEF\xBB\xBF"
                      "frame,time_ms\r\n0,1\r\n1,2"),
                ElementsAre(1.0, 2.0));
    EXPECT_THAT(Parse("frame,time_ms\n0,1\n\n\r\n"), ElementsAre(1.0));
}

TEST(TimesFile, HeaderAloneIsNoTimes)
{
    EXPECT_THAT(Parse("frame,time_ms\n"), IsEmpty());
    EXPECT_THAT(Parse("frame,time_ms"), IsEmpty());
}

TEST(TimesFile, HeaderIsNeeded)
{
    for (const char* pszText : {"", "0,0\n1,40\n", "frame;time_ms\n", "frame,time_ms,more\n", "\n"})
        EXPECT_EQ(Problem(pszText), "line 1: not the header 'frame,time_ms'") << pszText;
}

TEST(TimesFile, LinesThatAreNoFrameAndTime)
{
    for (const char* pszLine : {"1", "1,", ",1", "x,1", "1,x", "1,2,3", "1;2", " 1,2", "1, 2", "1,2 ", "-1,2", "1.5,2",
                                "1,0x10", "1,nan", "1,inf", "1,1e999", "4294967296,1", ",", "1,1,5"})
    {
        EXPECT_EQ(Problem(std::string("frame,time_ms\n0,0\n") + pszLine + "\n"),
                  "line 3: '" + std::string(pszLine) + "' is no frame and time such as 7,280.5");
    }
}

TEST(TimesFile, FramesRise)
{
    EXPECT_EQ(Problem("frame,time_ms\n0,0\n2,1\n1,2\n"), "line 4: frame 1 doesn't come after frame 2");
    EXPECT_EQ(Problem("frame,time_ms\n5,0\n5,1\n"), "line 3: frame 5 doesn't come after frame 5");
}

TEST(TimesFile, TimeThatIsNotKnown)
{
    EXPECT_EQ(Problem("frame,time_ms\n0,-1\n"), "line 2: frame 0 has a time before 0");
}

TEST(TimesFile, NothingFollowsABlankLine)
{
    EXPECT_EQ(Problem("frame,time_ms\n0,0\n\n1,1\n"), "line 4: nothing may follow a blank line");
}

TEST(TimesFile, LineWithoutEndIsNotReadToItsEnd)
{
    EXPECT_EQ(Problem(std::string(1000, 'x')), "line 1: too long for a frame and its time");
    EXPECT_EQ(Problem("frame,time_ms\n0," + std::string(250, '0')), "line 2: too long for a frame and its time");
}

TEST(TimesFile, ErrorsNameTheFile)
{
    const UnicodeFolder folder;
    const auto path = folder / u8"t\u00EFmes.csv";
    const auto problemOf = [&] {
        try
        {
            ReadTimesFile(path);
            return std::string("none");
        }
        catch (const std::runtime_error& e)
        {
            return std::string(e.what());
        }
    };
    const std::string strPath = Quoted(Utf8FromPath(path));
    EXPECT_EQ(problemOf(), strPath + " doesn't exist");
    WriteText(path, "frame,time_ms\n0,x\n");
    EXPECT_EQ(problemOf(), strPath + ", line 2: '0,x' is no frame and time such as 7,280.5");
    WriteText(path, "frame,time_ms\n0,12.5\n");
    EXPECT_THAT(ReadTimesFile(path), ElementsAre(12.5));
}

}  // namespace
}  // namespace qmhost
