// The frame-time list of a file with a million frames at irregular distances: by the box walk alone and through the
// host interface, next to ffprobe listing the packets and to avformat_open_input, which reads the same boxes.
extern "C"
{
#include <libavformat/avformat.h>
}

#include <cstdlib>
#include <stdexcept>

#include "measure.h"
#include "mp4filesimpl/boxwalk.h"
#include "support/ffmpeg.h"
#include "support/module_host.h"
#include "support/run_program.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

constexpr std::size_t g_uiFrames = 1'000'000;
constexpr int g_nRounds = 5;

void Check(bool bOk, const char* pszWhat)
{
    if (!bOk) throw std::runtime_error(pszWhat);
}

// A thousand tiny pictures, repeated a thousand times.
void MakeVideo(const TemporaryFolder& dir, const std::filesystem::path& path)
{
    const auto part = dir / "part.mp4";
    RunFfmpeg("-f lavfi -i color=size=16x16:rate=25 -frames:v 1000"
              " -vf \"settb=1/90000,setpts='N*3600+mod(N*N*977,3100)'\" -enc_time_base 1/90000 -fps_mode passthrough"
              " -c:v libx264 -preset ultrafast -profile:v high -pix_fmt yuv420p -g 250 -bf 0 "
              "-video_track_timescale 90000 " +
              Quoted(part));
    RunFfmpeg("-stream_loop " + std::to_string(g_uiFrames / 1000 - 1) + " -i " + Quoted(part) +
              " -c copy -video_track_timescale 90000 " + Quoted(path));
}

}  // namespace

int main()
try
{
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    MakeVideo(dir, path);
    const ModuleHost host;

    const auto fnWalk = [&] {
        std::vector<std::uint64_t> vTimes;
        const double dSeconds =
            bench::SecondsOf([&] { Check(ReadFrameTimes(path.wstring().c_str(), vTimes) == QM_OK, "the walk fails"); });
        Check(vTimes.size() == g_uiFrames, "the walk's list has another length");
        return dSeconds;
    };
    const auto fnHost = [&] {
        std::vector<double> vTimes;
        const double dSeconds = bench::SecondsOf([&] {
            const InputFile file = host.OpenInput(path);
            SQmImageAttributes attributes;
            Check(file->GetImageAttributes(&attributes) == QM_OK, "the file doesn't open");
            vTimes = CachedTimes(file.Get());
        });
        Check(vTimes.size() == g_uiFrames, "the host's list has another length");
        return dSeconds;
    };
    const auto fnFfprobe = [&] {
        return bench::SecondsOf([&] {
            const ProgramResult result = RunProgram("ffprobe",
                                                    {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                                     "packet=pts_time", "-of", "csv=p=0", path.string()},
                                                    {}, "/dev/null");
            Check(result.m_nStatus == 0, "ffprobe fails");
        });
    };
    const auto fnOpenInput = [&] {
        return bench::SecondsOf([&] {
            AVFormatContext* pContext = nullptr;
            Check(avformat_open_input(&pContext, path.c_str(), nullptr, nullptr) == 0, "avformat_open_input fails");
            avformat_close_input(&pContext);
        });
    };

    bench::Compare("box walk", g_nRounds, fnWalk, "ffprobe, packets", fnFfprobe);
    bench::Compare("box walk", g_nRounds, fnWalk, "avformat_open_input", fnOpenInput);
    bench::Compare("host interface, open to list", g_nRounds, fnHost, "ffprobe, packets", fnFfprobe);
    bench::Compare("host interface, open to list", g_nRounds, fnHost, "avformat_open_input", fnOpenInput);
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_times: %s\n", error.what());
    return EXIT_FAILURE;
}
