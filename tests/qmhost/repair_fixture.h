// A file that the real module wrote with the software encoder runtime, and a program that repairs what is left of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "muxed_bytes.h"
#include "succeeding_program.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/mp4_boxes.h"
#include "support/run_program.h"
#include "unicode_folder.h"

namespace repair_fixture
{

using namespace test_support;
namespace fs = std::filesystem;

inline constexpr int FRAMES = 24;
inline constexpr std::size_t FRAME_BYTES = std::size_t{3} * 64 * 48;
inline constexpr std::size_t MEDIA_BEGIN = 48;

// The times of the pictures in ticks of the file's clock, as a program sees them that keeps to the edit list.
inline std::vector<std::int64_t> Ticks(const fs::path& path)
{
    std::istringstream lines(
        RunFfprobe("-v warning -select_streams v -of default=noprint_wrappers=1:nokey=1 -show_entries packet=pts " +
                       test_support::Quoted(path),
                   Complaints::None));
    return {std::istream_iterator<std::int64_t>(lines), {}};
}

// A file of NVENC1, and what can be made of it. It is written once for all tests.
class RepairProgram : public testing::Test
{
protected:
    explicit RepairProgram(const fs::path& parent = {}) : m_folder(parent) {}

    static void SetUpTestSuite()
    {
        s_pFolder = std::make_unique<UnicodeFolder>();
        const std::string strRaw = (*s_pFolder / "r.bgr").string();
        MakeWithFfmpeg("-f lavfi -i testsrc2=size=64x48:rate=25,noise=alls=40:allf=t -frames:v " +
                           std::to_string(FRAMES) + " -pix_fmt bgr24 -f rawvideo",
                       strRaw);
        std::string strTimes = "frame,time_ms\n";
        for (int i = 0; i < FRAMES; ++i)
            strTimes += std::to_string(i) + "," + std::to_string(TimeMs(i)) + "\n";
        WriteText(TimesPath(), strTimes);
        const ProgramResult result = RunProgram(QMHOST_PROGRAM, {"write", WrittenPath(), "--codec", "NVENC1", "--raw",
                                                                 strRaw, "--size", "64x48", "--times", TimesPath()});
        ASSERT_EQ(result.m_nStatus, 0) << result.m_strErr;
        s_strWritten = ReadText(WrittenPath());
        const std::uint32_t uiEnd = 40 + WordAt(s_strWritten, 40);
        s_strFinished = s_strWritten.substr(MEDIA_BEGIN, uiEnd - MEDIA_BEGIN);
        s_strIndex = s_strWritten.substr(uiEnd);
        s_strStream = s_strFinished;
        s_vNals.clear();  // when the tests are repeated
        for (std::size_t ui = 0; ui < s_strStream.size();)
        {
            const std::uint32_t uiLength = WordAt(s_strStream, ui);
            s_strStream.replace(ui, 4, muxed_bytes::START_CODE);
            s_vNals.push_back(ui);
            ui += 4 + uiLength;
        }
        // The first picture has two parameter sets before its slice.
        ASSERT_EQ(s_vNals.size(), FRAMES + 2U);
    }
    static void TearDownTestSuite() { s_pFolder.reset(); }

    static int TimeMs(int nFrame) { return 37 * nFrame + 11 * (nFrame % 3); }
    static std::string WrittenPath() { return (*s_pFolder / u8"wr\u00EFtten.mp4").string(); }
    static std::string TimesPath() { return (*s_pFolder / "t.csv").string(); }
    std::string Target(const char* pszName) const { return (m_folder / pszName).string(); }

    // Repairs a file and looks at the result: as many pictures, the first ones of what was written, at their times.
    void RepairAndCompare(const std::string& strFile, int nPictures, const std::string& strLine)
    {
        WriteText(m_strIn, strFile);
        const std::string strErr =
            nPictures < FRAMES ? "qmhost: warning: '" + TimesPath() + "' has " + std::to_string(FRAMES) +
                                     " times for the " + std::to_string(nPictures) + " picture" +
                                     (nPictures == 1 ? "" : "s") + " in '" + m_strOut + "'; the last ones aren't used\n"
                               : "";
        EXPECT_EQ(Succeed({"repair", m_strIn, m_strOut, "--times", TimesPath()}, strErr),
                  "'" + m_strIn + "' is an unfinished file of NVENC1; '" + m_strOut + "' " + strLine + "\n");
        EXPECT_TRUE(ReadText(m_strIn) == strFile);
        Compare(nPictures);
    }
    void Compare(int nPictures)
    {
        EXPECT_EQ(
            RunFfprobe("-v warning -count_frames -select_streams v -show_entries stream=nb_read_frames -of csv=p=0 " +
                           test_support::Quoted(m_strOut),
                       Complaints::None),
            std::to_string(nPictures) + "\n");
        const auto vTicks = Ticks(m_strOut);
        ASSERT_EQ(vTicks.size(), static_cast<std::size_t>(nPictures));
        for (int i = 0; i < nPictures; ++i)
            EXPECT_EQ(vTicks[static_cast<std::size_t>(i)], 10 * TimeMs(i)) << i;
        std::string strTimes = ReadText(TimesPath());
        for (int i = FRAMES; i > nPictures; --i)
            strTimes.erase(strTimes.rfind('\n', strTimes.size() - 2) + 1);
        EXPECT_EQ(Succeed({"times", m_strOut, "--csv"}), strTimes);
        Succeed({"frames", m_strOut, "--raw", Target("out.bgr")});
        EXPECT_TRUE(ReadText(Target("out.bgr")) ==
                    WrittenPictures().substr(0, FRAME_BYTES * static_cast<std::size_t>(nPictures)));
    }
    // As the module reads them from the file that was never damaged.
    static const std::string& WrittenPictures()
    {
        static std::string strPictures;
        if (strPictures.empty())
        {
            const std::string strRaw = (*s_pFolder / "written.bgr").string();
            Succeed({"frames", WrittenPath(), "--raw", strRaw});
            strPictures = ReadText(strRaw);
        }
        return strPictures;
    }
    // The bytes of the file up to a NAL of the media data and some further ones.
    static std::string CutAt(std::size_t uiNal, std::size_t uiMore = 0)
    {
        return muxed_bytes::UnfinishedFile(s_strStream.substr(0, s_vNals[uiNal] + uiMore));
    }

    static inline std::unique_ptr<UnicodeFolder> s_pFolder;
    static inline std::string s_strWritten;
    static inline std::string s_strFinished;  // media data with lengths
    static inline std::string s_strStream;    // the same with start codes
    static inline std::string s_strIndex;
    static inline std::vector<std::size_t> s_vNals;  // their places in the media data

    UnicodeFolder m_folder;
    const std::string m_strIn = Target("unfinished.mp4");
    const std::string m_strOut = Target("repaired.mp4");
};

}  // namespace repair_fixture
