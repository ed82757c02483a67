// The built program with a module that does what the test says: every answer of a module, and what becomes of it.
#include <gmock/gmock.h>

#include "box_builder.h"
#include "decode_image.h"
#include "run_program.h"
#include "temporary_folder.h"

namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

std::string MakeVideo(int nProfile)
{
    return MakeFileType() + MakeMovie(MakeTrack("vide", MakeSampleEntry("avc1", MakeAvcConfig(nProfile, nProfile))));
}

// The bytes of a frame as the scripted module fills it, without padding.
std::string FrameBytes(int nFrame, int nWidth = 3, int nHeight = 2)
{
    std::string bytes;
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < 3 * nWidth; ++x)
            bytes += static_cast<char>((7 * nFrame + 5 * y + x) % 251);
    return bytes;
}

std::string PixelsOf(const fs::path& path)
{
    const std::string text = FileText(path);
    const DecodedImage image = DecodeImage({text.begin(), text.end()});
    return {image.m_vBgr.begin(), image.m_vBgr.end()};
}

class Program : public testing::Test
{
protected:
    Program() : m_strVideo((m_folder / u8"v\u00EFdeo \u4E2D.mp4").string()) { WriteVideo(MakeVideo(100)); }

    void WriteVideo(const std::string& bytes) { std::ofstream(m_strVideo, std::ios::binary) << bytes; }

    ProgramResult Run(std::vector<std::string> vArguments, const std::string& strScript = "",
                      const std::string& strOutPath = {})
    {
        vArguments.insert(vArguments.end(), {"--module", SCRIPTED_MODULE});
        return RunProgram(QMHOST_PROGRAM, vArguments, {"QMHOST_SCRIPT=" + strScript}, strOutPath);
    }

    void ExpectFailure(const ProgramResult& result, const std::string& strLine)
    {
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_EQ(result.m_strErr, "qmhost: " + strLine + "\n");
        EXPECT_EQ(result.m_strOut, "");
    }

    std::string QuotedVideo() const { return "'" + m_strVideo + "'"; }
    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }

    TemporaryFolder m_folder;
    std::string m_strVideo;
};

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
    const ProgramResult result = Run({"info", m_strVideo, "--json"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strOut, "{\n"
                               "  \"file\": \"" +
                                   m_strVideo +
                                   "\",\n"
                                   "  \"frames\": 5,\n"
                                   "  \"width\": 3,\n"
                                   "  \"height\": 2,\n"
                                   "  \"first_time_ms\": 0,\n"
                                   "  \"last_time_ms\": 161,\n"
                                   "  \"duration_ms\": 161,\n"
                                   "  \"mean_period_ms\": 40.25,\n"
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

TEST_F(Program, TimesThatDoNotFitTheFramesAreAFailure)
{
    ExpectFailure(Run({"times", m_strVideo}, "times=4"), "GetCacheItem failed with status -9 (general failure): " +
                                                             QuotedVideo() + " has 5 frames, but 4 frame times");
}

TEST_F(Program, FramesWritesAllPicturesAndTheirTimes)
{
    const std::string strFolder = Target("a/new/folder");
    const ProgramResult result = Run({"frames", m_strVideo, "--out", strFolder});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "");  // nobody watches: no progress bar
    EXPECT_EQ(result.m_strOut, "");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(PixelsOf(fs::path(strFolder) / ("frame_00000" + std::to_string(i) + ".png")), FrameBytes(i));
    EXPECT_EQ(FileText(fs::path(strFolder) / "times.csv"), Run({"times", m_strVideo, "--csv"}).m_strOut);
    EXPECT_EQ(std::distance(fs::directory_iterator(strFolder), {}), 6);
}

TEST_F(Program, FramesWritesTiff)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--format", "tiff", "--frames", "1"}).m_nStatus, 0);
    EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000001.tif"), FrameBytes(1));
}

TEST_F(Program, ChosenFramesHaveTheirTimesInTheOrderOfNames)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--frames", "4:0:-2,4"}).m_nStatus, 0);
    EXPECT_EQ(FileText(m_folder / "d" / "times.csv"), "frame,time_ms\n0,0\n2,82\n4,161\n");
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
    EXPECT_EQ(FileText(m_folder / "r.bgr"), expected);
}

TEST_F(Program, RawFileOfAllFrames)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--raw", Target("r.bgr")}, "width=5 height=3 frames=2").m_nStatus, 0);
    EXPECT_EQ(FileText(m_folder / "r.bgr"), FrameBytes(0, 5, 3) + FrameBytes(1, 5, 3));
}

TEST_F(Program, RawToStandardOutput)
{
    const ProgramResult result = Run({"frames", m_strVideo, "--raw", "-", "--frames", "2"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strOut, FrameBytes(2));
}

TEST_F(Program, FailingFrameIsNamedAndNoHalfFileIsLeft)
{
    const std::string strLine = "ReadFrame failed with status -9 (general failure): frame 3 of " + QuotedVideo();
    ExpectFailure(Run({"frames", m_strVideo, "--raw", Target("r.bgr")}, "ReadFrame=-9 frame=3"), strLine);
    EXPECT_EQ(m_folder.EntryCount(), 1u);  // the video

    ExpectFailure(Run({"frames", m_strVideo, "--out", Target("d")}, "ReadFrame=-9 frame=3"), strLine);
    EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000002.png"), FrameBytes(2));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder / "d"), {}), 3);
}

TEST_F(Program, FrameBeyondTheLastIsNeverAskedFor)
{
    ExpectFailure(Run({"frames", m_strVideo, "--out", Target("d"), "--frames", "0,2:6:2"}),
                  "frames failed with status -4 (index or picture form refused): there is no frame 6 in " +
                      QuotedVideo() + ", only 0 to 4");
    EXPECT_FALSE(fs::exists(m_folder / "d"));
}

TEST_F(Program, FileWithoutFrames)
{
    ExpectFailure(Run({"frames", m_strVideo, "--out", Target("d")}, "frames=0"),
                  "frames failed with status -9 (general failure): " + QuotedVideo() + " has no frames");
    ExpectFailure(Run({"preview", m_strVideo, "--size", "4x4", "--out", Target("p.png")}, "frames=0"),
                  "preview failed with status -9 (general failure): " + QuotedVideo() + " has no frames");
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

TEST_F(Program, BlankPicturesAreNotWrittenSilently)
{
    WriteVideo(MakeVideo(66));
    const std::string strReason = "(not supported by this format): pictures are delivered for H.264 High profile and "
                                  "above only, and " +
                                  QuotedVideo() +
                                  " is H.264 Baseline (avc1, profile 66); --allow-blank gives its frames without "
                                  "their pictures";
    ExpectFailure(Run({"frames", m_strVideo, "--out", Target("d")}), "frames failed with status -1506 " + strReason);
    ExpectFailure(Run({"frames", m_strVideo, "--raw", Target("r")}), "frames failed with status -1506 " + strReason);
    ExpectFailure(Run({"preview", m_strVideo, "--size", "4x4", "--out", Target("p.png")}),
                  "preview failed with status -1506 " + strReason);
    EXPECT_EQ(m_folder.EntryCount(), 1u);  // the video
}

TEST_F(Program, BlankPicturesAreWrittenWhenAllowed)
{
    WriteVideo(MakeVideo(66));
    EXPECT_EQ(Run({"frames", m_strVideo, "--raw", Target("r"), "--allow-blank"}).m_nStatus, 0);
    EXPECT_EQ(Run({"preview", m_strVideo, "--size", "4x4", "--out", Target("p.png"), "--allow-blank"}).m_nStatus, 0);
    EXPECT_EQ(m_folder.EntryCount(), 3u);
}

TEST_F(Program, UnknownProfileIsAWarning)
{
    WriteVideo("no boxes at all");
    const ProgramResult result = Run({"frames", m_strVideo, "--raw", Target("r")});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_THAT(result.m_strErr, StartsWith("qmhost: warning: the profile of " + QuotedVideo()));
}

TEST_F(Program, EveryOperationThatFailsIsNamed)
{
    const std::vector<std::pair<std::string, std::vector<std::string>>> vCases = {
        {"GetFormatId", {"codecs"}},
        {"GetFormatDescription", {"codecs"}},
        {"GetFileExtension", {"codecs"}},
        {"GetCodecInfo", {"codecs"}},
        {"GetQualityInfo", {"codecs"}},
        {"CreateInputFileForPath", {"info", m_strVideo}},
        {"GetImageAttributes", {"info", m_strVideo}},
        {"GetExperiment", {"info", m_strVideo}},
        {"GetPictureMetadata", {"info", m_strVideo}},
        {"GetCacheItem", {"times", m_strVideo}},
        {"GetCacheItem", {"frames", m_strVideo, "--out", Target("d")}},
        {"ReadFrame", {"frames", m_strVideo, "--raw", Target("r")}},
        {"GetPreviewBitmap", {"preview", m_strVideo, "--size", "4x4", "--out", Target("p.png")}},
    };
    for (const auto& [strOperation, vArguments] : vCases)
    {
        const ProgramResult result = Run(vArguments, strOperation + "=-1506");
        EXPECT_EQ(result.m_nStatus, 1) << strOperation;
        EXPECT_THAT(result.m_strErr, StartsWith("qmhost: " + strOperation +
                                                " failed with status -1506 (not supported by this format): "));
        EXPECT_EQ(std::count(result.m_strErr.begin(), result.m_strErr.end(), '\n'), 1) << result.m_strErr;
    }
    EXPECT_FALSE(fs::exists(m_folder / "r"));
    EXPECT_FALSE(fs::exists(m_folder / "p.png"));
}

TEST_F(Program, FactoryThatGivesNull)
{
    ExpectFailure(Run({"codecs"}, "factory=0"),
                  "QM_ConstructorForCQmImageFormatMP4 failed with status -9 (general failure): '" SCRIPTED_MODULE
                  "' gave no format object");
}

TEST_F(Program, ObjectWithoutTheInterfaceIsGivenBack)
{
    ExpectFailure(Run({"codecs"}, "interface=0"),
                  "QueryInterface failed with status -2 (not provided): '" SCRIPTED_MODULE "' has no IQmImageFormat");
}

TEST_F(Program, LibraryThatIsNoModule)
{
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"codecs", "--module", HOST_LIBRARY});
    ExpectFailure(result, "loading the module failed with status -2 (not provided): '" HOST_LIBRARY
                          "' doesn't export QM_ConstructorForCQmImageFormatMP4");
}

TEST_F(Program, MissingModule)
{
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"--module", Target("\u00E9.so"), "codecs"});
    ExpectFailure(result, "loading the module failed with status -1500 (a file didn't open): '" + Target("\u00E9.so") +
                              "' doesn't load: cannot open shared object file: No such file or directory");
}

TEST_F(Program, MissingFolderDirectoryAndText)
{
    const std::string strFailed = "GetImageAttributes failed with status -9 (general failure): '";
    ExpectFailure(Run({"info", Target("missing.mp4")}, "GetImageAttributes=-9"),
                  strFailed + Target("missing.mp4") + "' doesn't exist");
    ExpectFailure(Run({"info", m_folder.Path().string()}, "GetImageAttributes=-9"),
                  strFailed + m_folder.Path().string() + "' is a directory");
    ExpectFailure(Run({"info", m_strVideo}, "GetImageAttributes=-9"),
                  strFailed + m_strVideo + "' can't be opened as MP4 video");
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

TEST_F(Program, DiagnosticsOnlyWhenAskedFor)
{
    EXPECT_EQ(Run({"info", m_strVideo}).m_strErr, "");
    EXPECT_EQ(Run({"-v", "info", m_strVideo}).m_strErr, "scripted.cpp:12: opening " + m_strVideo + "\n");
    EXPECT_EQ(Run({"info", m_strVideo, "--verbose"}).m_strErr, "scripted.cpp:12: opening " + m_strVideo + "\n");
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

TEST_F(Program, VersionAndHelpSucceed)
{
    EXPECT_THAT(Run({"--version"}).m_strOut, StartsWith("qmhost "));
    EXPECT_EQ(Run({"--version"}).m_nStatus, 0);
    EXPECT_EQ(Run({"--help"}).m_nStatus, 0);
    EXPECT_THAT(Run({"frames", "--help"}).m_strOut, HasSubstr("START:END:STEP with END included"));
}

TEST_F(Program, WrongCommandLines)
{
    const std::vector<std::vector<std::string>> vWrong = {
        {},
        {"unknown"},
        {"info"},
        {"info", m_strVideo, "--xml"},
        {"info", m_strVideo, "another"},
        {"codecs", "info"},
        {"frames", m_strVideo},
        {"frames", m_strVideo, "--out", Target("d"), "--raw", Target("r")},
        {"frames", m_strVideo, "--raw", Target("r"), "--format", "png"},
        {"frames", m_strVideo, "--out", Target("d"), "--format", "jpeg"},
        {"frames", m_strVideo, "--out", Target("d"), "--frames", "5:1"},
        {"frames", m_strVideo, "--out", Target("d"), "--frames", ""},
        {"preview", m_strVideo, "--out", Target("p.png")},
        {"preview", m_strVideo, "--size", "4x4"},
        {"preview", m_strVideo, "--size", "4", "--out", Target("p.png")},
        {"preview", m_strVideo, "--size", "4x4", "--out", Target("p.jpg")},
    };
    for (const auto& vArguments : vWrong)
    {
        const ProgramResult result = Run(vArguments);
        EXPECT_EQ(result.m_nStatus, 2) << result.m_strErr << testing::PrintToString(vArguments);
        EXPECT_THAT(result.m_strErr, StartsWith("qmhost: "));
        EXPECT_THAT(result.m_strErr, HasSubstr("\nusage: see qmhost "));
    }
    EXPECT_EQ(m_folder.EntryCount(), 1u);  // the video
}

}  // namespace
