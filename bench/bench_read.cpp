// Reading through the host interface, next to other programs and libraries: frames in order, at random and backwards,
// in files with few key pictures and with only those, small and large pictures, the last of a million frames, and one
// frame far inside a millisecond that thousands of frames share.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string_view>

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
constexpr int RANDOM_READS = 30;
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

// Videos of other profiles open without pictures, which would be compared with a peer's pictures.
void CheckPictures(const ModuleHost& host, const std::filesystem::path& path)
{
    const InputFile file = host.OpenInput(path);
    SQmImageAttributes attributes;
    Check(file->GetImageAttributes(&attributes) == QM_OK, "the file doesn't open");
    std::vector<unsigned char> vPicture(std::size_t{attributes.m_uiWidthBytes} * attributes.m_uiHeight);
    Check(file->ReadFrame(0, vPicture.data(), nullptr, nullptr) == QM_OK, "a frame doesn't read");
    Check(std::any_of(vPicture.begin(), vPicture.end(), [](unsigned char b) { return b != 0; }), "no pictures");
}

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
        // Without it the preset's stream isn't High profile.
        MakeVideo(path, strSize, LARGE_FRAMES, "-preset ultrafast -x264-params 8x8dct=1 -g 30");
        CheckPictures(host, path);
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
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("%s: peak of the process %.0f MiB\n", strSize.c_str(), static_cast<double>(usage.ru_maxrss) / 1024);
        std::filesystem::remove(path);
    }
}

// The same pictures a thousand times, so that making the file takes seconds.
void MeasureLongFile(const ModuleHost& host, const TemporaryFolder& dir)
{
    constexpr std::uint32_t SHORT = 1000;
    constexpr std::uint32_t TIMES = 1000;
    const auto pathShort = dir / "short.mp4";
    const auto pathLong = dir / "long.mp4";
    MakeVideo(pathShort, "64x48", SHORT, "-preset veryfast -bf 0" + (" -g " + std::to_string(GROUP)));
    RunFfmpeg("-stream_loop " + std::to_string(TIMES - 1) + " -i " + Quoted(pathShort) + " -c copy " +
              Quoted(pathLong));
    const auto readLast = [&](const std::filesystem::path& path, std::uint32_t uiFrames) {
        return bench::SecondsOf([&] {
            ModuleReader reader(host, path, uiFrames);
            reader.Read(uiFrames - 1);
        });
    };
    bench::Compare(
        "open, last of " + std::to_string(SHORT * TIMES) + " frames", ROUNDS,
        [&] { return readLast(pathLong, SHORT * TIMES); }, "last of " + std::to_string(SHORT),
        [&] { return readLast(pathShort, SHORT); });
    bench::Compare(
        "open " + std::to_string(SHORT * TIMES) + " frames", ROUNDS,
        [&] { return bench::SecondsOf([&] { ModuleReader(host, pathLong, SHORT * TIMES); }); },
        "open " + std::to_string(SHORT),
        [&] { return bench::SecondsOf([&] { ModuleReader(host, pathShort, SHORT); }); });
}

void MeasureCrowd(const ModuleHost& host, const TemporaryFolder& dir)
{
    const auto path = dir / "crowded.mp4";
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

void MeasureInOrderAndBackwards(const ModuleHost& host, const TemporaryFolder& dir)
{
    const auto path = dir / "video.mp4";
    MakeVideo(path, "1920x1080", FRAMES, "-preset veryfast -g " + std::to_string(GROUP));
    CheckPictures(host, path);
    MeasureInOrder(host, path);
    MeasureBackwards(host, path);
}

void MeasureAtRandom(const ModuleHost& host, const TemporaryFolder& dir)
{
    struct SFile
    {
        const char* m_pszName;
        const char* m_pszSize;
        std::string m_strEncoder;
    };
    const std::string strGroups = " -g " + std::to_string(GROUP);
    for (const SFile& file : {SFile{"key every 50, veryfast", "1920x1080", "-preset veryfast" + strGroups},
                              SFile{"key every 50, medium", "1920x1080", "-preset medium" + strGroups},
                              SFile{"all key", "1920x1080", "-preset veryfast -g 1"},
                              SFile{"64 x 48, one key", "64x48", "-preset veryfast -bf 0 -g 1000 -sc_threshold 0"}})
    {
        const auto path = dir / "random.mp4";
        MakeVideo(path, file.m_pszSize, FEWER_FRAMES, file.m_strEncoder);
        CheckPictures(host, path);
        ModuleReader reader(host, path, FEWER_FRAMES);
        CompareAtRandom(file.m_pszName, reader, FEWER_FRAMES, "decoding alone",
                        bench::OpenDecoder(path, PERIOD_MS).get());
        CompareAtRandom(file.m_pszName, reader, FEWER_FRAMES, "FFMS2 to bgr24", bench::OpenFfms2(path).get());
        CompareAtRandom(file.m_pszName, reader, FEWER_FRAMES, "OpenCV", bench::OpenOpenCv(path).get());
    }
}

struct SPart
{
    const char* m_pszName;
    void (*m_pfnMeasure)(const ModuleHost& host, const TemporaryFolder& dir);
};
constexpr SPart PARTS[] = {{"order", MeasureInOrderAndBackwards},
                           {"random", MeasureAtRandom},
                           {"large", MeasureLargePictures},
                           {"long", MeasureLongFile},
                           {"crowd", MeasureCrowd}};

}  // namespace

// bench_read [PART...]: all parts without arguments.
int main(int argc, char** argv)
try
{
    const std::vector<std::string_view> vWanted(argv + 1, argv + argc);
    for (const std::string_view strWanted : vWanted)
    {
        if (std::any_of(std::begin(PARTS), std::end(PARTS),
                        [&](const SPart& part) { return part.m_pszName == strWanted; }))
            continue;
        std::fprintf(stderr, "usage: bench_read [order] [random] [large] [long] [crowd]\n");
        return EXIT_FAILURE;
    }
    const TemporaryFolder dir;
    const ModuleHost host;
    for (const SPart& part : PARTS)
    {
        const bool bWanted =
            vWanted.empty() || std::find(vWanted.begin(), vWanted.end(), part.m_pszName) != vWanted.end();
        if (bWanted) part.m_pfnMeasure(host, dir);
    }
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_read: %s\n", error.what());
    return EXIT_FAILURE;
}
