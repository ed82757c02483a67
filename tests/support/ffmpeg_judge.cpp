#include "support/ffmpeg_judge.h"

#include <gtest/gtest.h>

#include <sstream>

namespace test_support
{

namespace
{

std::string ProbePackets(const std::string& strEntries, const std::string& strInput)
{
    return RunFfprobe("-select_streams v -of csv=p=0 -show_entries packet=" + strEntries + " " + strInput,
                      Complaints::None);
}

void ExpectDecodedWithoutAWarning(const std::string& strInput)
{
    // Decoding alone, in the file's own ticks: the program would otherwise round times to a frame rate that it guesses.
    RunFfmpeg(strInput + " -enc_time_base 1/10000 -f null -", Complaints::None);
}

}  // namespace

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
    return ProbePackets("pts,dts", strInput);
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

std::vector<bool> KeyPackets(const std::string& strInput)
{
    std::istringstream lines(ProbePackets("flags", strInput));
    std::vector<bool> vKeys;
    for (std::string strFlags; lines >> strFlags;)
    {
        vKeys.push_back(strFlags[0] == 'K');
    }
    return vKeys;
}

std::vector<std::string> DecodedPictures(const std::string& strInput)
{
    // A line for each picture, of fields with a comma between them, the last is the checksum.
    std::istringstream lines(RunFfmpeg(strInput + " -fps_mode passthrough -f framemd5 -", Complaints::Warnings));
    std::vector<std::string> vChecksums;
    for (std::string strLine; std::getline(lines, strLine);)
    {
        if (strLine[0] != '#') vChecksums.push_back(strLine.substr(strLine.rfind(',') + 1));
    }
    return vChecksums;
}

void ExpectReadByFfmpeg(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight,
                        const std::vector<double>& vTimesMs)
{
    EXPECT_EQ(RunFfprobe("-show_entries stream=codec_name,width,height,time_base -of csv=p=0 " + Quoted(path),
                         Complaints::None),
              "h264," + std::to_string(uiWidth) + "," + std::to_string(uiHeight) + ",1/10000\n");
    const std::string strTimes = PacketTimesOf(SumsOfDistances(vTimesMs));
    EXPECT_EQ(PacketTimes(WholeTrack(path)), strTimes);
    ExpectDecodedWithoutAWarning(WholeTrack(path));

    const std::string strEdited = "-i " + Quoted(path);
    const std::string strEditTimes = PacketTimes(strEdited);
    EXPECT_FALSE(strEditTimes.empty());
    EXPECT_EQ(strEditTimes, strTimes.substr(0, strEditTimes.size()));
    // The edit of a single picture lasts no time. A program that follows it has nothing to show.
    if (vTimesMs.size() > 1) ExpectDecodedWithoutAWarning(strEdited);
}

}  // namespace test_support
