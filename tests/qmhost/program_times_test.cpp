// The times in files that the built program writes with the real module: those that were given, rounded once, however
// many frames there are.
#include <cmath>
#include <random>
#include <sstream>

#include <gmock/gmock.h>

#include "support/mp4_boxes.h"
#include "support/repetitions.h"
#include "support/run_program.h"
#include "unicode_folder.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

class WrittenTimes : public testing::Test
{
protected:
    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }

    // Writes grey pictures of 2 x 2 pixels, one for each time.
    ProgramResult Write(const std::string& strCodec, const std::vector<double>& vTimesMs,
                        const std::vector<std::string>& vMore = {}) const
    {
        std::string strTimes = "frame,time_ms\n";
        for (std::size_t i = 0; i < vTimesMs.size(); ++i)
        {
            char acLine[80];
            std::snprintf(acLine, sizeof acLine, "%zu,%.17g\n", i, vTimesMs[i]);  // every 64-bit float comes back
            strTimes += acLine;
        }
        WriteText(Target("t.csv"), strTimes);
        WriteText(Target("r.bgr"), std::string(12 * vTimesMs.size(), '\x80'));
        std::vector<std::string> vArguments = {"write",         m_strOut, "--codec", strCodec,  "--raw",
                                               Target("r.bgr"), "--size", "2x2",     "--times", Target("t.csv")};
        vArguments.insert(vArguments.end(), vMore.begin(), vMore.end());
        return RunProgram(QMHOST_PROGRAM, vArguments);
    }

    // The time of each frame as the file has it, in ticks of 0.1 ms.
    std::vector<std::int64_t> Ticks() const
    {
        const Bytes vFile = ReadBytes(m_strOut);
        EXPECT_EQ(WordAt(vFile, FindBox(vFile, "moov/trak/mdia/mdhd").m_uiPayload + 12), 10000u);
        const Mp4Box table = FindBox(vFile, "moov/trak/mdia/minf/stbl/stts");
        std::vector<std::int64_t> vTicks;
        std::int64_t nTicks = 0;
        for (std::size_t ui = table.m_uiPayload + 8; ui + 8 <= table.m_uiEnd; ui += 8)
        {
            for (std::uint32_t uiCount = WordAt(vFile, ui); uiCount > 0; --uiCount)
            {
                vTicks.push_back(nTicks);
                nTicks += WordAt(vFile, ui + 4);
            }
        }
        return vTicks;
    }

    // The times that the module reads, whole milliseconds.
    std::vector<double> Read() const
    {
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"times", m_strOut, "--csv"});
        EXPECT_EQ(result.m_nStatus, 0) << result.m_strErr;
        std::istringstream lines(result.m_strOut);
        std::vector<double> vTimesMs;
        std::string strLine;
        std::getline(lines, strLine);
        while (std::getline(lines, strLine))
            vTimesMs.push_back(std::stod(strLine.substr(strLine.find(',') + 1)));
        return vTimesMs;
    }

    void ExpectNoDrift(const std::vector<double>& vTimesMs) const
    {
        const auto vTicks = Ticks();
        const auto vRead = Read();
        ASSERT_EQ(vTicks.size(), vTimesMs.size());
        ASSERT_EQ(vRead.size(), vTimesMs.size());
        double dLargestTicks = 0;
        double dLargestRead = 0;
        for (std::size_t i = 0; i < vTimesMs.size(); ++i)
        {
            const double dElapsedMs = vTimesMs[i] - vTimesMs.front();
            dLargestTicks = std::max(dLargestTicks, std::abs(static_cast<double>(vTicks[i]) - dElapsedMs * 10));
            dLargestRead = std::max(dLargestRead, std::abs(vRead[i] - dElapsedMs));
        }
        EXPECT_LE(dLargestTicks, 0.5 + 1e-6);
        EXPECT_LE(dLargestRead, 1.0);
    }

    std::string Report(std::size_t uiFrames, const std::string& strDifference) const
    {
        return "'" + m_strOut + "' has " + std::to_string(uiFrames) +
               " frames; the largest difference of a time from the given one is " + strDifference + " ms\n";
    }

    UnicodeFolder m_folder;
    const std::string m_strOut = Target("out.mp4");
};

std::vector<double> Steady(double dPeriodMs, int nCount)
{
    std::vector<double> vTimesMs;
    for (int i = 0; i < nCount; ++i)
        vTimesMs.push_back(i * dPeriodMs);
    return vTimesMs;
}

// 100,000 frames, each some 50 us of the software encoder.
class LongRecording : public WrittenTimes
{
protected:
    void WriteAndCompare(const std::vector<double>& vTimesMs) const
    {
        const ProgramResult result = Write("NVENC1", vTimesMs);
        ASSERT_EQ(result.m_nStatus, 0) << result.m_strErr;
        ExpectNoDrift(vTimesMs);
    }
    static int Frames() { return Repetitions(100'000); }
};

TEST_F(LongRecording, At33Point3667Milliseconds)
{
    WriteAndCompare(Steady(33.3667, Frames()));
}

TEST_F(LongRecording, At59Point94FramesASecond)
{
    WriteAndCompare(Steady(1000 / 59.94, Frames()));
}

TEST_F(LongRecording, AtRandomDistancesOfMicroseconds)
{
    const unsigned uiSeed = std::random_device()();
    SCOPED_TRACE(uiSeed);
    std::mt19937 random(uiSeed);
    std::uniform_int_distribution<int> distance(0, 50'000);
    std::vector<double> vTimesMs;
    std::int64_t nTimeUs = 0;
    for (int i = 0; i < Frames(); ++i, nTimeUs += distance(random))
        vTimesMs.push_back(static_cast<double>(nTimeUs) / 1000);
    WriteAndCompare(vTimesMs);
}

// 599 x 33.3667 ms are 19986.6533.
TEST_F(WrittenTimes, WithoutRoundingEveryDistanceIsCut)
{
    const auto vTimesMs = Steady(33.3667, 600);
    const ProgramResult result = Write("NVENC1", vTimesMs, {"--exact-times"});
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strOut, Report(600, "40"));
    EXPECT_EQ(Ticks().back(), 199'467);
    EXPECT_EQ(Write("NVENC1", vTimesMs).m_nStatus, 0);
    EXPECT_EQ(Ticks().back(), 199'867);
}

TEST_F(WrittenTimes, LargestDifferenceIsReported)
{
    const std::vector<double> vTimesMs = {0, 33.42, 66.7, 100.05, 7201000.96};
    for (const std::string strCodec : {"NVENC1", "AMF1"})
        EXPECT_EQ(Write(strCodec, vTimesMs).m_strOut, Report(5, "0.05")) << strCodec;
    EXPECT_EQ(Write("HQ", vTimesMs).m_strOut, Report(5, "0.42"));
    EXPECT_EQ(Write("AMF1", {5.5, 38.9, 7201000.5}).m_strOut, Report(3, "0"));
    EXPECT_THAT(Write("NVENC1", vTimesMs, {"--repair"}).m_strOut, testing::EndsWith(Report(5, "0.05")));
}

TEST_F(WrittenTimes, OfAmfAreRoundedOnce)
{
    const auto vTimesMs = Steady(33.3667, 1000);
    EXPECT_EQ(Write("AMF1", vTimesMs).m_nStatus, 0);
    ExpectNoDrift(vTimesMs);
}

// Two pictures at one time are a millisecond apart, and no later one moves.
TEST_F(WrittenTimes, OfTheSystemsEncoderAreWholeMilliseconds)
{
    for (const std::string strCodec : {"HQ", "FST"})
    {
        EXPECT_EQ(Write(strCodec, {0, 33.4, 66.7, 66.7, 100.6, 100.9, 7201000.9}).m_nStatus, 0);
        EXPECT_THAT(Read(), testing::ElementsAre(0, 33, 67, 68, 101, 102, 7201001)) << strCodec;
    }
    EXPECT_EQ(Write("LQ", Steady(33.3667, 300)).m_nStatus, 0);
    const auto vRead = Read();
    ASSERT_EQ(vRead.size(), 300u);
    for (std::size_t i = 0; i < vRead.size(); ++i)
        EXPECT_EQ(vRead[i], std::round(33.3667 * static_cast<double>(i))) << i;
}

// The longest distances that are allowed come back as they are.
TEST_F(WrittenTimes, LongestDistances)
{
    EXPECT_EQ(Write("NVENC1", {0, 214748364.7, 214748364.7 + 40}).m_nStatus, 0);
    EXPECT_THAT(Read(), testing::ElementsAre(0, 214748364, 214748404));
    EXPECT_EQ(Write("HQ", {0, 143165576, 143165616}).m_nStatus, 0);
    EXPECT_THAT(Read(), testing::ElementsAre(0, 143165576, 143165616));
}

// At 20 Mbit/s for 1920 x 1080 a picture of that size takes 83333 bytes. The file of frames is sparse, and no encoder
// is there, so that nothing is written.
TEST_F(WrittenTimes, MoreThanFourGigabytesAreWarnedOfBeforeTheFirstFrame)
{
    constexpr std::uintmax_t FRAME = std::uintmax_t{3} * 1920 * 1080;
    const auto errOf = [&](std::uintmax_t uiFrames, const std::string& strCodec,
                           const std::vector<std::string>& vMore) {
        WriteText(Target("r.bgr"), "");
        fs::resize_file(Target("r.bgr"), FRAME * uiFrames);
        std::vector<std::string> vArguments = {"write",         m_strOut, "--codec",   strCodec,   "--raw",
                                               Target("r.bgr"), "--size", "1920x1080", "--period", "40"};
        vArguments.insert(vArguments.end(), vMore.begin(), vMore.end());
        const ProgramResult result =
            RunProgram(QMHOST_PROGRAM, vArguments, {"IMAGEFORMAT_MP4_RUNTIMES=" + Target("nothing")});
        EXPECT_EQ(result.m_nStatus, 1);
        return result.m_strErr;
    };
    for (const std::string strCodec : {"NVENC1", "AMF1"})
    {
        EXPECT_THAT(errOf(51'600, strCodec, {}),
                    StartsWith("qmhost: warning: '" + m_strOut +
                               "' may become larger than 4 GiB: about 4.0 GiB are expected of " + strCodec +
                               "; no program opens such a file until it is repaired: qmhost repair, or write "
                               "--repair, which takes as much space again meanwhile\nqmhost: WriteNextFrame failed"));
        EXPECT_THAT(errOf(51'500, strCodec, {}), StartsWith("qmhost: WriteNextFrame failed"));
    }
    EXPECT_THAT(errOf(51'600, "NVENC1", {"--repair"}), StartsWith("qmhost: WriteNextFrame failed"));
}

}  // namespace
