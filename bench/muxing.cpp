#include "bench/muxing.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

#include "bench/measure.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"

namespace
{
constexpr std::size_t g_uiPacketSize = 2048;
constexpr int g_nRounds = 3;

double FfmpegCpuSeconds(const std::string& strArguments)
{
    return bench::CpuSecondsOf([&] { test_support::RunFfmpeg(strArguments); });
}

std::size_t ResidentBytes()
{
    std::ifstream stream("/proc/self/statm");
    std::size_t uiSize = 0;
    std::size_t uiResident = 0;
    stream >> uiSize >> uiResident;
    return uiResident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Access units of a real encoder, one for each of 250 pictures. The last NAL of each is made longer, so that all are of
// one size; nobody decodes them here.
std::vector<Bytes> MakePackets(const std::filesystem::path& directory)
{
    const std::filesystem::path path = directory / "source.h264";
    test_support::RunFfmpeg(
        "-f lavfi -i testsrc2=size=64x64:rate=25 -frames:v 250 -pix_fmt yuv420p -c:v libx264 -qp 40 -bf 0 -g 250 "
        "-x264-params aud=1 -f h264 " +
        test_support::Quoted(path));
    const Bytes vStream = test_support::ReadBytes(path);
    std::filesystem::remove(path);

    // A delimiter begins every access unit; the muxer's layout begins with the SPS, so it is left out.
    const Bytes vDelimiter = {0, 0, 0, 1, 9};
    std::vector<Bytes> vPackets;
    for (std::size_t ui = 0; ui < vStream.size(); ++ui)
    {
        const bool bDelimiter =
            ui + 6 <= vStream.size() && std::equal(vDelimiter.begin(), vDelimiter.end(), &vStream[ui]);
        if (bDelimiter)
        {
            vPackets.emplace_back();
            ui += 5;
            continue;
        }
        vPackets.back().push_back(vStream[ui]);
    }
    for (Bytes& vPacket : vPackets)
    {
        vPacket.resize(std::max(vPacket.size(), g_uiPacketSize), 0xFF);
    }
    return vPackets;
}

struct SMuxing
{
    double m_dCpu = 0.0;
    double m_dMemory = 0.0;  // bytes that each packet of the second half added
    std::size_t m_uiNals = 0;
    std::size_t m_uiKeys = 0;
};

SMuxing Mux(EPacketLayout eLayout, const std::vector<Bytes>& vPackets, std::size_t uiCount,
            const std::filesystem::path& path)
{
    SMuxing muxing;
    muxing.m_dCpu = bench::CpuSecondsOf([&] {
        CMp4FileWriter writer;
        CGrowingArray<double> vecTimes;
        writer.Open(CQmStringW(path.wstring().c_str()), eLayout, 64, 64);
        if (!writer.IsOpen()) throw std::runtime_error("can't write " + path.string());
        std::size_t uiHalfway = 0;
        for (std::size_t ui = 0; ui < uiCount; ++ui)
        {
            if (ui == uiCount / 2) uiHalfway = ResidentBytes();
            vecTimes.push_back(static_cast<double>(ui) * 40.0);
            writer.LogPacket(vPackets[ui % vPackets.size()]);
        }
        muxing.m_dMemory =
            static_cast<double>(ResidentBytes() - uiHalfway) / static_cast<double>(uiCount - uiCount / 2);
        muxing.m_uiNals = writer.GetLog().m_vecNalPatches.size();
        muxing.m_uiKeys = writer.GetLog().m_vecKeySamples.size();
        writer.WriteNalLengths();
        writer.Finish(vecTimes);
    });
    return muxing;
}

void WriteStream(const std::vector<Bytes>& vPackets, std::size_t uiCount, const std::filesystem::path& path)
{
    std::ofstream stream(path, std::ios::binary);
    for (std::size_t ui = 0; ui < uiCount; ++ui)
    {
        const Bytes& vPacket = vPackets[ui % vPackets.size()];
        stream.write(reinterpret_cast<const char*>(vPacket.data()), static_cast<std::streamsize>(vPacket.size()));
    }
}
double NalsOfAPacket(const SMuxing& muxing, std::size_t uiPackets)
{
    return static_cast<double>(muxing.m_uiNals) / static_cast<double>(uiPackets);
}

void PrintMemory(const char* pszLayout, const SMuxing& muxing, std::size_t uiPackets)
{
    const double dKeys = static_cast<double>(muxing.m_uiKeys) / static_cast<double>(uiPackets);
    std::printf("    %s: memory grows by %.3f bytes a packet; 4, 16 a NAL, 4 a key sample and 8 make %.3f\n", pszLayout,
                muxing.m_dMemory, 4.0 + 16.0 * NalsOfAPacket(muxing, uiPackets) + 4.0 * dKeys + 8.0);
}
}  // namespace

void bench::MeasureMuxing(std::size_t uiPackets, const std::filesystem::path& directory)
{
    const std::filesystem::path stream = directory / "stream.h264";
    const std::filesystem::path muxed = directory / "muxed.mp4";
    const std::filesystem::path copied = directory / "copied.mp4";

    const std::vector<Bytes> vPackets = MakePackets(directory);
    const std::string strCopy = " -c copy -f mp4 " + test_support::Quoted(copied);
    SMuxing muxing;
    std::vector<double> vOurs, vOfMp4, vOfStream;  // ours in seconds, then as a part of the peer's
    for (int n = 0; n < g_nRounds; ++n)
    {
        muxing = Mux(EPacketLayout::Nvenc, vPackets, uiPackets, muxed);
        vOurs.push_back(muxing.m_dCpu);
        vOfMp4.push_back(muxing.m_dCpu /
                         FfmpegCpuSeconds("-ignore_editlist 1 -i " + test_support::Quoted(muxed) + strCopy));
        std::filesystem::remove(muxed);
        WriteStream(vPackets, uiPackets, stream);
        vOfStream.push_back(muxing.m_dCpu /
                            FfmpegCpuSeconds("-framerate 25 -i " + test_support::Quoted(stream) + strCopy));
        std::filesystem::remove(stream);
        std::filesystem::remove(copied);
    }

    std::printf(
        "muxing %zu packets of %zu bytes, %.2f NALs each: %.2f s CPU, as all of these the median of %d rounds\n",
        uiPackets, g_uiPacketSize, NalsOfAPacket(muxing, uiPackets), Median(vOurs), g_nRounds);
    std::printf("    %.2f of ffmpeg -c copy from MP4\n", Median(vOfMp4));
    std::printf("    %.2f of ffmpeg -c copy from Annex B\n", Median(vOfStream));
    PrintMemory("NVENC", muxing, uiPackets);

    // AMF's encoder puts a delimiter in front of every picture.
    std::vector<Bytes> vAmfPackets = vPackets;
    for (Bytes& vPacket : vAmfPackets)
        vPacket.insert(vPacket.begin(), {0, 0, 0, 1, 9, 0xF0});
    PrintMemory("AMF", Mux(EPacketLayout::Amf, vAmfPackets, uiPackets, muxed), uiPackets);
    std::filesystem::remove(muxed);
}
