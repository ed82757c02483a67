// What the built program reports when something fails, and which files it leaves.
#include <algorithm>

#include "program_fixture.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

TEST_F(Program, TimesThatDoNotFitTheFramesAreAFailure)
{
    ExpectFailure(Run({"times", m_strVideo}, "times=4"), "GetCacheItem failed with status -9 (general failure): " +
                                                             QuotedVideo() + " has 5 frames, but 4 frame times");
}

TEST_F(Program, FailingFrameIsNamedAndNoHalfFileIsLeft)
{
    const std::string strLine = "ReadFrame failed with status -9 (general failure): frame 3 of " + QuotedVideo();
    ExpectFailure(Run({"frames", m_strVideo, "--raw", Target("r.bgr")}, "ReadFrame=-9 frame=3"), strLine);
    EXPECT_EQ(m_folder.Names().size(), 1u);  // the video

    ExpectFailure(Run({"frames", m_strVideo, "--out", Target("d")}, "ReadFrame=-9 frame=3"), strLine);
    EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000002.png"), FrameBytes(2));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder / "d"), {}), 3);
}

TEST_F(Program, KeepGoingLeavesOutTheFrameThatFails)
{
    for (const std::string strScript : {"ReadFrame=-9 frame=3", "ReadFrame=-9 frame=3 dies=1"})
    {
        ExpectFailure(
            Run({"frames", m_strVideo, "--out", Target("d"), "--frames", "4,3,2,3:4", "--keep-going"}, strScript),
            "ReadFrame failed with status -9 (general failure): frame 3 of " + QuotedVideo() +
                "\nqmhost: frames failed with status -9 (general failure): 1 of 3 frames of " + QuotedVideo() +
                " couldn't be read and are left out");
        EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000002.png"), FrameBytes(2)) << strScript;
        EXPECT_EQ(PixelsOf(m_folder / "d" / "frame_000004.png"), FrameBytes(4)) << strScript;
        EXPECT_EQ(ReadText(m_folder / "d" / "times.csv"), "frame,time_ms\n2,82\n4,161\n") << strScript;
        EXPECT_EQ(std::distance(fs::directory_iterator(m_folder / "d"), {}), 3) << strScript;
        fs::remove_all(m_folder / "d");
    }
}

TEST_F(Program, KeepGoingWithoutAnyFrame)
{
    const ProgramResult result = Run({"frames", m_strVideo, "--out", Target("d"), "--keep-going"}, "ReadFrame=-9");
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(std::count(result.m_strErr.begin(), result.m_strErr.end(), '\n'), 6) << result.m_strErr;
    EXPECT_THAT(result.m_strErr, HasSubstr(": 5 of 5 frames of " + QuotedVideo() + " couldn't be read"));
    EXPECT_EQ(ReadText(m_folder / "d" / "times.csv"), "frame,time_ms\n");
}

TEST_F(Program, KeepGoingRemovesAnOldPictureOfTheLostFrame)
{
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--keep-going"}).m_nStatus, 0);
    EXPECT_TRUE(fs::exists(m_folder / "d" / "frame_000003.png"));
    EXPECT_EQ(Run({"frames", m_strVideo, "--out", Target("d"), "--keep-going"}, "ReadFrame=-9 frame=3").m_nStatus, 1);
    EXPECT_FALSE(fs::exists(m_folder / "d" / "frame_000003.png"));
}

TEST_F(Program, KeepGoingEndsWhenPicturesCannotBeWritten)
{
    fs::create_directories(m_folder / "d" / "frame_000001.png");
    ExpectFailure(Run({"frames", m_strVideo, "--out", Target("d"), "--keep-going"}),
                  "frames failed with status -9 (general failure): '" +
                      qmhost::Utf8FromPath(m_folder / "d" / "frame_000001.png") +
                      "' can't be written: " + std::make_error_code(std::errc::is_a_directory).message());
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
    EXPECT_EQ(m_folder.Names().size(), 1u);  // the video
}

TEST_F(Program, BlankPicturesAreWrittenWhenAllowed)
{
    WriteVideo(MakeVideo(66));
    EXPECT_EQ(Run({"frames", m_strVideo, "--raw", Target("r"), "--allow-blank"}).m_nStatus, 0);
    EXPECT_EQ(Run({"preview", m_strVideo, "--size", "4x4", "--out", Target("p.png"), "--allow-blank"}).m_nStatus, 0);
    EXPECT_EQ(m_folder.Names().size(), 3u);
}

TEST_F(Program, UnknownProfileAndTimesAreWarnings)
{
    WriteVideo("no boxes at all");
    const ProgramResult result = Run({"frames", m_strVideo, "--raw", Target("r")});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_THAT(result.m_strErr, StartsWith("qmhost: warning: the profile of " + QuotedVideo()));
    EXPECT_THAT(result.m_strErr, HasSubstr("\nqmhost: warning: whether the times of " + QuotedVideo() +
                                           " are those of its video can't be found out\n"));
    EXPECT_THAT(Run({"info", m_strVideo, "--json"}).m_strOut, HasSubstr("\"times_of_video\": null,\n"));
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

TEST_F(Program, MissingFileFolderAndText)
{
    const std::string strFailed = "GetImageAttributes failed with status -9 (general failure): '";
    ExpectFailure(Run({"info", Target("missing.mp4")}, "GetImageAttributes=-9"),
                  strFailed + Target("missing.mp4") + "' doesn't exist");
    ExpectFailure(Run({"info", qmhost::Utf8FromPath(m_folder.Path())}, "GetImageAttributes=-9"),
                  strFailed + qmhost::Utf8FromPath(m_folder.Path()) + "' is a directory");
    ExpectFailure(Run({"info", m_strVideo}, "GetImageAttributes=-9"),
                  strFailed + m_strVideo + "' can't be opened as MP4 video");
}

// On Windows too, where some programs take a slash for the beginning of an option.
TEST_F(Program, APathMayBeginWithASlash)
{
    ExpectFailure(Run({"info", "/no such folder/x.mp4"}, "GetImageAttributes=-9"),
                  "GetImageAttributes failed with status -9 (general failure): '/no such folder/x.mp4' doesn't exist");
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
        {"frames", m_strVideo, "--raw", Target("r"), "--keep-going"},
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
    EXPECT_EQ(m_folder.Names().size(), 1u);  // the video
}

}  // namespace
