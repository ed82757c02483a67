// The built program with Ctrl-C and requests to end.
#include <algorithm>
#include <csignal>
#include <fstream>
#include <memory>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "muxed_bytes.h"
#include "program_fixture.h"
#include "support/file_contents.h"
#include "support/started_program.h"

namespace
{

using namespace test_support;
namespace fs = std::filesystem;

class InterruptedProgram : public Program
{
protected:
    // So many raw frames of 2 x 2 pixels that the program doesn't get to their end.
    static constexpr int MANY = 2'000'000;

    std::string RawFile()
    {
        const fs::path path = m_folder / "frames.bgr";
        WriteText(path, "");
        fs::resize_file(path, std::uintmax_t{MANY} * 12);
        return Target("frames.bgr");
    }

    StartedProgram Start(std::vector<std::string> vArguments, const std::string& strScript)
    {
        vArguments.insert(vArguments.end(), {"--module", SCRIPTED_MODULE});
        return StartedProgram(QMHOST_PROGRAM, vArguments, {"QMHOST_SCRIPT=" + strScript});
    }
    StartedProgram StartWriting(const std::string& strScript)
    {
        return Start({"write", Target("out.mp4"), "--raw", RawFile(), "--size", "2x2", "--codec", "ONE", "--period",
                      "40", "--progress"},
                     strScript);
    }

    // What is in the folder besides the video.
    std::set<std::string> Names() const
    {
        std::set<std::string> names = m_folder.Names();
        names.erase(qmhost::Utf8FromPath(m_pathVideo.filename()));
        return names;
    }
};

TEST_F(InterruptedProgram, NoTemporaryFileIsLeft)
{
    for (const int nSignal : {SIGINT, SIGTERM})
    {
        WriteText(m_folder / "out.bgr", "before");
        StartedProgram program =
            Start({"frames", m_strVideo, "--raw", Target("out.bgr")}, "frames=" + std::to_string(MANY));
        ASSERT_TRUE(program.WaitFor([&] { return Names().size() > 1; }));  // the temporary file is there
        program.Signal(nSignal);
        const ProgramResult result = program.Wait();
        EXPECT_EQ(result.m_nStatus, 128 + nSignal);
        EXPECT_EQ(result.m_strErr, "qmhost: interrupted\n");
        EXPECT_EQ(Names(), std::set<std::string>{"out.bgr"});
        EXPECT_EQ(ReadText(m_folder / "out.bgr"), "before");
    }
}

TEST_F(InterruptedProgram, PicturesSoFarHaveTheirTimes)
{
    StartedProgram program = Start({"frames", m_strVideo, "--out", Target("pictures")}, "frames=100000");
    ASSERT_TRUE(program.WaitFor([&] { return fs::exists(m_folder / "pictures" / "frame_000002.png"); }));
    program.Signal(SIGINT);
    const ProgramResult result = program.Wait();
    EXPECT_EQ(result.m_nStatus, 130);
    EXPECT_EQ(result.m_strErr, "qmhost: interrupted\n");
    const std::string strTimes = ReadText(m_folder / "pictures" / "times.csv");
    EXPECT_THAT(strTimes, testing::StartsWith("frame,time_ms\n0,0\n1,41\n2,82\n"));
    const auto nFiles = std::distance(fs::directory_iterator(m_folder / "pictures"), fs::directory_iterator());
    EXPECT_EQ(std::count(strTimes.begin(), strTimes.end(), '\n'), nFiles);  // a line more, and a file more
    EXPECT_LT(nFiles, 100000);
}

// A finished file of 40 GB, nearly all of it a hole.
TEST_F(InterruptedProgram, RepairLeavesNothing)
{
    muxed_bytes::Index index;
    std::uint64_t uiMedia = 0;
    for (int i = 0; i < 10; ++i)
    {
        index.m_vSizes.push_back(4'000'000'000);
        index.m_vDeltas.push_back(400);
        uiMedia += index.m_vSizes.back();
    }
    {
        std::ofstream file(m_folder / "in.mp4", std::ios::binary);
        file << muxed_bytes::FileStart() << Word(static_cast<std::uint32_t>(uiMedia + 8)) << "mdat";
        file.seekp(static_cast<std::streamoff>(uiMedia), std::ios::cur);
        file << muxed_bytes::MuxerIndex(index);
        ASSERT_TRUE(file.good());
    }
    StartedProgram program = Start({"repair", Target("in.mp4"), Target("out.mp4")}, "");
    ASSERT_TRUE(program.WaitFor([&] { return Names().size() > 1; }));
    program.Signal(SIGTERM);
    const ProgramResult result = program.Wait();
    EXPECT_EQ(result.m_nStatus, 143);
    EXPECT_EQ(result.m_strErr, "qmhost: interrupted\n");
    EXPECT_EQ(Names(), std::set<std::string>{"in.mp4"});
}

TEST_F(InterruptedProgram, SecondRequestEndsAFrameThatNeverComes)
{
    for (const auto& [nFirst, nSecond] : {std::pair(SIGINT, SIGINT), {SIGINT, SIGTERM}, {SIGTERM, SIGINT}})
    {
        StartedProgram reading = Start({"frames", m_strVideo, "--raw", Target("out.bgr")}, "hangs=3");
        StartedProgram writing = StartWriting("hangs=3");
        for (StartedProgram* pProgram : {&reading, &writing})
        {
            ASSERT_TRUE(pProgram->WaitForErr("scripted module: hangs"));
            pProgram->Signal(nFirst);
            pProgram->SignalUntilItEnds(nSecond);
            const ProgramResult result = pProgram->Wait();
            EXPECT_TRUE(result.m_nStatus == 128 + nFirst || result.m_nStatus == 128 + nSecond) << result.m_nStatus;
        }
    }
}

// A producer that keeps the pipe open, and sends nothing more after these bytes.
class SilentInput : public InterruptedProgram
{
protected:
    SilentInput()
    {
        EXPECT_EQ(mkfifo(Target("pipe").c_str(), 0600), 0);
        m_nPipe = open(Target("pipe").c_str(), O_RDWR | O_CLOEXEC);
    }
    ~SilentInput() override { close(m_nPipe); }

    // The program with three frames of 12 bytes, and perhaps a part of another, after which it waits.
    std::unique_ptr<StartedProgram> StartWithThree(std::size_t uiBytes, const std::string& strScript = "frames=3")
    {
        fs::remove(m_folder / "out.mp4");
        Send(uiBytes);
        auto pProgram = std::make_unique<StartedProgram>(
            "sh",
            std::vector<std::string>{"-c", "exec \"$@\" < \"$0\"", Target("pipe"), QMHOST_PROGRAM, "write",
                                     Target("out.mp4"), "--raw", "-", "--size", "2x2", "--codec", "ONE", "--period",
                                     "40", "--progress", "--module", SCRIPTED_MODULE},
            std::vector<std::string>{"QMHOST_SCRIPT=" + strScript});
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(pProgram->ReadLine(), "frame " + std::to_string(i));
        return pProgram;
    }
    void Send(std::size_t uiBytes)
    {
        EXPECT_EQ(write(m_nPipe, std::string(uiBytes, 'x').data(), uiBytes), static_cast<ssize_t>(uiBytes));
    }
    int CountUnread() const
    {
        int nBytes = -1;
        EXPECT_EQ(ioctl(m_nPipe, FIONREAD, &nBytes), 0);
        return nBytes;
    }
    void ExpectFrames(int nFrames, const ProgramResult& result) const
    {
        const std::string strFrames = std::to_string(nFrames);
        EXPECT_EQ(result.m_strErr,
                  "qmhost: interrupted; '" + Target("out.mp4") + "' is finished with " + strFrames + " frames\n");
        const std::string strFile = ReadText(m_folder / "out.mp4");
        EXPECT_THAT(strFile, testing::HasSubstr("\nframe " + std::to_string(40 * (nFrames - 1)) + " "));
        EXPECT_THAT(strFile, testing::HasSubstr("moov"));
    }

private:
    int m_nPipe = -1;
};

TEST_F(SilentInput, DoesNotHoldUpTheEnd)
{
    for (const int nSignal : {SIGINT, SIGTERM})
    {
        for (const std::size_t uiBytes : {36U, 41U})  // at the end of a frame, and within one
        {
            const auto pProgram = StartWithThree(uiBytes);
            pProgram->Signal(nSignal);
            const ProgramResult result = pProgram->Wait();
            EXPECT_EQ(result.m_nStatus, 128 + nSignal);
            ExpectFrames(3, result);
        }
    }
}

// As in `qmhost write ... | tee log`, where Ctrl-C ends both. The program can't write the line of its last frame.
TEST_F(SilentInput, ReaderThatTheSameRequestEndsIsNoFailure)
{
    const auto pProgram = StartWithThree(36, "frames=4");
    pProgram->StopReading();
    Send(12);
    ASSERT_TRUE(pProgram->WaitFor([&] { return CountUnread() == 0; }));
    pProgram->Signal(SIGINT);
    const ProgramResult result = pProgram->Wait();
    EXPECT_EQ(result.m_nStatus, 130);
    ExpectFrames(4, result);
}

// The lines are more than a pipe holds, so that the program meets the closed end before its last frame.
TEST_F(InterruptedProgram, ReaderOfTheProgressThatGoesDoesNotEndTheFile)
{
    constexpr int FRAMES = 20'000;
    RawFile();
    fs::resize_file(m_folder / "frames.bgr", std::uintmax_t{FRAMES} * 12);
    const ProgramResult result =
        RunProgram("sh",
                   {"-c", "{ \"$0\" \"$@\"; echo \"status $?\" >&2; } | true", QMHOST_PROGRAM, "write",
                    Target("out.mp4"), "--raw", Target("frames.bgr"), "--size", "2x2", "--codec", "ONE", "--period",
                    "40", "--progress", "--module", SCRIPTED_MODULE},
                   {"QMHOST_SCRIPT=frames=" + std::to_string(FRAMES)});
    EXPECT_EQ(result.m_strErr,
              "qmhost: write failed with status -9 (general failure): standard output can't be written\nstatus 1\n");
    const std::string strFile = ReadText(m_folder / "out.mp4");
    EXPECT_THAT(strFile, testing::HasSubstr("\nframe " + std::to_string(40 * (FRAMES - 1)) + " "));
    EXPECT_THAT(strFile, testing::HasSubstr("moov"));
}

// The program waits in the middle of a frame that is larger than a pipe, and meets the closed end there.
TEST_F(InterruptedProgram, ReaderOfFramesThatTheSameRequestEndsIsNoFailure)
{
    for (const int nSignal : {0, SIGINT})
    {
        StartedProgram program = Start({"frames", m_strVideo, "--raw", "-"}, "frames=10 width=400 height=400");
        ASSERT_TRUE(program.ReadBytes(1));
        if (nSignal != 0) program.Signal(nSignal);
        program.StopReading();
        const ProgramResult result = program.Wait();
        EXPECT_EQ(result.m_nStatus, nSignal == 0 ? 1 : 130);
        EXPECT_EQ(result.m_strErr, nSignal == 0 ? "qmhost: frames failed with status -9 (general failure): standard "
                                                  "output can't be written\n"
                                                : "qmhost: interrupted\n");
    }
}

TEST_F(InterruptedProgram, CommandsThatChangeNothingEndAtOnce)
{
    StartedProgram program = Start({"times", m_strVideo}, "frames=" + std::to_string(MANY));
    ASSERT_TRUE(program.ReadLine());
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().m_nStatus, 130);
}

}  // namespace
