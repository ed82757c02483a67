// What the built program gives out when its module does what it is asked.
#include "program_fixture.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

TEST_F(Program, CodecsListsBothTables)
{
    const ProgramResult result = Run({"codecs"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "");
    EXPECT_EQ(result.m_strOut, "TST: A format for tests, *.tst\n"
                               "\n"
                               "codec  code      name\n"
                               "    0  ONE       The f\xC3\xAFrst\n"
                               "    1  TWO       The second\n"
                               "\n"
                               "quality  name      value  parameter\n"
                               "      0  Good          1  0.15\n");
}

TEST_F(Program, InfoInWords)
{
    const ProgramResult result = Run({"info", m_strVideo});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "");
    EXPECT_EQ(result.m_strOut, m_strVideo + "\n"
                                            "  frames        5\n"
                                            "  size          3 x 2\n"
                                            "  first time    0 ms\n"
                                            "  last time     161 ms\n"
                                            "  duration      161 ms\n"
                                            "  mean period   40.25 ms\n"
                                            "  stream        H.264 High (avc1, profile 100)\n"
                                            "  pictures      delivered\n");
}

TEST_F(Program, InfoAsJson)
{
    std::string strEscaped;
    for (const char c : m_strVideo)
        strEscaped += c == '\\' ? std::string("\\\\") : std::string(1, c);
    const ProgramResult result = Run({"info", m_strVideo, "--json"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strOut, "{\n"
                               "  \"file\": \"" +
                                   strEscaped +
                                   "\",\n"
                                   "  \"frames\": 5,\n"
                                   "  \"width\": 3,\n"
                                   "  \"height\": 2,\n"
                                   "  \"first_time_ms\": 0,\n"
                                   "  \"last_time_ms\": 161,\n"
                                   "  \"duration_ms\": 161,\n"
                                   "  \"mean_period_ms\": 40.25,\n"
                                   "  \"times_of_video\": true,\n"
                                   "  \"times_problem\": null,\n"
                                   "  \"stream\": \"H.264 High (avc1, profile 100)\",\n"
                                   "  \"profile\": 100,\n"
                                   "  \"pictures_delivered\": true\n"
                                   "}\n");
}

TEST_F(Program, InfoOfASingleFrameHasNoPeriod)
{
    EXPECT_THAT(Run({"info", m_strVideo, "--json"}, "frames=1 badperiod=1").m_strOut,
                HasSubstr("\"mean_period_ms\": null,"));
    EXPECT_THAT(Run({"info", m_strVideo}, "frames=1 badperiod=1").m_strOut, HasSubstr("mean period   none\n"));
}

TEST_F(Program, InfoOfNoFrames)
{
    EXPECT_THAT(Run({"info", m_strVideo, "--json"}, "frames=0").m_strOut,
                HasSubstr("\"frames\": 0,\n  \"width\": 3,\n  \"height\": 2,\n  \"first_time_ms\": null,"));
}

TEST_F(Program, InfoTellsWhenPicturesAreNotDelivered)
{
    WriteVideo(MakeVideo(66));
    EXPECT_THAT(Run({"info", m_strVideo}).m_strOut, HasSubstr("pictures      not delivered for this profile"));
    EXPECT_THAT(Run({"info", m_strVideo, "--json"}).m_strOut, HasSubstr("\"pictures_delivered\": false"));
    WriteVideo("no boxes at all");
    EXPECT_THAT(Run({"info", m_strVideo, "--json"}).m_strOut, HasSubstr("\"pictures_delivered\": null"));
}

TEST_F(Program, TimesAsCsv)
{
    const ProgramResult result = Run({"times", m_strVideo, "--csv"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strOut, "frame,time_ms\n0,0\n1,41\n2,82\n3,120\n4,161\n");
}

TEST_F(Program, TimesAsATable)
{
    EXPECT_THAT(Run({"times", m_strVideo}).m_strOut, HasSubstr("         2     0:00:00.082      41 ms\n"));
}

TEST_F(Program, FramesWritesAllPicturesAndTheirTimes)
{
    const fs::path folder = m_folder / "a" / "new" / "folder";
    const ProgramResult result = Run({"frames", m_strVideo, "--out", qmhost::Utf8FromPath(folder)});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "");  // no terminal, no progress bar
    EXPECT_EQ(result.m_strOut, "");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(PixelsOf(folder / ("frame_00000" + std::to_string(i) + ".png")), FrameBytes(i));
    EXPECT_EQ(ReadText(folder / "times.csv"), Run({"times", m_strVideo, "--csv"}).m_strOut);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 6);
}

TEST_F(Program, FramesWritesTiff)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--format", "tiff", "--frames", "1"}).m_nStatus, 0);
    EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000001.tif"), FrameBytes(1));
}

TEST_F(Program, ChosenFramesHaveTheirTimesInTheOrderOfNames)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--frames", "4:0:-2,4"}).m_nStatus, 0);
    EXPECT_EQ(ReadText(m_folder / "d" / "times.csv"), "frame,time_ms\n0,0\n2,82\n4,161\n");
    EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000004.png"), FrameBytes(4));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder / "d"), {}), 4);
}

TEST_F(Program, ExistingFolderIsFine)
{
    fs::create_directory(m_folder / "d");
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--frames", "0"}).m_nStatus, 0);
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--frames", "0"}).m_nStatus, 0);
}

TEST_F(Program, RawFileHasTightRowsInTheOrderOfTheList)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--raw", Target("r.bgr"), "--frames", "3,0:1,3,2:0:-1"}).m_nStatus, 0);
    std::string expected;
    for (const int nFrame : {3, 0, 1, 3, 2, 1, 0})
        expected += FrameBytes(nFrame);
    EXPECT_EQ(ReadText(m_folder / "r.bgr"), expected);
}

TEST_F(Program, RawFileOfAllFrames)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--raw", Target("r.bgr")}, "width=5 height=3 frames=2").m_nStatus, 0);
    EXPECT_EQ(ReadText(m_folder / "r.bgr"), FrameBytes(0, 5, 3) + FrameBytes(1, 5, 3));
}

TEST_F(Program, RawToStandardOutput)
{
    const ProgramResult result = Run({"frames", m_strVideo, "--raw", "-", "--frames", "2"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strOut, FrameBytes(2));
}

TEST_F(Program, PreviewAtEverySize)
{
    for (const int nWidth : {1, 2, 3, 4, 17})
    {
        const std::string strSize = std::to_string(nWidth) + "x5";
        EXPECT_EQ(Run({"preview", m_strVideo, "--size", strSize, "--out", Target("p.png")}).m_nStatus, 0);
        EXPECT_EQ(PixelsOf(m_folder / "p.png"), FrameBytes(200, nWidth, 5)) << strSize;
    }
}

TEST_F(Program, PreviewWithAutoContrast)
{
    EXPECT_EQ(Run({"preview", m_strVideo, "--size", "4x4", "--auto-contrast", "--out", Target("p.tif")}).m_nStatus, 0);
    EXPECT_EQ(PixelsOf(m_folder / "p.tif"), FrameBytes(100, 4, 4));
}

TEST_F(Program, DiagnosticsOnlyWhenAskedFor)
{
    EXPECT_EQ(Run({"info", m_strVideo}).m_strErr, "");
    EXPECT_EQ(Run({"-v", "info", m_strVideo}).m_strErr, "scripted.cpp:12: opening " + m_strVideo + "\n");
    EXPECT_EQ(Run({"info", m_strVideo, "--verbose"}).m_strErr, "scripted.cpp:12: opening " + m_strVideo + "\n");
}

TEST_F(Program, VersionAndHelpSucceed)
{
    EXPECT_THAT(Run({"--version"}).m_strOut, StartsWith("qmhost "));
    EXPECT_EQ(Run({"--version"}).m_nStatus, 0);
    EXPECT_EQ(Run({"--help"}).m_nStatus, 0);
    EXPECT_THAT(Run({"frames", "--help"}).m_strOut, HasSubstr("START:END:STEP with END included"));
}

}  // namespace
