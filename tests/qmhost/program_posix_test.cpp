// The same on systems with byte paths, devices and locales: messages here are the system's own.
#include "program_fixture.h"

namespace
{

using namespace test_support;

TEST_F(Program, MissingModule)
{
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"--module", Target("\u00E9.so"), "codecs"});
    ExpectFailure(result, "loading the module failed with status -1500 (a file didn't open): '" + Target("\u00E9.so") +
                              "' doesn't load: cannot open shared object file: No such file or directory");
}

TEST_F(Program, PathThatIsNotUtf8)
{
    const ProgramResult result = Run({"info", "\xFF.mp4"});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr,
              "qmhost: CreateInputFileForPath failed with status -1500 (a file didn't open): '\xFF.mp4' isn't UTF-8\n");
}

TEST_F(Program, NameWithALineBreakStaysOneLine)
{
    ExpectFailure(Run({"info", "two\nlines"}, "GetImageAttributes=-9"),
                  "GetImageAttributes failed with status -9 (general failure): 'two\\x0Alines' doesn't exist");
}

TEST_F(Program, LocaleDoesNotMatter)
{
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"-v", "info", m_strVideo, "--module", SCRIPTED_MODULE},
                                            {"LC_ALL=C", "QMHOST_SCRIPT="});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "scripted.cpp:12: opening " + m_strVideo + "\n");
}

TEST_F(Program, FullStandardOutputIsAFailure)
{
    for (const std::vector<std::string>& vArguments :
         {std::vector<std::string>{"codecs"}, {"times", m_strVideo}, {"frames", m_strVideo, "--raw", "-"}})
    {
        const ProgramResult result = Run(vArguments, "", "/dev/full");
        ExpectFailure(result, vArguments.front() +
                                  " failed with status -9 (general failure): standard output can't be written");
    }
}

TEST_F(Program, TargetsThatCannotBeWritten)
{
    const ProgramResult result = Run({"frames", m_strVideo, "--raw", Target("missing/r.bgr")});
    ExpectFailure(result, "frames failed with status -9 (general failure): '" + Target("missing/r.bgr") +
                              "' can't be written: No such file or directory");
    EXPECT_EQ(Run({"frames", m_strVideo, "--raw", "/dev/full"}).m_nStatus, 1);
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", m_strVideo}).m_nStatus, 1);  // a file where the folder should be
    EXPECT_EQ(Run({"preview", m_strVideo, "--size", "4x4", "--out", Target("missing/p.png")}).m_nStatus, 1);
}

}  // namespace
