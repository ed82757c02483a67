#include "parts/progress.h"

#include <sstream>

#include <gtest/gtest.h>

namespace qmhost
{
namespace
{

TEST(Progress, TextShowsShareAndCount)
{
    EXPECT_EQ(ProgressText(0, 4), "[------------------------------] 0%  0/4");
    EXPECT_EQ(ProgressText(1, 2), "[###############---------------] 50%  1/2");
    EXPECT_EQ(ProgressText(4, 4), "[##############################] 100%  4/4");
}

TEST(Progress, NothingToDoIsDone)
{
    EXPECT_EQ(ProgressText(0, 0), "[##############################] 100%  0/0");
}

TEST(Progress, WithoutATotalTheCountIsShown)
{
    EXPECT_EQ(ProgressText(37, std::nullopt), "frame 37");
    std::ostringstream terminal;
    {
        ProgressBar bar(&terminal, std::nullopt);
        bar.Step();
    }
    EXPECT_EQ(terminal.str(), "\rframe 1\r       \r");
}

TEST(Progress, BarIsWipedAtTheEnd)
{
    std::ostringstream terminal;
    {
        ProgressBar bar(&terminal, 2);
        bar.Step();
    }
    const std::string first = "[###############---------------] 50%  1/2";
    EXPECT_EQ(terminal.str(), "\r" + first + "\r" + std::string(first.size(), ' ') + "\r");
}

TEST(Progress, WithoutATerminal)
{
    ProgressBar bar(nullptr, 2);
    bar.Step();
    bar.Step();
}

TEST(Progress, UntouchedBarLeavesTheTerminalAlone)
{
    std::ostringstream terminal;
    {
        const ProgressBar bar(&terminal, 2);
    }
    EXPECT_EQ(terminal.str(), "");
}

}  // namespace
}  // namespace qmhost
