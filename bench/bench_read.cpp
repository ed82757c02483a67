// Reading through the host interface: every frame in order next to the ffmpeg program decoding to bgr24, and frames at
// random next to FFMS2. 1920 x 1080, High profile, a key frame every 50. Then one frame far inside a millisecond that
// thousands of frames share, next to ffmpeg decoding up to it.
#include <ffms.h>

#include <cstdlib>
#include <random>
#include <stdexcept>

#include "measure.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiFrames = 1500;  // a minute, so that the time of an opening counts as much as it does in use
constexpr int g_nRandomReads = 60;
constexpr int g_nRounds = 5;
constexpr std::uint32_t g_uiCrowd = 8000;  // frames of 512 ticks each, 3906 of them in a millisecond
constexpr std::uint32_t g_uiInCrowd = 3800;
constexpr std::uint32_t g_uiCrowdTimescale = 2'000'000'000;

void Check(bool bOk, const char* pszWhat)
{
    if (!bOk) throw std::runtime_error(pszWhat);
}

void MakeVideo(const std::filesystem::path& path)
{
    RunFfmpeg("-f lavfi -i testsrc2=size=1920x1080:rate=25 -frames:v " + std::to_string(g_uiFrames) +
              " -vf noise=alls=6:allf=t -c:v libx264 -preset veryfast -profile:v high -pix_fmt yuv420p -g 50 " +
              Quoted(path));
}

void MakeCrowdedVideo(const std::filesystem::path& path)
{
    RunFfmpeg("-f lavfi -i testsrc2=size=320x240:rate=25 -frames:v " + std::to_string(g_uiCrowd) +
              " -c:v libx264 -preset veryfast -profile:v high -pix_fmt yuv420p -bf 3 -video_track_timescale 12800 " +
              Quoted(path));
    std::vector<std::uint8_t> vFile = ReadBytes(path);
    SetWordAt(vFile, FindBox(vFile, "moov/trak/mdia/mdhd").m_uiPayload + 12, g_uiCrowdTimescale);
    WriteBytes(path, vFile);
}

// An open file with its buffer.
class Reader
{
public:
    Reader(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiFrames)
        : m_file(host.OpenInput(path))
    {
        SQmImageAttributes attributes;
        Check(m_file->GetImageAttributes(&attributes) == QM_OK, "the file doesn't open");
        Check(attributes.m_uiSequenceCount == uiFrames, "wrong number of frames");
        m_vBuffer.resize(std::size_t{attributes.m_uiWidthBytes} * attributes.m_uiHeight);
    }
    void Read(std::uint32_t uiFrame)
    {
        Check(m_file->ReadFrame(uiFrame, m_vBuffer.data(), nullptr, nullptr) == QM_OK, "a frame doesn't read");
    }

private:
    InputFile m_file;
    std::vector<unsigned char> m_vBuffer;
};

// FFMS2 with an index that was made before and its output set to bgr24.
class Ffms2Reader
{
public:
    explicit Ffms2Reader(const std::filesystem::path& path)
    {
        FFMS_Init(0, 0);
        FFMS_Indexer* const pIndexer = FFMS_CreateIndexer(path.c_str(), &m_error);
        Check(pIndexer, "FFMS_CreateIndexer");
        FFMS_Index* const pIndex = FFMS_DoIndexing2(pIndexer, FFMS_IEH_ABORT, &m_error);
        Check(pIndex, "FFMS_DoIndexing2");
        const int nTrack = FFMS_GetFirstTrackOfType(pIndex, FFMS_TYPE_VIDEO, &m_error);
        m_pSource = FFMS_CreateVideoSource(path.c_str(), nTrack, pIndex, -1, FFMS_SEEK_NORMAL, &m_error);
        FFMS_DestroyIndex(pIndex);
        Check(m_pSource, "FFMS_CreateVideoSource");
        const int anFormats[] = {FFMS_GetPixFmt("bgr24"), -1};
        Check(FFMS_SetOutputFormatV2(m_pSource, anFormats, 1920, 1080, FFMS_RESIZER_BICUBIC, &m_error) == 0,
              "FFMS_SetOutputFormatV2");
    }
    ~Ffms2Reader() { FFMS_DestroyVideoSource(m_pSource); }
    Ffms2Reader(const Ffms2Reader&) = delete;
    Ffms2Reader& operator=(const Ffms2Reader&) = delete;

    void Read(std::uint32_t uiFrame)
    {
        Check(FFMS_GetFrame(m_pSource, static_cast<int>(uiFrame), &m_error) != nullptr, "FFMS_GetFrame");
    }

private:
    char m_szError[256] = {};
    FFMS_ErrorInfo m_error{0, 0, sizeof m_szError, m_szError};
    FFMS_VideoSource* m_pSource = nullptr;
};

std::vector<std::uint32_t> RandomFrames(unsigned int uiSeed)
{
    std::mt19937 random(uiSeed);
    std::uniform_int_distribution<std::uint32_t> frame(0, g_uiFrames - 1);
    std::vector<std::uint32_t> vFrames(g_nRandomReads);
    for (std::uint32_t& ui : vFrames)
        ui = frame(random);
    return vFrames;
}

}  // namespace

int main()
try
{
    const TemporaryFolder dir;
    const auto path = dir / "video.mp4";
    MakeVideo(path);
    const ModuleHost host;

    bench::Compare(
        "all frames in order, open to close", g_nRounds,
        [&] {
            return bench::SecondsOf([&] {
                Reader reader(host, path, g_uiFrames);
                for (std::uint32_t ui = 0; ui < g_uiFrames; ++ui)
                    reader.Read(ui);
            });
        },
        "ffmpeg to bgr24",
        [&] {
            return bench::SecondsOf([&] { RunFfmpeg("-i " + Quoted(path) + " -pix_fmt bgr24 -f rawvideo /dev/null"); });
        });

    Reader reader(host, path, g_uiFrames);
    Ffms2Reader peer(path);
    unsigned int uiOurSeed = 1;
    unsigned int uiPeerSeed = 1;
    bench::Compare(
        std::to_string(g_nRandomReads) + " frames at random, file open", g_nRounds,
        [&] {
            const auto vFrames = RandomFrames(uiOurSeed++);
            return bench::SecondsOf([&] {
                for (const std::uint32_t ui : vFrames)
                    reader.Read(ui);
            });
        },
        "FFMS2 to bgr24",
        [&] {
            const auto vFrames = RandomFrames(uiPeerSeed++);
            return bench::SecondsOf([&] {
                for (const std::uint32_t ui : vFrames)
                    peer.Read(ui);
            });
        });

    const auto pathCrowded = dir / "crowded.mp4";
    MakeCrowdedVideo(pathCrowded);
    bench::Compare(
        "frame " + std::to_string(g_uiInCrowd) + " of a millisecond", g_nRounds,
        [&] {
            return bench::SecondsOf([&] {
                Reader crowded(host, pathCrowded, g_uiCrowd);
                crowded.Read(g_uiInCrowd);
            });
        },
        "ffmpeg up to it",
        [&] {
            return bench::SecondsOf([&] {
                RunFfmpeg("-i " + Quoted(pathCrowded) + " -frames:v " + std::to_string(g_uiInCrowd + 1) +
                          " -fps_mode passthrough -pix_fmt bgr24 -f rawvideo /dev/null");
            });
        });
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_read: %s\n", error.what());
    return EXIT_FAILURE;
}
