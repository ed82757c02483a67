// The built program writing a file, ended at a moment of chance by a signal that can't be caught. What the file has
// then is compared with a file of the same pictures that was finished. QM_KILLS is how often, for each codec; the seed
// is in the messages.
#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <numeric>
#include <random>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/mp4_boxes.h"
#include "support/repetitions.h"
#include "support/started_program.h"
#include "unicode_folder.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
namespace fs = std::filesystem;
using std::chrono::steady_clock;

constexpr int FRAMES = 300;
constexpr std::size_t MEDIA_BEGIN = 48;
constexpr std::size_t HELD_BACK = 3;  // packets that the encoder of NVENC1 keeps while there are more pictures
const std::string UNFINISHED("\x1A\xBE\xCE\xDA", 4);
const std::string START_CODE("\0\0\0\1", 4);

int Kills()
{
    const char* const pszKills = std::getenv("QM_KILLS");
    return pszKills ? std::max(1, std::atoi(pszKills)) : FullFromAQuarter(20);
}

std::uint32_t WordAt(const std::string& bytes, std::size_t ui)
{
    std::uint32_t uiWord = 0;
    for (std::size_t i = 0; i < 4; ++i)
        uiWord = uiWord << 8 | static_cast<unsigned char>(bytes[ui + i]);
    return uiWord;
}

// The sizes in a file's `stsz`.
std::vector<std::uint32_t> SizesIn(const std::string& bytes)
{
    const Mp4Box box = FindBox(Bytes(bytes.begin(), bytes.end()), "moov/trak/mdia/minf/stbl/stsz");
    std::vector<std::uint32_t> vSizes;
    for (std::size_t ui = box.m_uiPayload + 12; ui < box.m_uiEnd; ui += 4)
        vSizes.push_back(WordAt(bytes, ui));
    return vSizes;
}

std::string MediaIn(const std::string& bytes)
{
    const Mp4Box box = FindBox(Bytes(bytes.begin(), bytes.end()), "mdat");
    return bytes.substr(box.m_uiPayload, box.m_uiEnd - box.m_uiPayload);
}

// The lines of --progress; another one follows when the file is finished.
std::size_t CountReported(const std::string& strOut)
{
    std::istringstream lines(strOut);
    std::size_t uiFrames = 0;
    for (std::string line; std::getline(lines, line);)
        uiFrames += line.starts_with("frame ");
    return uiFrames;
}

std::string NameOf(const testing::TestParamInfo<const char*>& info)
{
    return info.param;
}

enum class EMoment
{
    AfterAFrame,
    InTheClose,
    WhileLengthsAreWritten
};

class KilledWriter : public testing::TestWithParam<const char*>
{
protected:
    KilledWriter()
    {
        std::string strPixels(std::size_t{FRAMES} * 64 * 48 * 3, '\0');
        for (char& ch : strPixels)
            ch = static_cast<char>(m_random());
        WriteText(m_strRaw, strPixels);
    }

    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }

    std::vector<std::string> WriteTo(const std::string& strPath) const
    {
        return {"write",  strPath, "--codec",  GetParam(), "--raw",     m_strRaw,
                "--size", "64x48", "--period", "40",       "--progress"};
    }

    // The file that all others are compared with, and how long its close takes.
    void WriteWhole()
    {
        StartedProgram program(QMHOST_PROGRAM, WriteTo(m_strWhole));
        for (int i = 0; i < FRAMES; ++i)
            ASSERT_EQ(program.ReadLine(), "frame " + std::to_string(i));
        const auto begin = steady_clock::now();
        const ProgramResult result = program.Wait();
        ASSERT_EQ(result.m_nStatus, 0) << result.m_strErr;
        m_close = steady_clock::now() - begin;
        m_strGood = ReadText(m_strWhole);
        m_vSizes = SizesIn(m_strGood);
        ASSERT_EQ(m_vSizes.size(), static_cast<std::size_t>(FRAMES));
    }

    // Ends a writer: after a frame of chance and a part of the time that a frame takes, or during the close. Returns
    // how many frames it has reported before.
    std::size_t Kill(const std::string& strPath)
    {
        constexpr auto MOST = std::chrono::microseconds(2000);
        const EMoment eMoment = std::array{EMoment::AfterAFrame, EMoment::AfterAFrame, EMoment::InTheClose,
                                           EMoment::WhileLengthsAreWritten}[m_random() % 4];
        const std::size_t uiFrames = eMoment == EMoment::AfterAFrame ? 1 + m_random() % FRAMES : FRAMES;
        StartedProgram program(QMHOST_PROGRAM, WriteTo(strPath));
        for (std::size_t ui = 0; ui < uiFrames; ++ui)
            EXPECT_TRUE(program.ReadLine());
        auto most = std::chrono::duration_cast<std::chrono::microseconds>(m_close);
        if (eMoment == EMoment::AfterAFrame) most = MOST;
        if (eMoment == EMoment::WhileLengthsAreWritten) most = AwaitLengths(strPath);
        const auto end = steady_clock::now() + most * (m_random() % 1000) / 1000;
        while (steady_clock::now() < end)
            ;
        program.Signal(SIGKILL);
        const ProgramResult result = program.Wait();
        EXPECT_TRUE(result.m_nStatus == 128 + SIGKILL || result.m_nStatus == 0) << result.m_nStatus;
        return CountReported(result.m_strOut);
    }

    // Waits until the close of a file has begun to write lengths, or about as long as a close takes. Returns how long
    // that part of the close takes at most.
    std::chrono::microseconds AwaitLengths(const std::string& strPath) const
    {
        const int nFile = open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
        const auto end = steady_clock::now() + m_close;
        char achHead[4] = {};
        while (pread(nFile, achHead, 4, MEDIA_BEGIN) == 4 && std::string(achHead, 4) == START_CODE &&
               steady_clock::now() < end)
            ;
        close(nFile);
        return std::chrono::microseconds(2 * FRAMES);
    }

    // How many whole packets an unfinished file has. Each has its bytes, with a start code or a length before each NAL.
    std::size_t WholePackets(const std::string& strFile) const
    {
        const std::string strMedia = MediaIn(m_strGood);
        const std::string strThere = strFile.substr(MEDIA_BEGIN, strMedia.size());
        std::size_t uiNal = 0;
        for (std::size_t ui = 0; ui < strThere.size(); ++ui)
        {
            const bool bHead = ui >= uiNal && ui < uiNal + 4;
            if (strThere[ui] != strMedia[ui] && !(bHead && strThere[ui] == START_CODE[ui - uiNal]))
            {
                ADD_FAILURE() << "byte " << ui << " of the media data is another one";
                break;
            }
            if (ui == uiNal + 3) uiNal += 4 + WordAt(strMedia, uiNal);
        }
        std::size_t uiEnd = 0;
        std::size_t uiPackets = 0;
        while (uiPackets < m_vSizes.size() && uiEnd + m_vSizes[uiPackets] <= strThere.size())
            uiEnd += m_vSizes[uiPackets++];
        return uiPackets;
    }

    // All packets that the file has whole are in the repaired one. A kill in the middle of a write may leave a part of
    // the next one, which doesn't differ from a whole one; no others follow.
    void Repair(const std::string& strKilled, std::size_t uiPackets)
    {
        const std::size_t uiBytes = std::accumulate(
            m_vSizes.begin(), m_vSizes.begin() + static_cast<std::ptrdiff_t>(uiPackets), std::size_t{0});
        const bool bMayHavePart = uiPackets < m_vSizes.size() && fs::file_size(strKilled) > MEDIA_BEGIN + uiBytes;
        const std::string strRepaired = Target("repaired.mp4");
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"repair", strKilled, strRepaired, "--period", "40"});
        ASSERT_EQ(result.m_nStatus, 0) << result.m_strErr;
        const std::string strFile = ReadText(strRepaired);
        std::vector<std::uint32_t> vSizes = SizesIn(strFile);
        const bool bPart = bMayHavePart && vSizes.size() == uiPackets + 1;
        if (bPart) vSizes.pop_back();
        ASSERT_EQ(vSizes, std::vector<std::uint32_t>(m_vSizes.begin(),
                                                     m_vSizes.begin() + static_cast<std::ptrdiff_t>(uiPackets)));
        const std::string strMedia = MediaIn(strFile).substr(0, uiBytes);
        EXPECT_TRUE(strMedia == MediaIn(m_strGood).substr(0, uiBytes));
        if (!bPart)
        {
            EXPECT_EQ(RunFfprobe("-v warning -count_frames -select_streams v -show_entries stream=nb_read_frames -of "
                                 "csv=p=0 " +
                                     Quoted(strRepaired),
                                 Complaints::None),
                      std::to_string(uiPackets) + "\n");
        }
        fs::remove(strRepaired);
    }

    const unsigned m_uiSeed = std::random_device()();
    std::mt19937 m_random{m_uiSeed};
    UnicodeFolder m_folder;
    const std::string m_strRaw = Target("r.bgr");
    const std::string m_strWhole = Target("whole.mp4");
    const std::string m_strKilled = Target("killed.mp4");
    std::string m_strGood;
    std::vector<std::uint32_t> m_vSizes;
    steady_clock::duration m_close{};
};

class KilledMuxer : public KilledWriter
{
};
INSTANTIATE_TEST_SUITE_P(By, KilledMuxer, testing::Values("NVENC1", "AMF1"), NameOf);

TEST_P(KilledMuxer, LosesNoPacketThatWasWritten)
{
    WriteWhole();
    const bool bNvenc = std::string(GetParam()) == "NVENC1";
    int nFinished = 0;
    int nWithAll = 0;
    for (int i = 0; i < Kills() && !HasFatalFailure(); ++i)
    {
        SCOPED_TRACE("seed " + std::to_string(m_uiSeed) + ", kill " + std::to_string(i));
        fs::remove(m_strKilled);
        const std::size_t uiFrames = Kill(m_strKilled);
        const std::string strFile = ReadText(m_strKilled);
        ASSERT_GE(strFile.size(), MEDIA_BEGIN);
        if (strFile.substr(40, 4) != UNFINISHED)
        {
            EXPECT_TRUE(strFile == m_strGood) << "finished, but not whole";
            ++nFinished;
            continue;
        }
        const std::size_t uiPackets = WholePackets(strFile);
        // With the other codec a thread writes, and the program doesn't know how far it has got.
        if (bNvenc)
        {
            EXPECT_GE(uiPackets + HELD_BACK, uiFrames);
        }
        if (uiPackets > 0) Repair(m_strKilled, uiPackets);
        if (uiPackets == m_vSizes.size()) ++nWithAll;
        if (uiPackets == 0 && strFile.size() == MEDIA_BEGIN)
        {
            EXPECT_EQ(
                RunProgram(QMHOST_PROGRAM, {"repair", m_strKilled, Target("none.mp4"), "--period", "40"}).m_nStatus, 1);
        }
    }
    EXPECT_TRUE(ReadText(m_strWhole) == m_strGood) << "a file that was finished before";
    std::printf("%s: of %d files %d were finished, %d had all packets and weren't, %d had a part\n", GetParam(),
                Kills(), nFinished, nWithAll, Kills() - nFinished - nWithAll);
}

// A request to end that can be caught. All frames that were reported are in the file.
class InterruptedWriter : public KilledWriter
{
};
INSTANTIATE_TEST_SUITE_P(By, InterruptedWriter, testing::Values("NVENC1", "AMF1", "HQ"), NameOf);

TEST_P(InterruptedWriter, FinishesTheFileWithWhatWasWritten)
{
    constexpr std::uintmax_t MANY = 20000;
    fs::resize_file(m_strRaw, MANY * 64 * 48 * 3);
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
    {
        StartedProgram program(QMHOST_PROGRAM, WriteTo(m_strKilled));
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(program.ReadLine(), "frame " + std::to_string(i));
        program.Signal(nSignal);
        const ProgramResult result = program.Wait();
        EXPECT_EQ(result.m_nStatus, 128 + nSignal);
        const std::size_t uiFrames = CountReported(result.m_strOut);
        EXPECT_GE(uiFrames, 5U);
        EXPECT_LT(uiFrames, MANY);
        EXPECT_THAT(result.m_strErr,
                    testing::StartsWith("qmhost: interrupted; '" + m_strKilled + "' is finished with " +
                                        std::to_string(uiFrames) + " frames\n"));
        EXPECT_EQ(PacketValues(m_strKilled, "size").size(), uiFrames);
        EXPECT_EQ(RunProgram(QMHOST_PROGRAM, {"info", m_strKilled}).m_nStatus, 0);
    }
}

// The parameter sets of these files come with the index.
class KilledSystemWriter : public KilledWriter
{
};
INSTANTIATE_TEST_SUITE_P(By, KilledSystemWriter, testing::Values("HQ"), NameOf);

TEST_P(KilledSystemWriter, LeavesAFileThatIsWholeOrRefused)
{
    WriteWhole();
    int nFinished = 0;
    for (int i = 0; i < Kills(); ++i)
    {
        SCOPED_TRACE("seed " + std::to_string(m_uiSeed) + ", kill " + std::to_string(i));
        fs::remove(m_strKilled);
        Kill(m_strKilled);
        const std::string strRepaired = Target("repaired.mp4");
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"repair", m_strKilled, strRepaired, "--period", "40"});
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_FALSE(fs::exists(strRepaired));
        if (ReadText(m_strKilled) == m_strGood)
        {
            ++nFinished;
            EXPECT_THAT(result.m_strErr, HasSubstr("those of other encoders need no repair"));
        }
        else
        {
            EXPECT_NE(RunProgram(QMHOST_PROGRAM, {"info", m_strKilled}).m_nStatus, 0);
        }
    }
    EXPECT_TRUE(ReadText(m_strWhole) == m_strGood) << "a file that was finished before";
    std::printf("%s: of %d files %d were finished\n", GetParam(), Kills(), nFinished);
}

}  // namespace
