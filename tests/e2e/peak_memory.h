// The memory that the process has taken at most.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

// Bytes of physical memory at the highest point so far. Nothing where the system doesn't report it in this way.
inline std::optional<std::uint64_t> PeakMemory()
{
    std::ifstream status("/proc/self/status");
    std::string strWord;
    while (status >> strWord)
    {
        std::uint64_t uiKilobytes = 0;
        if (strWord == "VmHWM:" && status >> uiKilobytes) return uiKilobytes * 1024;
    }
    return std::nullopt;
}
