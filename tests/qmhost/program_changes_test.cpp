// The built program with files that other programs change meanwhile. It ends with a status and a line, and what it
// gives is right as far as it goes.
#include <atomic>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/repetitions.h"
#include "support/started_program.h"
#include "unicode_folder.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

constexpr int FRAMES = 60;
constexpr std::size_t FRAME_BYTES = std::size_t{3} * 320 * 240;  // more than a pipe holds

class ChangingFiles : public testing::Test
{
protected:
    // The video and its pictures are made once.
    static void SetUpTestSuite()
    {
        const UnicodeFolder folder;
        const std::string strVideo = (folder / "video.mp4").string();
        MakeWithFfmpeg("-f lavfi -i testsrc2=size=320x240:rate=25,noise=alls=20:allf=t -frames:v " +
                           std::to_string(FRAMES) + " -c:v libx264 -profile:v high -pix_fmt yuv420p -g 12",
                       strVideo);
        s_strVideo = ReadText(strVideo);
        const std::string strRaw = (folder / "all.bgr").string();
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"frames", strVideo, "--raw", strRaw});
        ASSERT_EQ(result.m_nStatus, 0) << result.m_strErr;
        s_strPictures = ReadText(strRaw);
        ASSERT_EQ(s_strPictures.size(), FRAMES * FRAME_BYTES);
    }

    ChangingFiles() { WriteText(m_strVideo, s_strVideo); }

    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }

    // Reads the video's frames. After a few of them change is called, while the program waits for its reader.
    template <class TChange>
    ProgramResult ReadWhile(TChange change) const
    {
        StartedProgram program(QMHOST_PROGRAM, {"frames", m_strVideo, "--raw", "-"});
        EXPECT_TRUE(program.ReadBytes(3 * FRAME_BYTES));
        change();
        return program.Wait();
    }

    // Either all pictures, or those up to a failure that is reported. All are right.
    static void ExpectBeginning(const ProgramResult& result)
    {
        EXPECT_EQ(result.m_strOut.size() % FRAME_BYTES, 0U);
        EXPECT_TRUE(s_strPictures.starts_with(result.m_strOut));
        if (result.m_strOut.size() == s_strPictures.size())
        {
            EXPECT_EQ(result.m_nStatus, 0);
            EXPECT_EQ(result.m_strErr, "");
            return;
        }
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_THAT(result.m_strErr, StartsWith("qmhost: ReadFrame failed with status -9 (general failure): frame "));
    }

    static inline std::string s_strVideo;
    static inline std::string s_strPictures;

    UnicodeFolder m_folder;
    const std::string m_strVideo = Target("video.mp4");
};

TEST_F(ChangingFiles, SourceThatShrinks)
{
    for (const std::uintmax_t uiSize : {s_strVideo.size() / 2, s_strVideo.size() / 4, std::size_t{100}, std::size_t{0}})
    {
        SCOPED_TRACE(uiSize);
        WriteText(m_strVideo, s_strVideo);
        const ProgramResult result = ReadWhile([&] { fs::resize_file(m_strVideo, uiSize); });
        ExpectBeginning(result);
        EXPECT_GE(result.m_strOut.size(), 3 * FRAME_BYTES);
    }
}

TEST_F(ChangingFiles, SourceThatGrows)
{
    const ProgramResult result =
        ReadWhile([&] { std::ofstream(m_strVideo, std::ios::binary | std::ios::app) << std::string(500000, 'x'); });
    EXPECT_EQ(result.m_nStatus, 0) << result.m_strErr;
    EXPECT_TRUE(result.m_strOut == s_strPictures);
}

TEST_F(ChangingFiles, SourceThatVanishes)
{
    ExpectBeginning(ReadWhile([&] { fs::remove(m_strVideo); }));
}

TEST_F(ChangingFiles, InfoWhileTheFileIsReplaced)
{
    std::atomic<bool> bEnd = false;
    std::thread changes([&] {
        for (std::size_t ui = 0; !bEnd; ++ui)
            WriteText(m_strVideo,
                      s_strVideo.substr(0, ui % 3 == 0 ? s_strVideo.size() : s_strVideo.size() * (ui % 3) / 3));
    });
    const int nTimes = FullFromAQuarter(20);
    for (int i = 0; i < nTimes; ++i)
    {
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"info", m_strVideo});
        EXPECT_TRUE(result.m_nStatus == 0 || result.m_nStatus == 1) << result.m_nStatus;
        if (result.m_nStatus == 1)
        {
            EXPECT_THAT(result.m_strErr, StartsWith("qmhost: "));
        }
    }
    bEnd = true;
    changes.join();
}

// Where a file can be removed while it is open, the module writes on and reports nothing.
TEST_F(ChangingFiles, TargetThatVanishes)
{
    const std::string strRaw = Target("r.bgr");
    WriteText(strRaw, "");
    // With so many lines of --progress the program waits for the test, not the other way round.
    fs::resize_file(strRaw, std::uintmax_t{StartedProgram::MANY_LINES} * 64 * 48 * 3);
    for (const char* pszCodec : {"NVENC1", "AMF1", "HQ"})
    {
        SCOPED_TRACE(pszCodec);
        fs::create_directory(m_folder / "target");
        StartedProgram program(QMHOST_PROGRAM, {"write", Target("target/out.mp4"), "--raw", strRaw, "--size", "64x48",
                                                "--codec", pszCodec, "--period", "40", "--progress"});
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(program.ReadLine(), "frame " + std::to_string(i));
        fs::remove_all(m_folder / "target");
        const ProgramResult result = program.Wait();
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_THAT(result.m_strErr, StartsWith("qmhost: "));
        EXPECT_THAT(result.m_strErr, HasSubstr("no file was made"));
    }
}

// A folder that no user can write to. The back ends differ in when they report it.
TEST_F(ChangingFiles, TargetInAReadOnlyFolder)
{
    WriteText(Target("r.bgr"), std::string(std::size_t{3} * 64 * 48, '\x80'));
    for (const char* pszCodec : {"NVENC1", "AMF1", "HQ"})
    {
        SCOPED_TRACE(pszCodec);
        const ProgramResult result =
            RunProgram(QMHOST_PROGRAM, {"write", "/proc/out.mp4", "--raw", Target("r.bgr"), "--size", "64x48",
                                        "--codec", pszCodec, "--period", "40"});
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_THAT(result.m_strErr,
                    testing::AnyOf("qmhost: write failed with status -1500 (a file didn't open): the first frame made "
                                   "no file '/proc/out.mp4'\n",
                                   testing::AllOf(StartsWith("qmhost: WriteNextFrame failed with status -9 (general "
                                                             "failure): frame 0 of '/proc/out.mp4'; "),
                                                  HasSubstr("; no file was made\n"))));
    }
    for (const std::vector<std::string>& vArguments :
         {std::vector<std::string>{"frames", m_strVideo, "--raw", "/proc/out"},
          {"frames", m_strVideo, "--out", "/proc/out"},
          {"preview", m_strVideo, "--size", "4x4", "--out", "/proc/out.png"}})
    {
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, vArguments);
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_THAT(result.m_strErr,
                    StartsWith("qmhost: " + vArguments.front() + " failed with status -9 (general failure): '" +
                               vArguments.back() + "' can't be "));
    }
}

// A file that runs as a program: no user can write to it, and nothing is begun.
TEST_F(ChangingFiles, TargetThatIsReadOnly)
{
    WriteText(Target("r.bgr"), std::string(std::size_t{3} * 64 * 48, '\x80'));
    fs::copy_file("/bin/cat", Target("out.mp4"));
    const std::string strBefore = ReadText(Target("out.mp4"));
    StartedProgram running("sh", {"-c", "exec \"$0\" /dev/zero", Target("out.mp4")});
    ASSERT_TRUE(running.ReadBytes(1));
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"write", Target("out.mp4"), "--raw", Target("r.bgr"),
                                                             "--size", "64x48", "--codec", "NVENC1", "--period", "40"});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr, "qmhost: write failed with status -9 (general failure): '" + Target("out.mp4") +
                                   "' can't be written: Text file busy\n");
    EXPECT_TRUE(ReadText(Target("out.mp4")) == strBefore);
}

}  // namespace
