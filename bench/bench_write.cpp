// Writing: muxing and widening by themselves, then the whole with every codec, next to the ffmpeg program with the same
// encoder and settings.
//
// bench_write [PACKETS]: the number of packets for muxing is 1,000,000 by default, which takes 6 GB of temporary files.
// They are removed at the end.
#include <sys/resource.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <stdexcept>

#include "bench/measure.h"
#include "bench/muxing.h"
#include "colour/colourconversion.h"
#include "hostapi/hostpicbase.h"
#include "platform/mediafoundation/writing/encoder_settings.h"
#include "support/amf_script.h"
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
constexpr std::size_t g_uiYuy2Size = std::size_t{2} * g_uiWidth * g_uiHeight;
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

// Of the calling thread.
double ThreadCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

// Returns the processor seconds that the module's calls took on this thread, without the close.
double WriteThroughHost(const ModuleHost& host, int nPictures, const std::filesystem::path& frames,
                        const std::filesystem::path& path)
{
    double dCpu = 0.0;
    std::ifstream stream(frames, std::ios::binary);
    const OutputFile file = OpenForPictures(host, path, g_uiWidth, g_uiHeight);
    std::vector<char> vPicture(g_uiPictureSize);
    for (int n = 0; n < nPictures; ++n)
    {
        Check(bool(stream.read(vPicture.data(), static_cast<std::streamsize>(vPicture.size()))), "no more pictures");
        file->SetFrameTime(n * 1000.0 / 30.0);
        const double dBegin = ThreadCpuSeconds();
        Check(file->WriteNextFrame(vPicture.data()) == QM_OK, "a frame isn't written");
        dCpu += ThreadCpuSeconds() - dBegin;
    }
    file->CloseOutput();
    return dCpu;
}

// The runtime's settings of its encoder for the file that was written last, as ffmpeg's arguments.
std::string EncoderArguments(const RuntimeX264Settings& settings)
{
    std::string strArguments = std::string(" -c:v libx264 -preset ") + settings.szPreset;
    if (settings.szProfile[0] != '\0') strArguments += std::string(" -profile:v ") + settings.szProfile;
    return strArguments + " -x264-params '" + settings.szOptions + "' ";
}

// The arguments of ffmpeg for pictures in a file, in the form that the host gives or in the encoder's. The encoder's
// choice of bits depends on the number of pictures a second that it is set up with.
std::string RawInput(const char* pszForm, unsigned uiPicturesASecond, const std::filesystem::path& frames)
{
    return std::string("-f rawvideo -pix_fmt ") + pszForm + " -video_size 1920x1080 -framerate " +
           std::to_string(uiPicturesASecond) + " -i " + Quoted(frames);
}

// Ours and ffmpeg's, into a file each.
void CompareWriting(const ModuleHost& host, const std::string& strName, int nPictures,
                    const std::filesystem::path& frames, const std::string& strPeer, const std::string& strPeersInput,
                    const std::string& strEncoder)
{
    const auto ours = frames.parent_path() / "ours.mp4";
    const auto peers = frames.parent_path() / "peers.mp4";
    bench::Compare(
        strName + ": " + std::to_string(nPictures) + " pictures of 1920 x 1080", g_nRounds,
        [&] { return bench::SecondsOf([&] { WriteThroughHost(host, nPictures, frames, ours); }); }, strPeer,
        [&] {
            return bench::SecondsOf([&] {
                RunFfmpeg(strPeersInput + strEncoder + " -frames:v " + std::to_string(nPictures) +
                          " -pix_fmt yuv420p " + Quoted(peers));
            });
        });
    std::printf("    files of %.1f and %.1f MB; the encoder:%s\n",
                static_cast<double>(std::filesystem::file_size(ours)) / 1e6,
                static_cast<double>(std::filesystem::file_size(peers)) / 1e6, strEncoder.c_str());
}

// A codec whose encoder is a software runtime. TScript keeps it loaded for all files, with its record of settings.
template <class TScript>
void MeasureRuntime(const std::string& strCode, const std::filesystem::path& frames)
{
    const TScript script;
    const ModuleHost host;
    ChooseCodec(host, std::wstring(strCode.begin(), strCode.end()));
    WriteThroughHost(host, g_nPictures, frames, frames.parent_path() / "ours.mp4");
    RuntimeX264Settings settings{};
    script->GetX264Settings(&settings);
    CompareWriting(host, strCode, g_nPictures, frames, "ffmpeg, libx264 set the same", RawInput("bgr24", 30, frames),
                   EncoderArguments(settings));
}

// A codec of the system's encoder, as it sets the encoder up. The module asks for no number of B pictures with some,
// and the encoder's default is none.
struct SSystemCodec
{
    const wchar_t* m_pwszCode;
    mediafoundation::EncoderSettings m_settings;
};

std::vector<SSystemCodec> SystemCodecs()
{
    mediafoundation::EncoderSettings settings;
    settings.m_uiThreads = 16;
    std::vector<SSystemCodec> vCodecs(4, {L"HQ", settings});
    const auto set = [&](std::size_t ui, const wchar_t* pwszCode, std::uint32_t uiProfile, std::uint32_t uiQuality,
                         std::uint32_t uiQualityVsSpeed, std::uint32_t uiBPictures, std::uint32_t uiMinQp,
                         std::uint32_t uiMaxQp) {
        vCodecs[ui].m_pwszCode = pwszCode;
        mediafoundation::EncoderSettings& of = vCodecs[ui].m_settings;
        of.m_uiProfile = uiProfile;
        of.m_uiQuality = uiQuality;
        of.m_uiQualityVsSpeed = uiQualityVsSpeed;
        of.m_uiBPictures = uiBPictures;
        of.m_uiMinQp = uiMinQp;
        of.m_uiMaxQp = uiMaxQp;
    };
    set(0, L"HQ", 100, 100, 100, 2, 0, 30);
    set(1, L"NQ", 100, 80, 100, 2, 0, 30);
    set(2, L"LQ", 100, 70, 50, 0, 0, 30);
    set(3, L"FST", 66, 75, 0, 0, 1, 51);
    return vCodecs;
}

std::string EncoderArguments(const mediafoundation::EncoderSettings& settings)
{
    const std::string strParameters = mediafoundation::ProfileParametersOf(settings.m_uiProfile);
    return " -c:v libx264 -preset " + mediafoundation::PresetOf(settings.m_uiQualityVsSpeed) + " -profile:v " +
           mediafoundation::ProfileNameOf(settings.m_uiProfile) + " -crf " +
           std::to_string(mediafoundation::RateFactorOf(settings.m_uiQuality)) + " -bf " +
           std::to_string(settings.m_uiBPictures) + " -g " + std::to_string(mediafoundation::KeyDistanceOf(settings)) +
           " -qmin " + std::to_string(settings.m_uiMinQp) + " -qmax " + std::to_string(settings.m_uiMaxQp) +
           " -threads " + std::to_string(settings.m_uiThreads) +
           (strParameters.empty() ? "" : " -x264-params " + strParameters);
}

// A picture as the module gives it to the system's encoder: YUY2 in tight rows.
void ConvertPicture(std::vector<std::uint8_t>& vBgr, std::vector<std::uint8_t>& vYuy2)
{
    SQmPicBuf source{};
    source.m_uiWidth = g_uiWidth;
    source.m_uiHeight = g_uiHeight;
    source.m_uiBits = 8;
    source.m_uiComponents = 3;
    source.m_uiWidthBytes = g_uiWidth * 3;
    source.m_pData = vBgr.data();
    SQmPicBuf target = source;
    target.m_uiComponents = 2;
    target.m_uiWidthBytes = g_uiWidth * 2;
    target.m_pData = vYuy2.data();
    ConvertBgrToYuy2(target, source);
}

void ConvertPictures(const std::filesystem::path& frames, const std::filesystem::path& converted)
{
    std::vector<std::uint8_t> vBgr(g_uiPictureSize);
    std::vector<std::uint8_t> vYuy2(g_uiYuy2Size);
    std::ifstream from(frames, std::ios::binary);
    std::ofstream to(converted, std::ios::binary);
    while (from.read(reinterpret_cast<char*>(vBgr.data()), g_uiPictureSize))
    {
        ConvertPicture(vBgr, vYuy2);
        to.write(reinterpret_cast<const char*>(vYuy2.data()), g_uiYuy2Size);
    }
    to.close();
    Check(to.good(), "the converted pictures aren't written");
}

// What the host's thread has to do: convert each picture, and copy it to where the encoder's threads take it from.
void MeasureHostThread(const ModuleHost& host, const std::filesystem::path& frames)
{
    std::vector<std::uint8_t> vSource(g_uiPictureSize);
    std::vector<std::uint8_t> vPending(g_uiYuy2Size);
    std::vector<std::uint8_t> vHandedOver(g_uiYuy2Size);
    std::ifstream(frames, std::ios::binary).read(reinterpret_cast<char*>(vSource.data()), g_uiPictureSize);
    bench::Compare(
        "processor time of the host's thread", g_nRounds,
        [&] { return WriteThroughHost(host, g_nPictures, frames, frames.parent_path() / "ours.mp4"); },
        "a conversion and a copy each",
        [&] {
            const double dBegin = ThreadCpuSeconds();
            for (int n = 0; n < g_nPictures; ++n)
            {
                ConvertPicture(vSource, vPending);
                std::memcpy(vHandedOver.data(), vPending.data(), vPending.size());
            }
            return ThreadCpuSeconds() - dBegin;
        });
}

void MeasureSystemEncoder(const std::filesystem::path& frames)
{
    const ModuleHost host;
    const auto converted = frames.parent_path() / "frames.yuy2";
    ConvertPictures(frames, converted);
    for (const SSystemCodec& codec : SystemCodecs())
    {
        ChooseCodec(host, codec.m_pwszCode);
        const std::wstring strCode = codec.m_pwszCode;
        // The slow presets make some three pictures a second.
        const int nPictures = codec.m_settings.m_uiQualityVsSpeed > 66 ? g_nPictures / 5 : g_nPictures;
        const std::string strName(strCode.begin(), strCode.end());
        const unsigned uiRate = codec.m_settings.m_uiRateNumerator;  // whatever the times of the pictures are
        CompareWriting(host, strName, nPictures, frames, "ffmpeg, libx264 set the same",
                       RawInput("bgr24", uiRate, frames), EncoderArguments(codec.m_settings));
        CompareWriting(host, strName, nPictures, frames, "ffmpeg, from the converted pictures",
                       RawInput("yuyv422", uiRate, converted), EncoderArguments(codec.m_settings));
    }
    MeasureHostThread(host, frames);
}

}  // namespace

int main(int argc, char** argv)
try
{
    const TemporaryFolder dir;
    bench::MeasureMuxing(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000, dir.Path());
    MeasureWidening();

    const auto frames = dir.Path() / "frames.bgr";
    RunFfmpeg("-f lavfi -i testsrc2=size=1920x1080:rate=30 -vf noise=alls=6:allf=t -frames:v " +
              std::to_string(g_nPictures) + " -pix_fmt bgr24 -f rawvideo " + Quoted(frames));
    MeasureRuntime<EncoderScript>("NVENC1", frames);
    MeasureRuntime<AmfScript>("AMF1", frames);
    MeasureSystemEncoder(frames);
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_write: %s\n", error.what());
    return EXIT_FAILURE;
}
