// What the process holds of the system at this moment.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <malloc.h>
#endif

namespace test_support
{

inline std::size_t CountEntries(const std::filesystem::path& folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

#ifdef _WIN32

// Files, events, threads and all else that the system counts.
inline std::size_t CountHandles()
{
    DWORD dwHandles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &dwHandles);
    return dwHandles;
}

#else

// Open files, pipes and the like.
inline std::size_t CountOpenFiles()
{
    return CountEntries("/proc/self/fd");
}

inline std::size_t CountThreads()
{
    return CountEntries("/proc/self/task");
}

// What stands for the handles of Windows: files and threads.
inline std::size_t CountHandles()
{
    return CountOpenFiles() + CountThreads();
}

// Bytes that are allocated and not freed, by whatever library. Sanitizers have an allocator that isn't counted.
inline std::size_t CountAllocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

#endif

// Whether it isn't more than uiMost, at once or soon: a thread may have ended before the system has removed it.
inline bool FallsTo(std::size_t uiMost, std::size_t (*pfnCount)())
{
    for (int i = 0; i < 5000 && pfnCount() > uiMost; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return pfnCount() <= uiMost;
}

}  // namespace test_support
