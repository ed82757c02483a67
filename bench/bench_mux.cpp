// Muxing with an encoder that costs nothing, beside `ffmpeg -c copy` of the same packets to MP4: CPU time of each, and
// the memory that the log takes.
//
// bench_mux [PACKETS [DIRECTORY]]: 1,000,000 packets of 2 KiB unless told otherwise, which takes three files of 2 GB
// in the directory, by default that for temporary files. All of them are removed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "mp4_outputfile/samplelog.h"

namespace
{
using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t g_uiPacketSize = 2048;

double CpuSeconds(const rusage& usage)
{
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double OwnCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return CpuSeconds(usage);
}

// CPU time of a command and all that it starts.
double CommandCpuSeconds(const std::string& strCommand)
{
    const pid_t nChild = fork();
    if (nChild == 0)
    {
        execl("/bin/sh", "sh", "-c", strCommand.c_str(), nullptr);
        _exit(127);
    }
    int nStatus = 0;
    rusage usage{};
    wait4(nChild, &nStatus, 0, &usage);
    if (nStatus != 0)
    {
        std::fprintf(stderr, "failed: %s\n", strCommand.c_str());
        std::exit(1);
    }
    return CpuSeconds(usage);
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
    const std::filesystem::path path = directory / "bench_mux_source.h264";
    CommandCpuSeconds("ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=64x64:rate=25 -frames:v 250 "
                      "-pix_fmt yuv420p -c:v libx264 -qp 40 -bf 0 -g 250 -x264-params aud=1 -f h264 " +
                      path.string());
    std::ifstream stream(path, std::ios::binary);
    const Bytes vStream((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
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
    double m_dMemory = 0.0;  // bytes a packet
    std::size_t m_uiNals = 0;
};

SMuxing Mux(const std::vector<Bytes>& vPackets, std::size_t uiCount, const std::filesystem::path& path)
{
    SSampleLog log;
    SNalLog nals;
    CGrowingArray<double> vecTimes;
    const std::size_t uiMemory = ResidentBytes();
    const double dStart = OwnCpuSeconds();
    QM_OpenFile(path.wstring().c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &log.m_hFile);
    if (log.m_hFile == nullptr)
    {
        std::fprintf(stderr, "can't write %s\n", path.c_str());
        std::exit(1);
    }
    WriteMp4Preamble(log.m_hFile);
    for (std::size_t ui = 0; ui < uiCount; ++ui)
    {
        vecTimes.push_back(static_cast<double>(ui) * 40.0);
        LogNvencPacket(log, nals, vPackets[ui % vPackets.size()]);
    }
    SMuxing muxing;
    muxing.m_uiNals = nals.m_vecNalPatches.size();
    muxing.m_dMemory = static_cast<double>(ResidentBytes() - uiMemory) / static_cast<double>(uiCount);
    WriteNalLengths(log, nals);
    FinishMp4File(log, vecTimes, 64, 64, g_uiNvencSpsLengthOffset);
    muxing.m_dCpu = OwnCpuSeconds() - dStart;
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
}  // namespace

int main(int argc, char** argv)
{
    const std::size_t uiCount = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    const std::filesystem::path directory = argc > 2 ? argv[2] : std::filesystem::temp_directory_path();
    const std::filesystem::path stream = directory / "bench_mux.h264";
    const std::filesystem::path muxed = directory / "bench_mux.mp4";
    const std::filesystem::path copied = directory / "bench_mux_copy.mp4";

    const std::vector<Bytes> vPackets = MakePackets(directory);
    const SMuxing muxing = Mux(vPackets, uiCount, muxed);
    const std::string strCopy = " -c copy -f mp4 " + copied.string();
    const double dFromMp4 =
        CommandCpuSeconds("ffmpeg -nostdin -v error -y -ignore_editlist 1 -i " + muxed.string() + strCopy);
    std::filesystem::remove(muxed);
    WriteStream(vPackets, uiCount, stream);
    const double dFromStream =
        CommandCpuSeconds("ffmpeg -nostdin -v error -y -framerate 25 -i " + stream.string() + strCopy);
    std::filesystem::remove(stream);
    std::filesystem::remove(copied);

    const double dNals = static_cast<double>(muxing.m_uiNals) / static_cast<double>(uiCount);
    std::printf("%zu packets of %zu bytes, %.2f NALs each\n", uiCount, g_uiPacketSize, dNals);
    std::printf("muxing %.2f s CPU, ffmpeg -c copy %.2f s from MP4 and %.2f s from Annex B\n", muxing.m_dCpu, dFromMp4,
                dFromStream);
    std::printf("memory %.1f bytes a packet, of %.1f for its entries and its time\n", muxing.m_dMemory,
                4.0 + 16.0 * dNals + 8.0);
    std::printf("muxing / ffmpeg -c copy from MP4, CPU: %.2f\n", muxing.m_dCpu / dFromMp4);
    std::printf("muxing / ffmpeg -c copy from Annex B, CPU: %.2f\n", muxing.m_dCpu / dFromStream);
    return 0;
}
