#include "support/ffmpeg_judge.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

namespace test_support
{

namespace
{
// Decoding alone, in the file's own ticks: the program would otherwise round times to a frame rate that it guesses.
const std::string g_strDecode = " -enc_time_base 1/10000 -f null -";
}  // namespace

std::string RunAndListen(const std::string& strCommand)
{
    FILE* pPipe = popen((strCommand + " 2>&1").c_str(), "r");
    if (pPipe == nullptr) return "no pipe";
    std::string strText;
    std::array<char, 4096> aBuffer;
    for (std::size_t uiRead = 0; (uiRead = fread(aBuffer.data(), 1, aBuffer.size(), pPipe)) != 0;)
    {
        strText.append(aBuffer.data(), uiRead);
    }
    EXPECT_EQ(pclose(pPipe), 0) << strCommand << "\n" << strText;
    return strText;
}

std::string WholeTrack(const std::string& strFile)
{
    return " -ignore_editlist 1 -i " + strFile;
}

std::vector<std::int64_t> SumsOfDistances(const std::vector<double>& vTimesMs)
{
    std::vector<std::int64_t> vTicks;
    std::int64_t nTicks = 0;
    for (std::size_t ui = 0; ui < vTimesMs.size(); ++ui)
    {
        if (ui != 0) nTicks += static_cast<std::int64_t>((vTimesMs[ui] - vTimesMs[ui - 1]) * 10000.0 / 1000.0);
        vTicks.push_back(nTicks);
    }
    return vTicks;
}

std::string PacketTimes(const std::string& strInput)
{
    return RunAndListen("ffprobe -v warning -select_streams v -show_entries packet=pts,dts -of csv=p=0" + strInput);
}

std::string PacketTimesOf(const std::vector<std::int64_t>& vTicks)
{
    std::string strLines;
    for (const std::int64_t nTicks : vTicks)
    {
        strLines += std::to_string(nTicks) + "," + std::to_string(nTicks) + "\n";
    }
    return strLines;
}

std::string KeyPackets(const std::string& strInput)
{
    return RunAndListen("ffprobe -v warning -select_streams v -show_entries packet=flags -of csv=p=0" + strInput +
                        " | cut -c1");
}

std::string DecodedPictures(const std::string& strInput)
{
    return RunAndListen("ffmpeg -nostdin -v error" + strInput +
                        " -fps_mode passthrough -f framemd5 - | grep -v '^#' | sed 's/.*,//'");
}

void ExpectReadByFfmpeg(const std::string& strFile, std::uint32_t uiWidth, std::uint32_t uiHeight,
                        const std::vector<double>& vTimesMs)
{
    EXPECT_EQ(RunAndListen("ffprobe -v warning -show_entries stream=codec_name,width,height,time_base -of csv=p=0 " +
                           strFile),
              "h264," + std::to_string(uiWidth) + "," + std::to_string(uiHeight) + ",1/10000\n");
    const std::string strTimes = PacketTimesOf(SumsOfDistances(vTimesMs));
    EXPECT_EQ(PacketTimes(WholeTrack(strFile)), strTimes);
    EXPECT_EQ(RunAndListen("ffmpeg -nostdin -v warning" + WholeTrack(strFile) + g_strDecode), "");

    const std::string strEditTimes = PacketTimes(" -i " + strFile);
    EXPECT_FALSE(strEditTimes.empty());
    EXPECT_EQ(strEditTimes, strTimes.substr(0, strEditTimes.size()));
    // The edit of a single picture lasts no time, and a program that keeps to it has nothing to show.
    if (vTimesMs.size() > 1)
    {
        EXPECT_EQ(RunAndListen("ffmpeg -nostdin -v warning -i " + strFile + g_strDecode), "");
    }
}

}  // namespace test_support
