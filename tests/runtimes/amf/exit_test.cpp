// Clients that leave without ending their encoder.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "client.h"

namespace
{

// In the middle of a picture; the client is never destroyed. False if the picture wasn't accepted.
bool LeaveAnEncoder()
{
    static Client* const s_pClient = new Client(64, 48);
    s_pClient->Start();
    Runtime::Get().pScript->HoldEncoders(1);
    const Held<AMFSurface> pSurface = s_pClient->Upload(NaturalPicture(64, 48, 0));
    return s_pClient->Submit(pSurface.Get()) == AMF_OK;
}

std::ptrdiff_t CountThreads()
{
    using Entries = std::filesystem::directory_iterator;
    return std::distance(Entries("/proc/self/task"), Entries());
}

bool IsRuntimeLoaded()
{
    std::ifstream stream("/proc/self/maps");
    const std::string maps(std::istreambuf_iterator<char>(stream), {});
    return maps.find("amfrt64") != std::string::npos;
}

}  // namespace

TEST(AmfRuntimeDeathTest, AnEncoderThatIsLeftEndsWithTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::exit(LeaveAnEncoder() ? 7 : 1), testing::ExitedWithCode(7), "");
}

TEST(AmfRuntimeDeathTest, NoThreadOutlivesTheUnloadingOfTheRuntime)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto unload = [] {
        // With a process's first thread a sanitizer may start one of its own.
        std::thread([] {}).join();
        const std::ptrdiff_t nBefore = CountThreads();
        const bool bWorked = LeaveAnEncoder() && IsRuntimeLoaded() && CountThreads() == nBefore + 1;
        FreeLibrary(Runtime::Get().hModule);
        // Without the clean-up of what the client left, which is gone with the file.
        std::_Exit(!bWorked ? 1 : IsRuntimeLoaded() ? 2 : CountThreads() != nBefore ? 3 : 7);
    };
    EXPECT_EXIT(unload(), testing::ExitedWithCode(7), "");
}
