// Reading through the host interface, next to other programs and libraries: frames in order, at random and backwards,
// in files with few key pictures and with only those, small pictures, and one frame far inside a millisecond that
// thousands of frames share.
#include <cstdlib>
#include <random>
#include <stdexcept>

#include "bench/reading_peers.h"
#include "measure.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/module_host.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t FRAMES = 1500;  // a minute, so that the time of an opening counts as much as it does in use
constexpr std::uint32_t FEWER_FRAMES = 300;
constexpr std::uint32_t GROUP = 50;
constexpr double PERIOD_MS = 40.0;
constexpr int RANDOM_READS = 60;
constexpr int ROUNDS = 5;
constexpr std::uint32_t CROWD = 8000;  // frames of 512 ticks each, 3906 of them in a millisecond
constexpr std::uint32_t IN_CROWD = 3800;
constexpr std::uint32_t CROWD_TIMESCALE = 2'000'000'000;

void Check(bool bOk, const char* pszWhat)
{
    if (!bOk) throw std::runtime_error(pszWhat);
}

void MakeVideo(const std::filesystem::path& path, const std::string& strSize, std::uint32_t uiFrames,
               const std::string& strEncoder)
{
    RunFfmpeg("-f lavfi -i testsrc2=size=" + strSize + ":rate=25 -frames:v " + std::to_string(uiFrames) +
              " -vf noise=alls=6:allf=t -c:v libx264 -profile:v high -pix_fmt yuv420p " + strEncoder + " " +
              Quoted(path));
}

void MakeCrowdedVideo(const std::filesystem::path& path)
{
    RunFfmpeg("-f lavfi -i testsrc2=size=320x240:rate=25 -frames:v " + std::to_string(CROWD) +
              " -c:v libx264 -preset veryfast -profile:v high -pix_fmt yuv420p -bf 3 -video_track_timescale 12800 " +
              Quoted(path));
    std::vector<std::uint8_t> vFile = ReadBytes(path);
    SetWordAt(vFile, FindBox(vFile, "moov/trak/mdia/mdhd").m_uiPayload + 12, CROWD_TIMESCALE);
    WriteBytes(path, vFile);
}

// An open file with its buffer.
class ModuleReader : public bench::FrameReader
{
public:
    ModuleReader(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiFrames)
        : m_file(host.OpenInput(path))
    {
        SQmImageAttributes attributes;
        Check(m_file->GetImageAttributes(&attributes) == QM_OK, "the file doesn't open");
        Check(attributes.m_uiSequenceCount == uiFrames, "wrong number of frames");
        m_vBuffer.resize(std::size_t{attributes.m_uiWidthBytes} * attributes.m_uiHeight);
    }
    void Read(std::uint32_t uiFrame) override
    {
        Check(m_file->ReadFrame(uiFrame, m_vBuffer.data(), nullptr, nullptr) == QM_OK, "a frame doesn't read");
    }

private:
    InputFile m_file;
    std::vector<unsigned char> m_vBuffer;
};

using Frames = std::vector<std::uint32_t>;

double SecondsOfReading(bench::FrameReader& reader, const Frames& vFrames)
{
    return bench::SecondsOf([&] {
        for (const std::uint32_t ui : vFrames)
            reader.Read(ui);
    });
}

Frames InOrder(std::uint32_t uiFirst, std::uint32_t uiCount)
{
    Frames vFrames(uiCount);
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
        vFrames[ui] = uiFirst + ui;
    return vFrames;
}

Frames AtRandom(unsigned int uiSeed, std::uint32_t uiFrames)
{
    std::mt19937 random(uiSeed);
    std::uniform_int_distribution<std::uint32_t> frame(0, uiFrames - 1);
    Frames vFrames(RANDOM_READS);
    for (std::uint32_t& ui : vFrames)
        ui = frame(random);
    return vFrames;
}

// The same frames for both, others in each round. Nothing where there is no peer in this build.
void CompareAtRandom(const std::string& strName, bench::FrameReader& ours, std::uint32_t uiFrames,
                     const std::string& strPeer, bench::FrameReader* pPeer)
{
    if (pPeer == nullptr) return;
    unsigned int uiOurSeed = 1;
    unsigned int uiPeerSeed = 1;
    bench::Compare(
        strName + ", " + std::to_string(RANDOM_READS) + " at random", ROUNDS,
        [&] { return SecondsOfReading(ours, AtRandom(uiOurSeed++, uiFrames)); }, strPeer,
        [&] { return SecondsOfReading(*pPeer, AtRandom(uiPeerSeed++, uiFrames)); });
}

void MeasureInOrder(const ModuleHost& host, const std::filesystem::path& path)
{
    const auto readAll = [&] {
        return bench::SecondsOf([&] {
            ModuleReader reader(host, path, FRAMES);
            SecondsOfReading(reader, InOrder(0, FRAMES));
        });
    };
    bench::Compare("all frames in order, open to close", ROUNDS, readAll, "ffmpeg to bgr24", [&] {
        return bench::SecondsOf([&] { RunFfmpeg("-i " + Quoted(path) + " -pix_fmt bgr24 -f rawvideo /dev/null"); });
    });
    if (bench::OpenOpenCv(path) == nullptr) return;
    bench::Compare("all frames in order, open to close", ROUNDS, readAll, "OpenCV", [&] {
        return bench::SecondsOf([&] { SecondsOfReading(*bench::OpenOpenCv(path), InOrder(0, FRAMES)); });
    });
}

// Single steps and walks, from the end of a group that was read in order.
void MeasureBackwards(const ModuleHost& host, const std::filesystem::path& path)
{
    ModuleReader reader(host, path, FRAMES);
    const auto decoder = bench::OpenDecoder(path, PERIOD_MS);
    std::uint32_t uiGroup = 0;
    const auto nextGroupsEnd = [&] { return (++uiGroup % (FRAMES / GROUP) + 1) * GROUP - 1; };
    bench::Compare(
        "one step back", ROUNDS,
        [&] {
            const std::uint32_t uiEnd = nextGroupsEnd();
            reader.Read(uiEnd);
            return SecondsOfReading(reader, {uiEnd - 1});
        },
        "decoding alone", [&] { return SecondsOfReading(*decoder, {nextGroupsEnd() - 1}); });
    bench::Compare(
        std::to_string(GROUP) + " steps back through a group", ROUNDS,
        [&] {
            Frames vFrames = InOrder(nextGroupsEnd() + 1 - GROUP, GROUP);
            return SecondsOfReading(reader, {vFrames.rbegin(), vFrames.rend()});
        },
        "as many forwards", [&] { return SecondsOfReading(reader, InOrder(nextGroupsEnd() + 1 - GROUP, GROUP)); });
}

void MeasureLargePictures(const ModuleHost& host, const TemporaryFolder& dir)
{
    for (const std::string strSize : {"4096x2160", "8192x4320"})
    {
        constexpr std::uint32_t LARGE_FRAMES = 60;
        const auto path = dir / (strSize + ".mp4");
        MakeVideo(path, strSize, LARGE_FRAMES, "-preset ultrafast -g 30");
        bench::Compare(
            strSize + ", " + std::to_string(LARGE_FRAMES) + " frames in order", ROUNDS,
            [&] {
                return bench::SecondsOf([&] {
                    ModuleReader reader(host, path, LARGE_FRAMES);
                    SecondsOfReading(reader, InOrder(0, LARGE_FRAMES));
                });
            },
            "ffmpeg to bgr24",
            [&] {
                return bench::SecondsOf(
                    [&] { RunFfmpeg("-i " + Quoted(path) + " -pix_fmt bgr24 -f rawvideo /dev/null"); });
            });
        std::filesystem::remove(path);
    }
}

void MeasureCrowd(const ModuleHost& host, const std::filesystem::path& path)
{
    MakeCrowdedVideo(path);
    bench::Compare(
        "frame " + std::to_string(IN_CROWD) + " of a millisecond", ROUNDS,
        [&] {
            return bench::SecondsOf([&] {
                ModuleReader crowded(host, path, CROWD);
                crowded.Read(IN_CROWD);
            });
        },
        "ffmpeg up to it",
        [&] {
            return bench::SecondsOf([&] {
                RunFfmpeg("-i " + Quoted(path) + " -frames:v " + std::to_string(IN_CROWD + 1) +
                          " -fps_mode passthrough -pix_fmt bgr24 -f rawvideo /dev/null");
            });
        });
}

}  // namespace

int main()
try
{
    const TemporaryFolder dir;
    const ModuleHost host;
    const std::string strGroups = " -g " + std::to_string(GROUP);

    const auto path = dir / "video.mp4";
    MakeVideo(path, "1920x1080", FRAMES, "-preset veryfast" + strGroups);
    MeasureInOrder(host, path);
    MeasureBackwards(host, path);

    struct SFile
    {
        const char* m_pszName;
        const char* m_pszSize;
        std::string m_strEncoder;
    };
    for (const SFile& file : {SFile{"key every 50, veryfast", "1920x1080", "-preset veryfast" + strGroups},
                              SFile{"key every 50, medium", "1920x1080", "-preset medium" + strGroups},
                              SFile{"all key", "1920x1080", "-preset veryfast -g 1"},
                              SFile{"64 x 48, one key", "64x48", "-preset veryfast -bf 0 -g 1000 -sc_threshold 0"}})
    {
        const auto pathFile = dir / "random.mp4";
        MakeVideo(pathFile, file.m_pszSize, FEWER_FRAMES, file.m_strEncoder);
        ModuleReader reader(host, pathFile, FEWER_FRAMES);
        CompareAtRandom(file.m_pszName, reader, FEWER_FRAMES, "decoding alone",
                        bench::OpenDecoder(pathFile, PERIOD_MS).get());
        CompareAtRandom(file.m_pszName, reader, FEWER_FRAMES, "FFMS2 to bgr24", bench::OpenFfms2(pathFile).get());
        CompareAtRandom(file.m_pszName, reader, FEWER_FRAMES, "OpenCV", bench::OpenOpenCv(pathFile).get());
    }
    MeasureLargePictures(host, dir);
    MeasureCrowd(host, dir / "crowded.mp4");
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_read: %s\n", error.what());
    return EXIT_FAILURE;
}
