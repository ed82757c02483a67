// Two output objects that write files while two input objects read, each on a thread of its own.
#include <gtest/gtest.h>

#include <atomic>
#include <exception>
#include <functional>
#include <iterator>
#include <random>
#include <thread>
#include <vector>

#include <windows.h>

#include "support/repetitions.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 64;
constexpr std::uint32_t g_uiHeight = 48;
constexpr std::uint32_t g_uiFrames = 60;  // of the file that is read

HostPicture Picture(std::uint32_t uiFrame)
{
    return NumberedPicture(g_uiWidth, g_uiHeight, uiFrame + 1);
}

// A file of 0 to 20 frames with pauses between some of them. It ends with a close or with its release.
void WriteRandomFile(const ModuleHost& host, const std::filesystem::path& path, std::mt19937& random)
{
    constexpr const wchar_t* apwszCodecs[] = {L"HQ", L"NQ", L"LQ", L"FST"};
    const std::size_t uiCodec = random() % std::size(apwszCodecs);
    ChooseCodec(host, apwszCodecs[uiCodec]);
    const auto uiFrames = static_cast<std::uint32_t>(random() % 21);
    OutputFile file = OpenForPictures(host, path, g_uiWidth, g_uiHeight);
    for (std::uint32_t ui = 0; ui < uiFrames; ++ui)
    {
        EXPECT_EQ(WriteAt(file, 40.0 * ui, Picture(ui)), QM_OK) << "frame " << ui << " of " << uiFrames;
        if (random() % 4 == 0) Sleep(static_cast<DWORD>(random() % 5));
    }
    if (random() % 2 != 0)
    {
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    file.Reset();

    ASSERT_EQ(std::filesystem::exists(path), uiFrames != 0);
    if (uiFrames == 0) return;
    const ReadBack written(host, path);
    EXPECT_EQ(written.Count(), uiFrames);
    const auto uiFrame = static_cast<std::uint32_t>(random() % uiFrames);
    if (uiCodec != 3)  // pictures in Baseline aren't delivered
    {
        EXPECT_EQ(NumberIn(written.Frame(uiFrame)), uiFrame + 1);
    }
    std::filesystem::remove(path);
}

// Some frames of a file that stays, in any order.
void ReadRandomFrames(const ModuleHost& host, const std::filesystem::path& path, std::mt19937& random)
{
    const ReadBack file(host, path);
    EXPECT_EQ(file.Count(), g_uiFrames);
    for (std::uint32_t n = random() % 12; n > 0; --n)
    {
        const auto uiFrame = static_cast<std::uint32_t>(random() % g_uiFrames);
        EXPECT_EQ(NumberIn(file.Frame(uiFrame)), uiFrame + 1);
    }
}

TEST(WritingBesideReading, RandomFilesOfTwoWritersBesideTwoReaders)
{
    const TemporaryFolder dir;
    const std::filesystem::path pathRead = dir / "read.mp4";
    {
        const ModuleHost host;
        ChooseCodec(host, L"HQ");
        WriteFile(host, pathRead, EvenTimes(g_uiFrames), Picture);
    }

    const int nFiles = Repetitions(100);
    const unsigned uiSeed = std::random_device()();
    const std::vector<ModuleHost> vHosts(4);
    std::atomic<int> nToWrite{nFiles};
    std::atomic<int> nWriters{2};
    const auto guarded = [](const std::function<void()>& work) {
        try
        {
            work();
        }
        catch (const std::exception& exception)
        {
            ADD_FAILURE() << exception.what();
        }
    };

    std::vector<std::thread> vThreads;
    for (unsigned uiThread = 0; uiThread < vHosts.size(); ++uiThread)
    {
        vThreads.emplace_back([&, uiThread] {
            std::mt19937 random(uiSeed + uiThread);
            const ModuleHost& host = vHosts[uiThread];
            if (uiThread < 2)
            {
                const std::filesystem::path path = dir / ("written" + std::to_string(uiThread) + ".mp4");
                while (nToWrite-- > 0 && !testing::Test::HasFailure())
                    guarded([&] { WriteRandomFile(host, path, random); });
                --nWriters;
            }
            else
            {
                while (nWriters > 0 && !testing::Test::HasFailure())
                    guarded([&] { ReadRandomFrames(host, pathRead, random); });
            }
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
    EXPECT_FALSE(testing::Test::HasFailure()) << "seed " << uiSeed;
    EXPECT_LE(nToWrite.load(), 0) << "of " << nFiles << " files";
}

}  // namespace
