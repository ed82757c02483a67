// What the process holds of the system at this moment.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

#include <malloc.h>

namespace test_support
{

inline std::size_t CountEntries(const std::filesystem::path& folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// Open files, pipes and the like; on Linux only, as is all else here.
inline std::size_t CountOpenFiles()
{
    return CountEntries("/proc/self/fd");
}

inline std::size_t CountThreads()
{
    return CountEntries("/proc/self/task");
}

// Bytes that are allocated and not freed, by whatever library. Sanitizers have an allocator that isn't counted.
inline std::size_t CountAllocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Whether it isn't more than uiMost, at once or soon: a thread may have ended before the system has removed it.
inline bool FallsTo(std::size_t uiMost, std::size_t (*pfnCount)())
{
    for (int i = 0; i < 5000 && pfnCount() > uiMost; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return pfnCount() <= uiMost;
}

}  // namespace test_support
