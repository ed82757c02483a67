// What the built program reports when writing fails, and which files it leaves.
#include <algorithm>

#include "image_builder.h"
#include "program_fixture.h"

namespace
{

using namespace test_support;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

const std::string REFUSED = "'; a refused frame ends the file, since later ones would get wrong times";

class FailingWrite : public Program
{
protected:
    FailingWrite()
    {
        for (const char* pszName : {"a.png", "b.png", "c.png"})
            File(pszName, MakePng(2, 2, 2, 8, "abcdefghijkl"));
    }

    std::string File(const char* pszName, const std::string& bytes)
    {
        WriteText(m_folder / pszName, bytes);
        return Target(pszName);
    }

    // Writes three pictures with a codec that the module has, unless vArguments say otherwise.
    ProgramResult WriteThree(const std::string& strScript)
    {
        return Run(
            {"write", m_strOut, Target("a.png"), Target("b.png"), Target("c.png"), "--codec", "ONE", "--period", "40"},
            strScript);
    }
    ProgramResult Write(std::vector<std::string> vArguments, const std::string& strScript = "")
    {
        vArguments.insert(vArguments.begin(), {"write", m_strOut});
        return Run(vArguments, strScript);
    }
    void ExpectRefusal(const std::vector<std::string>& vArguments, const std::string& strProblem)
    {
        ExpectFailure(Write(vArguments), "write failed with status -9 (general failure): " + strProblem);
        EXPECT_FALSE(fs::exists(m_pathOut));
    }

    const fs::path m_pathOut = m_folder / "out.mp4";
    const std::string m_strOut = qmhost::Utf8FromPath(m_pathOut);
};

TEST_F(FailingWrite, FrameThatFailsIsNamedWithTheModulesReason)
{
    ExpectFailure(WriteThree("WriteNextFrame=-9 frame=1"),
                  "WriteNextFrame failed with status -9 (general failure): frame 1 of '" + m_strOut + REFUSED +
                      "; the file is left as it is, incomplete\n  the encoder is \u00E9mpty");
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("\nframe 0 "));  // neither renamed nor removed
    EXPECT_THAT(ReadText(m_pathOut), testing::Not(HasSubstr("\nframe 40 ")));
}

TEST_F(FailingWrite, ReasonOfAnotherFrameIsNotShown)
{
    // The last text before is that of the frame itself.
    ExpectFailure(WriteThree("WriteNextFrame=-9 frame=1 reason=0"),
                  "WriteNextFrame failed with status -9 (general failure): frame 1 of '" + m_strOut + REFUSED +
                      "; the file is left as it is, incomplete\n  frame 1");
    ExpectFailure(WriteThree("CloseOutput=-9 frames=3"), "CloseOutput failed with status -9 (general failure): '" +
                                                             m_strOut + "'; the file is left as it is, incomplete");
}

TEST_F(FailingWrite, ReasonStandsOnceWhenAllDiagnosticsAreShown)
{
    const ProgramResult result = Run({"-v", "write", m_strOut, Target("a.png"), "--codec", "ONE", "--period", "40"},
                                     "WriteNextFrame=-9 frame=0");
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr, "scripted.cpp:34: frame 0\n"
                               "the encoder\nis \u00E9mpty\n\n"
                               "qmhost: WriteNextFrame failed with status -9 (general failure): frame 0 of '" +
                                   m_strOut + REFUSED + "; no file was made\n");
}

TEST_F(FailingWrite, FileThatWasThereStaysWhenTheFirstFrameFails)
{
    WriteText(m_pathOut, "old");
    EXPECT_THAT(WriteThree("WriteNextFrame=-9 frame=0").m_strErr,
                HasSubstr("; the file that was there is as before\n"));
    EXPECT_EQ(ReadText(m_pathOut), "old");
}

TEST_F(FailingWrite, EveryOperationThatFailsIsNamed)
{
    for (const std::string strOperation :
         {"GetCodecInfo", "SetActiveCodec", "CreateOutputFileForPath", "SetImageAttributes", "SetFrameTime"})
    {
        const ProgramResult result = WriteThree(strOperation + "=-4");
        EXPECT_EQ(result.m_nStatus, 1) << strOperation;
        EXPECT_THAT(result.m_strErr,
                    StartsWith("qmhost: " + strOperation + " failed with status -4 (index or picture form refused): "));
        EXPECT_EQ(std::count(result.m_strErr.begin(), result.m_strErr.end(), '\n'), 1) << result.m_strErr;
        EXPECT_FALSE(fs::exists(m_pathOut));
    }
}

TEST_F(FailingWrite, ModuleThatMakesNoFileAndDoesNotReportIt)
{
    ExpectFailure(WriteThree("makesfile=0 frames=3"),
                  "write failed with status -1500 (a file didn't open): the first frame made no file '" + m_strOut +
                      "'");
}

TEST_F(FailingWrite, FileThatLacksFramesAfterwards)
{
    ExpectFailure(WriteThree("frames=2"),
                  "write failed with status -9 (general failure): '" + m_strOut +
                      "' doesn't hold the 3 frames written: the module finds 2; the file is left as it is, "
                      "incomplete");
    ExpectFailure(WriteThree("listed=2"), "write failed with status -9 (general failure): '" + m_strOut +
                                              "' doesn't hold the 3 frames written: its index has 2; the file is left "
                                              "as it is, incomplete");
    ExpectFailure(WriteThree("index=0"),
                  "write failed with status -9 (general failure): '" + m_strOut +
                      "' doesn't hold the 3 frames written: it has no index; the file is left as "
                      "it is, incomplete");
    EXPECT_THAT(WriteThree("GetImageAttributes=-9 frames=3").m_strErr,
                HasSubstr("' doesn't hold the 3 frames written: GetImageAttributes failed with status -9 "));
}

// All frames are there, and it takes a repair to open them. The module isn't asked, which doesn't open it either.
TEST_F(FailingWrite, FileAbove4GiBIsWholeButHasToBeRepaired)
{
    const std::vector<std::string> vArguments = {Target("a.png"), Target("b.png"), "--codec", "AMF1", "--period", "40"};
    const ProgramResult result = Write(vArguments, "codecs=1 large=1 GetImageAttributes=-9");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "qmhost: warning: '" + m_strOut +
                                   "' is whole, but larger than 4 GiB: no program opens it until it is repaired, with "
                                   "qmhost repair\n");

    ExpectFailure(Write(vArguments, "codecs=1 large=1 listed=1"),
                  "write failed with status -9 (general failure): '" + m_strOut +
                      "' doesn't hold the 2 frames written: its index has 1; the file is left as it is, incomplete");
}

// The module's file here is none of AMF1, which repair says.
TEST_F(FailingWrite, RepairThatFailsSaysWhy)
{
    const std::vector<std::string> vArguments = {Target("a.png"), "--codec", "AMF1", "--period", "40", "--repair"};
    const std::string strReason = "isn't repaired: repair failed with status -1506 (not supported by this format): ";
    const std::string strWayOut = "; qmhost repair makes a repaired copy, elsewhere too\n";
    for (const std::string strScript : {"codecs=1 frames=1", "codecs=1 large=1"})
    {
        const ProgramResult whole = Write(vArguments, strScript);
        EXPECT_EQ(whole.m_nStatus, 1);
        EXPECT_THAT(whole.m_strErr, StartsWith("qmhost: write failed with status -9 (general failure): '" + m_strOut +
                                               "' is written and finished, but " + strReason));
        EXPECT_THAT(whole.m_strErr, EndsWith(strWayOut));
    }
    const ProgramResult less = Write(vArguments, "codecs=1 frames=1 listed=3");
    EXPECT_EQ(less.m_nStatus, 1);
    EXPECT_THAT(less.m_strErr, HasSubstr("its index has 3; the file is left as it is, incomplete, and " + strReason));
    EXPECT_THAT(less.m_strErr, EndsWith(strWayOut));
}

TEST_F(FailingWrite, UnknownCodec)
{
    for (const std::string strCodec : {"one", "THREE"})
    {
        ExpectFailure(Write({Target("a.png"), "--codec", strCodec, "--period", "40"}),
                      "write failed with status -4 (index or picture form refused): there is no codec '" + strCodec +
                          "', only ONE, TWO");
    }
}

TEST_F(FailingWrite, PicturesThatAreMissingOrNone)
{
    ExpectRefusal({Target("a.png"), Target("missing.png"), "--codec", "ONE", "--period", "40"},
                  "'" + Target("missing.png") + "' doesn't exist");
    ExpectRefusal({Target("a.png"), File("x.png", "text"), "--codec", "ONE", "--period", "40"},
                  "'" + Target("x.png") + "' is neither PNG nor TIFF");
    ExpectRefusal({"--raw", Target("missing.bgr"), "--size", "2x2", "--codec", "ONE", "--period", "40"},
                  "'" + Target("missing.bgr") + "' doesn't exist");
}

TEST_F(FailingWrite, SizesThatDiffer)
{
    ExpectRefusal({Target("a.png"), File("x.png", MakePng(2, 1, 2, 8, "abcdef")), "--codec", "ONE", "--period", "40"},
                  "'" + Target("x.png") + "' is 2 x 1, unlike '" + Target("a.png") + "', which is 2 x 2");
}

TEST_F(FailingWrite, RawFileThatIsNoWholeNumberOfFrames)
{
    ExpectRefusal({"--raw", File("r.bgr", "abcdefg"), "--size", "1x2", "--codec", "ONE", "--period", "40"},
                  "'" + Target("r.bgr") +
                      "' has 7 bytes, which is no whole number of frames of 1 x 2 pixels, 6 bytes each");
}

TEST_F(FailingWrite, WrongNumberOfTimes)
{
    ExpectRefusal(
        {Target("a.png"), Target("b.png"), "--codec", "ONE", "--times", File("t.csv", "frame,time_ms\n0,0\n")},
        "'" + Target("t.csv") + "' has 1 times for 2 pictures");
    ExpectRefusal({Target("a.png"), "--codec", "ONE", "--times", File("t.csv", "frame,time_ms\n0,0\n1,1\n")},
                  "'" + Target("t.csv") + "' has 2 times for 1 pictures");
    ExpectRefusal({Target("a.png"), "--codec", "ONE", "--times", File("t.csv", "frame,time_ms\n")},
                  "'" + Target("t.csv") + "' has 0 times for 1 pictures");
}

TEST_F(FailingWrite, TimesThatRunBackwards)
{
    for (const std::string strCodec : {"ONE", "NVENC1", "AMF1"})
    {
        ExpectFailure(Write({Target("a.png"), Target("b.png"), Target("c.png"), "--codec", strCodec, "--times",
                             File("t.csv", "frame,time_ms\n0,0\n1,100\n2,50\n")},
                            "codecs=1"),
                      "write failed with status -9 (general failure): times of '" + Target("t.csv") +
                          "' run backwards at entry 2; put times and pictures in the order of time, or hand them over "
                          "with --exact-times");
        EXPECT_FALSE(fs::exists(m_pathOut));
    }
}

TEST_F(FailingWrite, DistancesThatAFileCanNotHold)
{
    const std::string strTimes = File("t.csv", "frame,time_ms\n0,0\n1,143165576\n2,572662305.6\n");
    const std::string strStart = "write failed with status -9 (general failure): times of '" + Target("t.csv") +
                                 "' have a distance before entry ";
    const std::string strWayOut = " can hold; write the frames from there on to another file";
    // The one before is as long as the system's files allow.
    const std::vector<std::string> vPictures = {Target("a.png"), Target("b.png"), Target("c.png")};
    for (const auto& [strCodec, strHours] :
         {std::pair<std::string, std::string>{"ONE", "39.8"}, {"NVENC1", "59.7"}, {"AMF1", "59.7"}})
    {
        auto vArguments = vPictures;
        vArguments.insert(vArguments.end(), {"--codec", strCodec, "--times", strTimes});
        ExpectFailure(Write(vArguments, "codecs=1"), strStart + "2 that is longer than the " + strHours +
                                                         " hours that a file of " + strCodec + strWayOut);
        EXPECT_FALSE(fs::exists(m_pathOut));
    }
    ExpectFailure(Write({Target("a.png"), Target("b.png"), "--codec", "AMF1", "--period", "500000000"}, "codecs=1"),
                  "write failed with status -9 (general failure): times at that period have a distance before entry 1 "
                  "that is longer than the 59.7 hours that a file of AMF1" +
                      strWayOut);
}

TEST_F(FailingWrite, TimesThatAreTooCloseForWholeMilliseconds)
{
    const std::string strTimes = File("t.csv", "frame,time_ms\n0,5\n1,5\n2,5\n");
    ExpectRefusal({Target("a.png"), Target("b.png"), Target("c.png"), "--codec", "ONE", "--times", strTimes},
                  "times of '" + Target("t.csv") +
                      "' are too close up to entry 2: ONE takes a distance below 1 ms for 1 ms; NVENC1 and AMF1 keep "
                      "times to 0.1 ms");
}

TEST_F(FailingWrite, TimesFileThatIsMissingOrMalformed)
{
    ExpectRefusal({Target("a.png"), "--codec", "ONE", "--times", Target("missing.csv")},
                  "'" + Target("missing.csv") + "' doesn't exist");
    ExpectRefusal({Target("a.png"), "--codec", "ONE", "--times", ""}, "'' doesn't exist");
    ExpectRefusal({Target("a.png"), "--codec", "ONE", "--times", File("t.csv", "frame,time_ms\n0;0\n")},
                  "'" + Target("t.csv") + "', line 2: '0;0' is no frame and time such as 7,280.5");
}

TEST_F(FailingWrite, PictureThatIsBrokenInside)
{
    std::string tiff = MakeTiff({{2, 2, TIFF_RGB, 8, 3, "abcdefghijkl"}});
    const std::string strOffset("\x11\x01\x04\x00\x01\x00\x00\x00\x08\x00", 10);  // where its rows are
    ASSERT_NE(tiff.find(strOffset), std::string::npos);
    tiff[tiff.find(strOffset) + 9] = '\x70';
    File("b.png", tiff);
    const std::string strProblem =
        "write failed with status -9 (general failure): '" + Target("b.png") + "' can't be read: ";
    const ProgramResult result = WriteThree("frames=1");
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, StartsWith("qmhost: " + strProblem));
    EXPECT_THAT(result.m_strErr, EndsWith("; '" + m_strOut + "' is finished with 1 frame\n"));
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("moov"));

    // What was read up to there is checked as any other file is.
    const ProgramResult less = WriteThree("frames=1 index=0");
    EXPECT_EQ(less.m_nStatus, 1);
    EXPECT_THAT(less.m_strErr, StartsWith("qmhost: '" + Target("b.png") + "' can't be read: "));
    EXPECT_THAT(less.m_strErr, EndsWith("\nqmhost: write failed with status -9 (general failure): '" + m_strOut +
                                        "' doesn't hold the 1 frames written: it has no index; the file is left as it "
                                        "is, incomplete\n"));

    fs::remove(m_pathOut);
    const ProgramResult first = Write({Target("b.png"), "--codec", "ONE", "--period", "40"});
    EXPECT_EQ(first.m_nStatus, 1);
    EXPECT_THAT(first.m_strErr, StartsWith("qmhost: " + strProblem));
    EXPECT_THAT(first.m_strErr, EndsWith("; no file was made\n"));
    EXPECT_FALSE(fs::exists(m_pathOut));
}

TEST_F(FailingWrite, TargetsThatCannotBeWritten)
{
    const std::string strMissing = qmhost::Utf8FromPath(m_folder / "missing");
    EXPECT_EQ(
        Run({"write", Target("missing") + "/out.mp4", Target("a.png"), "--codec", "ONE", "--period", "40"}).m_nStatus,
        1);
    fs::create_directory(m_pathOut);
    EXPECT_THAT(WriteThree("").m_strErr, StartsWith("qmhost: write failed with status -9 (general failure): '" +
                                                    m_strOut + "' can't be written: "));
}

TEST_F(FailingWrite, WrongCommandLines)
{
    const std::string a = Target("a.png");
    const std::string t = File("t.csv", "frame,time_ms\n0,0\n");
    const std::string r = File("r.bgr", "abc");
    const std::vector<std::vector<std::string>> vWrong = {
        {"write"},
        {"write", m_strOut},
        {"write", m_strOut, a},
        {"write", m_strOut, a, "--codec", "ONE"},
        {"write", m_strOut, a, "--period", "40"},
        {"write", m_strOut, "--codec", "ONE", "--period", "40"},
        {"write", a, Target("b.png"), "--codec", "ONE", "--period", "40"},  // no target: no picture is taken for it
        {"write", m_strOut, a, "--codec", "ONE", "--period", "40", "--times", t},
        {"write", m_strOut, a, "--codec", "ONE", "--period", "0"},
        {"write", m_strOut, a, "--codec", "ONE", "--period", "-40"},
        {"write", m_strOut, a, "--codec", "ONE", "--period", "nan"},
        {"write", m_strOut, a, "--codec", "ONE", "--period", "1e99"},
        {"write", m_strOut, a, "--codec", "ONE", "--period", "fast"},
        {"write", m_strOut, a, "--codec", "ONE", "--period", "40", "--size", "1x1"},
        {"write", m_strOut, "--raw", r, "--codec", "ONE", "--period", "40"},
        {"write", m_strOut, "--raw", r, "--size", "1", "--codec", "ONE", "--period", "40"},
        {"write", m_strOut, a, "--raw", r, "--size", "1x1", "--codec", "ONE", "--period", "40"},
    };
    for (const auto& vArguments : vWrong)
    {
        const ProgramResult result = Run(vArguments);
        EXPECT_EQ(result.m_nStatus, 2) << result.m_strErr << testing::PrintToString(vArguments);
        EXPECT_THAT(result.m_strErr, StartsWith("qmhost: "));
        EXPECT_THAT(result.m_strErr, HasSubstr("\nusage: see qmhost write --help"));
    }
    EXPECT_FALSE(fs::exists(m_pathOut));
    EXPECT_EQ(ReadText(m_folder / "a.png"), MakePng(2, 2, 2, 8, "abcdefghijkl"));
}

}  // namespace
