// The built program writing frames that come through a pipe.
#include "program_fixture.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

class StreamedWrite : public Program
{
protected:
    // Sends bytes through a pipe to qmhost write, which takes them as frames of 4 x 2 pixels.
    ProgramResult Write(const std::string& bytes, const std::vector<std::string>& vTimes, const std::string& strScript)
    {
        WriteText(m_folder / "input", bytes);
        return WriteFrom("cat \"$0\" | \"$@\"", Target("input"), vTimes, strScript);
    }
    ProgramResult WriteFrom(const std::string& strCommand, const std::string& strInput,
                            const std::vector<std::string>& vTimes, const std::string& strScript)
    {
        std::vector<std::string> vArguments = {"-c",     strCommand, strInput,   QMHOST_PROGRAM, "write",
                                               m_strOut, "--codec",  "ONE",      "--raw",        "-",
                                               "--size", "4x2",      "--module", SCRIPTED_MODULE};
        vArguments.insert(vArguments.end(), vTimes.begin(), vTimes.end());
        return RunProgram("sh", vArguments, {"QMHOST_SCRIPT=" + strScript});
    }
    std::string Times(const std::string& strLines)
    {
        WriteText(m_folder / "t.csv", "frame,time_ms\n" + strLines);
        return Target("t.csv");
    }

    const fs::path m_pathOut = m_folder / "out.mp4";
    const std::string m_strOut = qmhost::Utf8FromPath(m_pathOut);
    const std::string m_strThree = FrameBytes(0, 4, 2) + FrameBytes(1, 4, 2) + FrameBytes(2, 4, 2);
};

TEST_F(StreamedWrite, FramesUpToTheEndOfThePipe)
{
    const ProgramResult result = Write(m_strThree, {"--period", "40"}, "frames=3");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "");
    const std::string strRecord = ReadText(m_pathOut);
    EXPECT_THAT(strRecord, HasSubstr("attributes 4(12)x2 3x8/8 count 0\n"));  // not known
    for (const char* pszFrame : {"\nframe 0 ", "\nframe 40 ", "\nframe 80 "})
        EXPECT_THAT(strRecord, HasSubstr(pszFrame));
    EXPECT_THAT(strRecord, Not(HasSubstr("\nframe 120 ")));
}

TEST_F(StreamedWrite, TimesOfAFile)
{
    EXPECT_EQ(Write(m_strThree, {"--times", Times("0,0\n1,33\n2,7000\n")}, "frames=3").m_nStatus, 0);
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("\nframe 7000 "));
}

TEST_F(StreamedWrite, PartOfAFrameAtTheEndIsReportedAndTheFileFinished)
{
    const ProgramResult result = Write(m_strThree.substr(0, 50), {"--period", "40"}, "frames=2");
    ExpectFailure(result, "write failed with status -9 (general failure): standard input ended within a frame, after 2 "
                          "of its 24 bytes; '" +
                              m_strOut + "' is finished with 2 frames");
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("moov"));
}

TEST_F(StreamedWrite, NoWholeFrame)
{
    ExpectFailure(Write("", {"--period", "40"}, ""),
                  "write failed with status -9 (general failure): there is no frame; no file was made");
    ExpectFailure(Write("abc", {"--period", "40"}, ""),
                  "write failed with status -9 (general failure): standard input ended within a frame, after 3 of its "
                  "24 bytes; no file was made");
    EXPECT_FALSE(fs::exists(m_pathOut));
}

TEST_F(StreamedWrite, MoreFramesThanTimes)
{
    ExpectFailure(Write(m_strThree, {"--times", Times("0,0\n1,33\n")}, "frames=2"),
                  "write failed with status -9 (general failure): there are more frames than the 2 times; '" +
                      m_strOut + "' is finished with 2 frames");
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("moov"));
}

TEST_F(StreamedWrite, FewerFramesThanTimes)
{
    ExpectFailure(Write(m_strThree, {"--times", Times("0,0\n1,33\n2,66\n3,99\n")}, "frames=3"),
                  "write failed with status -9 (general failure): '" + Target("t.csv") +
                      "' has 4 times for 3 pictures; '" + m_strOut + "' is finished with 3 frames");
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("moov"));
}

TEST_F(StreamedWrite, TimesAreLookedAtBeforeTheFirstFrame)
{
    ExpectFailure(Write(m_strThree, {"--times", Times("0,0\n1,33\n2,32\n")}, ""),
                  "write failed with status -9 (general failure): times of '" + Target("t.csv") +
                      "' run backwards at entry 2; put times and pictures in the order of time, or hand them over "
                      "with --exact-times");
    ExpectFailure(Write(m_strThree, {"--times", Times("")}, ""),
                  "write failed with status -9 (general failure): '" + Target("t.csv") + "' has no times");
    EXPECT_EQ(Write(m_strThree, {"--period", "0.9"}, "").m_nStatus, 1);
    EXPECT_FALSE(fs::exists(m_pathOut));
}

TEST_F(StreamedWrite, SizeIsExpectedFromTheNumberOfTimes)
{
    const auto errOf = [&](int nTimes) {
        std::string strLines;
        for (int i = 0; i < nTimes; ++i)
            strLines += std::to_string(i) + "," + std::to_string(40 * i) + "\n";
        const ProgramResult result = RunProgram(QMHOST_PROGRAM,
                                                {"write", m_strOut, "--codec", "AMF1", "--raw", "-", "--size",
                                                 "1920x1080", "--times", Times(strLines), "--module", SCRIPTED_MODULE},
                                                {"QMHOST_SCRIPT=codecs=1"});
        EXPECT_EQ(result.m_nStatus, 1);
        return result.m_strErr;
    };
    EXPECT_THAT(errOf(51'600), testing::StartsWith("qmhost: warning: '" + m_strOut + "' may become larger than 4 GiB"));
    EXPECT_THAT(errOf(51'500), testing::StartsWith("qmhost: write failed"));
}

TEST_F(StreamedWrite, InputThatCanNotBeRead)
{
    const ProgramResult result =
        WriteFrom("exec \"$@\" < \"$0\"", qmhost::Utf8FromPath(m_folder.Path()), {"--period", "40"}, "");
    ExpectFailure(result, "write failed with status -9 (general failure): frame 0 can't be read from standard input: "
                          "Is a directory; no file was made");
}

TEST_F(StreamedWrite, WhatFramesGivesGoesOnWithoutAFile)
{
    std::vector<std::string> vArguments = {
        "-c",
        "\"$0\" frames \"$1\" --raw - --module \"$2\" | \"$0\" write \"$3\" --codec ONE --raw - --size 3x2 --period 40 "
        "--module \"$2\"",
        QMHOST_PROGRAM,
        m_strVideo,
        SCRIPTED_MODULE,
        m_strOut};
    const ProgramResult result = RunProgram("sh", vArguments, {"QMHOST_SCRIPT=frames=5"});
    EXPECT_EQ(result.m_nStatus, 0);
    const std::string strRecord = ReadText(m_pathOut);
    EXPECT_THAT(strRecord, HasSubstr("\nframe 160 "));
    EXPECT_THAT(strRecord, HasSubstr("attributes 4(12)x2 "));
}

}  // namespace
