// The built program writing with the real module and the software encoder runtime, and reading back what it wrote.
#include <algorithm>
#include <cmath>
#include <numeric>

#include <gmock/gmock.h>

#include "succeeding_program.h"
#include "support/ffmpeg.h"
#include "support/run_program.h"
#include "unicode_folder.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr std::size_t FRAMES = 6;

// Smooth shades that move, under a fractal that is zoomed into: no two pictures alike, in the soft colours of filmed
// ones, since H.264 keeps a quarter of what colours differ in. Tight rows B, G, R.
std::vector<std::string> Pictures(int nWidth, int nHeight)
{
    const UnicodeFolder folder;
    const std::string strSize = "size=" + std::to_string(nWidth) + "x" + std::to_string(nHeight);
    MakeWithFfmpeg("-f lavfi -i \"gradients=" + strSize +
                       ":c0=0x304050:c1=0xC0B090:speed=0.2:seed=3,format=gbrp[shades];mandelbrot=" + strSize +
                       ":rate=25:start_scale=1.5:end_scale=0.2:end_pts=10,gblur=2,hue=s=0.3,format=gbrp[fractal];"
                       "[shades][fractal]blend=all_mode=average\" -frames:v " +
                       std::to_string(FRAMES) + " -pix_fmt bgr24 -f rawvideo",
                   folder / "r");
    const std::string raw = ReadText(folder / "r");
    std::vector<std::string> vPictures;
    const std::size_t uiBytes = raw.size() / FRAMES;
    for (std::size_t i = 0; i < FRAMES; ++i)
        vPictures.push_back(raw.substr(i * uiBytes, uiBytes));
    return vPictures;
}

std::string Joined(const std::vector<std::string>& vPictures)
{
    return std::accumulate(vPictures.begin(), vPictures.end(), std::string());
}

// Decibels over all bytes.
double Psnr(const std::string& a, const std::string& b)
{
    double dSum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        const double dDifference = static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]);
        dSum += dDifference * dDifference;
    }
    return dSum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / dSum);
}

// The part of a picture that is nWidth x nHeight pixels, and of one column and row beyond it.
std::string Part(const std::string& picture, int nPictureWidth, int nLeft, int nTop, int nWidth, int nHeight)
{
    std::string part;
    for (int y = nTop; y < nTop + nHeight; ++y)
        part += picture.substr(3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(nPictureWidth) +
                                    static_cast<std::size_t>(nLeft)),
                               3 * static_cast<std::size_t>(nWidth));
    return part;
}

class RoundTrip : public testing::Test
{
protected:
    std::string File(const char* pszName, const std::string& bytes) const
    {
        WriteText(m_folder / pszName, bytes);
        return Target(pszName);
    }
    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }

    // Writes with NVENC1 to the file that ReadBack reads.
    void Write(std::vector<std::string> vArguments, const std::string& strErr = "") const
    {
        vArguments.insert(vArguments.begin(), {"write", m_strOut, "--codec", "NVENC1"});
        Succeed(vArguments, strErr + Note());
    }
    // What follows the writing of a file that isn't repaired.
    std::string Note() const
    {
        return "qmhost: '" + m_strOut +
               "' opens in this module as it is; ffmpeg and browsers play a tenth of its length, unless it is "
               "repaired: "
               "qmhost repair, or write --repair\n";
    }
    // The frames in an order that isn't theirs, sorted again.
    std::vector<std::string> ReadBack() const
    {
        const std::size_t aOrder[FRAMES] = {5, 0, 3, 4, 1, 2};
        Succeed({"frames", m_strOut, "--raw", Target("back.bgr"), "--frames", "5,0,3,4,1,2"});
        const std::string raw = ReadText(m_folder / "back.bgr");
        std::vector<std::string> vPictures(FRAMES);
        for (std::size_t i = 0; i < FRAMES; ++i)
            vPictures[aOrder[i]] = raw.substr(i * (raw.size() / FRAMES), raw.size() / FRAMES);
        return vPictures;
    }
    std::string Times() const { return Succeed({"times", m_strOut, "--csv"}); }

    // Each picture that was read is near to the one written in its place, and not as near to any other.
    static void ExpectPictures(const std::vector<std::string>& vRead, const std::vector<std::string>& vWritten)
    {
        ASSERT_EQ(vRead.size(), vWritten.size());
        for (std::size_t i = 0; i < vRead.size(); ++i)
        {
            ASSERT_EQ(vRead[i].size(), vWritten[i].size()) << i;
            for (std::size_t j = 0; j < vWritten.size(); ++j)
            {
                const double dPsnr = Psnr(vRead[i], vWritten[j]);
                EXPECT_TRUE(i == j ? dPsnr > 35 : dPsnr < 32) << i << " " << j << ": " << dPsnr;
            }
        }
    }

    UnicodeFolder m_folder;
    const std::string m_strOut = Target("wr\u00EFtten \u4E2D.mp4");
};

TEST_F(RoundTrip, RawFramesAtIrregularTimes)
{
    const auto vPictures = Pictures(160, 96);
    const std::string strTimes = File("t.csv", "frame,time_ms\n0,0\n1,33.4\n2,66.7\n3,100.05\n4,1000.9\n5,7201000.9\n");
    Write({"--raw", File("r.bgr", Joined(vPictures)), "--size", "160x96", "--times", strTimes});
    ExpectPictures(ReadBack(), vPictures);
    // The sums of 334, 333, 333, 9008 and 72000000 tenths of a millisecond, in whole milliseconds.
    EXPECT_EQ(Times(), "frame,time_ms\n0,0\n1,33\n2,66\n3,100\n4,1000\n5,7201000\n");
}

TEST_F(RoundTrip, SteadyPeriod)
{
    Write({"--raw", File("r.bgr", Joined(Pictures(64, 48))), "--size", "64x48", "--period", "33.3"});
    EXPECT_EQ(Times(), "frame,time_ms\n0,0\n1,33\n2,66\n3,99\n4,133\n5,166\n");
}

TEST_F(RoundTrip, ImageFilesGiveTheSameFileAsRawFrames)
{
    // What frames writes, write takes again: pictures and times of a file, in both kinds of image files.
    Write({"--raw", File("r.bgr", Joined(Pictures(160, 96))), "--size", "160x96", "--period", "40.5"});
    Succeed({"frames", m_strOut, "--raw", Target("first.bgr")});
    Succeed({"times", m_strOut, "--csv"});
    File("first.csv", Times());
    const fs::path pathFirst = m_folder / "first.mp4";
    fs::rename(m_strOut, pathFirst);
    Write({"--raw", Target("first.bgr"), "--size", "160x96", "--times", Target("first.csv")});
    const std::string strExpected = ReadText(m_strOut);
    for (const std::string strFormat : {"png", "tiff"})
    {
        const fs::path folder = m_folder / strFormat;
        Succeed({"frames", pathFirst.string(), "--out", folder.string(), "--format", strFormat});
        std::vector<std::string> vArguments = {"--times", (folder / "times.csv").string()};
        for (std::size_t i = 0; i < FRAMES; ++i)
        {
            const std::string strName = "frame_00000" + std::to_string(i) + (strFormat == "png" ? ".png" : ".tif");
            vArguments.push_back((folder / strName).string());
        }
        Write(vArguments);
        EXPECT_TRUE(ReadText(m_strOut) == strExpected) << strFormat;
    }
}

TEST_F(RoundTrip, OddSidesAreFilledByTheLastColumnAndRow)
{
    constexpr int WIDTH = 161;  // 4n + 1: rows of the even width lie further apart than its own
    constexpr int HEIGHT = 95;
    const auto vPictures = Pictures(WIDTH, HEIGHT);
    Write({"--raw", File("r.bgr", Joined(vPictures)), "--size", "161x95", "--period", "40"},
          "qmhost: warning: pictures of 161 x 95 become 162 x 96, since H.264 takes even sides only\n");
    std::vector<std::string> vOwn;
    for (const std::string& picture : ReadBack())
    {
        vOwn.push_back(Part(picture, WIDTH + 1, 0, 0, WIDTH, HEIGHT));
        EXPECT_GT(
            Psnr(Part(picture, WIDTH + 1, WIDTH, 0, 1, HEIGHT), Part(picture, WIDTH + 1, WIDTH - 1, 0, 1, HEIGHT)), 30);
        EXPECT_GT(
            Psnr(Part(picture, WIDTH + 1, 0, HEIGHT, WIDTH, 1), Part(picture, WIDTH + 1, 0, HEIGHT - 1, WIDTH, 1)), 30);
    }
    ExpectPictures(vOwn, vPictures);
}

TEST_F(RoundTrip, MachineWithoutTheEncoderIsReportedInPlainWords)
{
    const ProgramResult result = RunProgram(QMHOST_PROGRAM,
                                            {"write", m_strOut, "--codec", "NVENC1", "--raw",
                                             File("r.bgr", std::string(12, 'x')), "--size", "2x2", "--period", "40"},
                                            {"IMAGEFORMAT_MP4_RUNTIMES=" + Target("nothing")});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr,
              "qmhost: WriteNextFrame failed with status -9 (general failure): frame 0 of '" + m_strOut +
                  "'; a refused frame ends the file, since later ones would get wrong times; no file was made\n"
                  "  NvEncoder::LoadNvEncApi : NVENC library file is not found. Please ensure NV driver "
                  "is installed\n");
    EXPECT_FALSE(fs::exists(m_strOut));
}

TEST_F(RoundTrip, CodecsAreThoseOfTheTable)
{
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"write", m_strOut, "--codec", "H264", "--raw",
                                                             Target("r.bgr"), "--size", "2x2", "--period", "40"});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, HasSubstr("there is no codec 'H264', only HQ, NQ, LQ, FST, AMF1, NVENC1\n"));
}

// --- the module doesn't report writes that failed, so the program finds out itself ---

// 300 small pictures.
class WriteWithoutSpace : public RoundTrip
{
protected:
    // Noise, so that pictures don't get small.
    WriteWithoutSpace()
    {
        test_support::MakeWithFfmpeg("-f lavfi -i testsrc2=size=64x48:rate=25,noise=alls=60:allf=t -frames:v 300 "
                                     "-pix_fmt bgr24 -f rawvideo",
                                     Target("r.bgr"));
        m_vWrite = {"write",         m_strOut, "--codec", "NVENC1",   "--raw",
                    Target("r.bgr"), "--size", "64x48",   "--period", "40"};
    }

    // With files of at most so many blocks of 1024 bytes.
    ProgramResult WriteWithLimit(std::uintmax_t uiBlocks) const
    {
        std::vector<std::string> vArguments = {"-c", "ulimit -f " + std::to_string(uiBlocks) + "; exec \"$@\"", "sh",
                                               QMHOST_PROGRAM};
        vArguments.insert(vArguments.end(), m_vWrite.begin(), m_vWrite.end());
        return RunProgram("bash", vArguments);
    }
    std::uintmax_t SizeOfWholeFile() const
    {
        EXPECT_EQ(RunProgram(QMHOST_PROGRAM, m_vWrite).m_nStatus, 0);
        const std::uintmax_t uiSize = fs::file_size(m_strOut);
        fs::remove(m_strOut);
        return uiSize;
    }
    std::string Refused() const
    {
        return "qmhost: write failed with status -9 (general failure): the system refused bytes of '" + m_strOut + "'";
    }

    std::vector<std::string> m_vWrite;
};

TEST_F(WriteWithoutSpace, IsReportedWhenItHappens)
{
    ASSERT_GT(SizeOfWholeFile(), 4 * 64 * 1024U);
    const ProgramResult result = WriteWithLimit(100);
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, testing::StartsWith(Refused() + ", by frame "));
    EXPECT_THAT(result.m_strErr, testing::EndsWith(" at the latest; the file is left as it is, incomplete\n"));
    EXPECT_LT(std::stoi(result.m_strErr.substr(result.m_strErr.find("by frame ") + 9)), 299);
    EXPECT_EQ(ReadText(m_strOut).substr(40, 4), "\x1A\xBE\xCE\xDA");  // the mark of an unfinished file
}

// So late that the module has taken every frame.
TEST_F(WriteWithoutSpace, IsReportedAtTheEnd)
{
    const std::uintmax_t uiSize = SizeOfWholeFile();
    const ProgramResult result = WriteWithLimit((uiSize - 1) / 1024);
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr, Refused() + "; the file is left as it is, incomplete\n");
}

TEST_F(WriteWithoutSpace, IsNoProblemWithEnough)
{
    const std::uintmax_t uiSize = SizeOfWholeFile();
    const ProgramResult result = WriteWithLimit(uiSize / 1024 + 1);
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, Note());
    EXPECT_EQ(fs::file_size(m_strOut), uiSize);
}

TEST_F(WriteWithoutSpace, DiskThatIsFull)
{
    fs::create_symlink("/dev/full", m_strOut);
    const ProgramResult result = RunProgram(QMHOST_PROGRAM, m_vWrite);
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, testing::StartsWith(Refused() + ", by frame "));
}

}  // namespace
