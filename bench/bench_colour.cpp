// The colour conversions next to libswscale, and the time to build the look-up table.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C"
{
#include <libswscale/swscale.h>
}

#include "colour/colourconversion.h"
#include "colour/colourkernels.h"
#include "hostapi/hostpicbase.h"

namespace
{
constexpr std::uint32_t g_uiWidth = 1920;
constexpr std::uint32_t g_uiHeight = 1080;

// A picture that owns its memory.
struct SPicture
{
    explicit SPicture(std::uint32_t uiComponents) : m_vPixels(std::size_t{g_uiWidth} * g_uiHeight * uiComponents)
    {
        std::mt19937 random(uiComponents);
        std::generate(m_vPixels.begin(), m_vPixels.end(), [&random] { return static_cast<std::uint8_t>(random()); });
        m_pic = {g_uiWidth, g_uiHeight, g_uiWidth * uiComponents, 8, uiComponents, m_vPixels.size(), m_vPixels.data()};
    }

    std::vector<std::uint8_t> m_vPixels;
    SQmPicBuf m_pic;
};

void CountPictures(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations());
}

void Yuy2ToBgr(benchmark::State& state)
{
    const SPicture source(2);
    SPicture target(3);
    ConvertYuy2ToBgr(target.m_pic, source.m_pic);  // the table is measured elsewhere
    for (auto _ : state)
    {
        ConvertYuy2ToBgr(target.m_pic, source.m_pic);
        benchmark::ClobberMemory();
    }
    CountPictures(state);
}

void BgrToYuy2(benchmark::State& state)
{
    const SPicture source(3);
    SPicture target(2);
    for (auto _ : state)
    {
        ConvertBgrToYuy2(target.m_pic, source.m_pic);
        benchmark::ClobberMemory();
    }
    CountPictures(state);
}

void Swscale(benchmark::State& state, AVPixelFormat eFrom, AVPixelFormat eTo, int nFlags)
{
    const SPicture source(eFrom == AV_PIX_FMT_BGR24 ? 3 : 2);
    SPicture target(eTo == AV_PIX_FMT_BGR24 ? 3 : 2);
    const std::unique_ptr<SwsContext, decltype(&sws_freeContext)> pContext(
        sws_getContext(g_uiWidth, g_uiHeight, eFrom, g_uiWidth, g_uiHeight, eTo, nFlags, nullptr, nullptr, nullptr),
        &sws_freeContext);
    const std::uint8_t* apSource[4] = {source.m_pic.m_pData};
    std::uint8_t* apTarget[4] = {target.m_pic.m_pData};
    const int anSourcePitch[4] = {static_cast<int>(source.m_pic.m_uiWidthBytes)};
    const int anTargetPitch[4] = {static_cast<int>(target.m_pic.m_uiWidthBytes)};
    for (auto _ : state)
    {
        sws_scale(pContext.get(), apSource, anSourcePitch, 0, g_uiHeight, apTarget, anTargetPitch);
        benchmark::ClobberMemory();
    }
    CountPictures(state);
}

double CpuMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// CPU time of the first conversion of a new process, in milliseconds. It fills the table, with every page fault.
double MeasureTableOnce()
{
    int anPipe[2];
    if (pipe(anPipe) != 0) return -1.0;
    const pid_t nChild = fork();
    if (nChild == 0)
    {
        std::uint8_t abYuy2[32] = {};
        std::uint8_t abBgr[6];
        SQmPicBuf target{2, 1, 6, 8, 3, 6, abBgr};
        const SQmPicBuf source{2, 1, 32, 8, 2, 32, abYuy2};
        const double dStart = CpuMilliseconds();
        ConvertYuy2ToBgr(target, source);
        const double dTaken = CpuMilliseconds() - dStart;
        const bool bWritten = write(anPipe[1], &dTaken, sizeof dTaken) == sizeof dTaken;
        _exit(bWritten ? 0 : 1);
    }
    double dTaken = -1.0;
    close(anPipe[1]);
    if (read(anPipe[0], &dTaken, sizeof dTaken) != sizeof dTaken) dTaken = -1.0;
    close(anPipe[0]);
    waitpid(nChild, nullptr, 0);
    return dTaken;
}

// Collects each benchmark's median CPU time, besides the usual output.
class CReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& vRuns) override
    {
        for (const Run& run : vRuns)
        {
            if (run.aggregate_name == "median") m_mapMedian[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(vRuns);
    }

    double Median(const std::string& strName) const
    {
        const auto it = m_mapMedian.find(strName);
        return it == m_mapMedian.end() ? 0.0 : it->second;
    }

private:
    std::map<std::string, double> m_mapMedian;
};

const std::map<std::string, int> g_mapFlags = {
    {"bicubic", SWS_BICUBIC}, {"fast_bilinear", SWS_FAST_BILINEAR}, {"point", SWS_POINT}};

template <class Bench>
void Register(const std::string& strName, Bench bench)
{
    benchmark::RegisterBenchmark(strName.c_str(), bench)
        ->Repetitions(9)
        ->ReportAggregatesOnly()
        ->Unit(benchmark::kMicrosecond);
}

void RegisterSwscale(const std::string& strName, AVPixelFormat eFrom, AVPixelFormat eTo)
{
    for (const auto& flag : g_mapFlags)
    {
        const auto bench = [eFrom, eTo, nFlags = flag.second](benchmark::State& state) {
            Swscale(state, eFrom, eTo, nFlags);
        };
        Register(strName + "_" + flag.first, bench);
    }
}

double BestSwscale(const CReporter& reporter, const std::string& strName)
{
    double dBest = 1e30;
    for (const auto& [strFlag, nFlags] : g_mapFlags)
    {
        dBest = std::min(dBest, reporter.Median(strName + "_" + strFlag));
    }
    return dBest;
}
}  // namespace

int main(int argc, char** argv)
{
    // First, since every child process must find the table's pages unused.
    std::vector<double> vTable;
    for (int n = 0; n < 5; ++n)
    {
        vTable.push_back(MeasureTableOnce());
    }
    std::sort(vTable.begin(), vTable.end());

    benchmark::Initialize(&argc, argv);
    Register("Yuy2ToBgr", Yuy2ToBgr);
    RegisterSwscale("swscale_Yuy2ToBgr", AV_PIX_FMT_YUYV422, AV_PIX_FMT_BGR24);
    Register("BgrToYuy2", BgrToYuy2);
    RegisterSwscale("swscale_BgrToYuy2", AV_PIX_FMT_BGR24, AV_PIX_FMT_YUYV422);
    CReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("kernels %s, pictures of %u x %u; ratios are speed over the peer's fastest, above 1 is faster\n",
                &ColourKernels() == &g_avx2ColourKernels ? "AVX2" : "plain", g_uiWidth, g_uiHeight);
    std::printf("table build, page faults included: %.1f ms CPU (slowest of 5 processes %.1f)\n", vTable[2], vTable[4]);
    std::printf("Yuy2ToBgr / swscale yuyv422 to bgr24: %.2f\n",
                BestSwscale(reporter, "swscale_Yuy2ToBgr") / reporter.Median("Yuy2ToBgr"));
    std::printf("BgrToYuy2 / swscale bgr24 to yuyv422: %.2f\n",
                BestSwscale(reporter, "swscale_BgrToYuy2") / reporter.Median("BgrToYuy2"));
    return 0;
}
