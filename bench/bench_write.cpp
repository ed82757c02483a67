// Writing with NVENC1: each part by itself, then the whole next to the ffmpeg program with the same encoder and
// settings.
//
// bench_write [PACKETS]: the number of packets for muxing is 1,000,000 by default, which takes 6 GB of temporary files.
// They are removed at the end.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <stdexcept>

#include "bench/measure.h"
#include "bench/muxing.h"
#include "colour/colourconversion.h"
#include "support/encoder_script.h"
#include "support/ffmpeg.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 1920;
constexpr std::uint32_t g_uiHeight = 1080;
constexpr std::size_t g_uiPictureSize = std::size_t{3} * g_uiWidth * g_uiHeight;
constexpr int g_nPictures = 150;
constexpr int g_nRounds = 5;

void Check(bool bOk, const char* pszWhat)
{
    if (!bOk) throw std::runtime_error(pszWhat);
}

void MeasureWidening()
{
    constexpr int nTimes = 100;
    constexpr std::size_t uiWideRow = g_uiWidth * std::size_t{4};
    std::mt19937 random(1);
    std::vector<std::uint8_t> vSource(uiWideRow * g_uiHeight);
    for (std::uint8_t& byte : vSource)
        byte = static_cast<std::uint8_t>(random());
    std::vector<std::uint8_t> vTarget(vSource.size());
    bench::Compare(
        "widening 100 pictures from 24 to 32 bits", g_nRounds,
        [&] {
            return bench::SecondsOf([&] {
                for (int n = 0; n < nTimes; ++n)
                    CopyBgrToBgra(vTarget.data(), uiWideRow, vSource.data(), g_uiWidth * 3, g_uiWidth, g_uiHeight);
            });
        },
        "memcpy of as many bytes",
        [&] {
            return bench::SecondsOf([&] {
                for (int n = 0; n < nTimes; ++n)
                {
                    for (std::size_t y = 0; y < g_uiHeight; ++y)
                        std::memcpy(&vTarget[y * uiWideRow], &vSource[y * uiWideRow], uiWideRow);
                }
            });
        });
}

void WriteThroughHost(const ModuleHost& host, const std::filesystem::path& frames, const std::filesystem::path& path)
{
    std::ifstream stream(frames, std::ios::binary);
    const OutputFile file = OpenForPictures(host, path, g_uiWidth, g_uiHeight);
    std::vector<char> vPicture(g_uiPictureSize);
    for (int n = 0; n < g_nPictures; ++n)
    {
        Check(bool(stream.read(vPicture.data(), static_cast<std::streamsize>(vPicture.size()))), "no more pictures");
        file->SetFrameTime(n * 1000.0 / 30.0);
        Check(file->WriteNextFrame(vPicture.data()) == QM_OK, "a frame isn't written");
    }
    file->CloseOutput();
}

// The runtime's settings of its encoder for the file that was written last, as ffmpeg's arguments.
std::string EncoderArguments(const EncoderScript& script)
{
    NvencRuntimeX264Settings settings{};
    script->GetX264Settings(&settings);
    std::string strArguments = std::string(" -c:v libx264 -preset ") + settings.szPreset;
    if (settings.szProfile[0] != '\0') strArguments += std::string(" -profile:v ") + settings.szProfile;
    return strArguments + " -x264-params '" + settings.szOptions + "' ";
}

void MeasureWriting(const std::filesystem::path& directory)
{
    const auto frames = directory / "frames.bgr";
    const auto ours = directory / "ours.mp4";
    const auto peers = directory / "peers.mp4";
    RunFfmpeg("-f lavfi -i testsrc2=size=1920x1080:rate=30 -vf noise=alls=6:allf=t -frames:v " +
              std::to_string(g_nPictures) + " -pix_fmt bgr24 -f rawvideo " + Quoted(frames));

    const EncoderScript script;  // keeps the runtime loaded for all files, with its record of settings
    const ModuleHost host;
    ChooseCodec(host, L"NVENC1");
    WriteThroughHost(host, frames, ours);
    const std::string strArguments = "-f rawvideo -pix_fmt bgr24 -video_size 1920x1080 -framerate 30 -i " +
                                     Quoted(frames) + EncoderArguments(script) + "-pix_fmt yuv420p ";
    bench::Compare(
        "writing 150 pictures of 1920 x 1080", g_nRounds,
        [&] { return bench::SecondsOf([&] { WriteThroughHost(host, frames, ours); }); }, "ffmpeg, libx264 set the same",
        [&] { return bench::SecondsOf([&] { RunFfmpeg(strArguments + Quoted(peers)); }); });
    std::printf("    files of %.1f and %.1f MB; the encoder:%s\n",
                static_cast<double>(std::filesystem::file_size(ours)) / 1e6,
                static_cast<double>(std::filesystem::file_size(peers)) / 1e6,
                strArguments.substr(strArguments.find(" -c:v")).c_str());
}

}  // namespace

int main(int argc, char** argv)
try
{
    const TemporaryFolder dir;
    bench::MeasureMuxing(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000, dir.Path());
    MeasureWidening();
    MeasureWriting(dir.Path());
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_write: %s\n", error.what());
    return EXIT_FAILURE;
}
