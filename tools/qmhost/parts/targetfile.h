// A file that the module is going to write.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace qmhost
{

// Looks at a path before and after it was written to.
class TargetFile
{
public:
    // Throws std::runtime_error, with the path and the reason, where no file can be written: a directory, a missing
    // folder, a file that may not be changed. Changes nothing itself.
    explicit TargetFile(std::filesystem::path path);

    bool Exists() const;
    // What is there now, for a message: that there is no file, that it is the one that was there before, or that it is
    // incomplete.
    std::string AfterFailure() const;

    // ", and its disk is full", or "" when it isn't or can't be asked.
    std::string DiskState() const;

private:
    // What changes when a file is written.
    struct Traces
    {
        bool m_bThere = false;
        std::uintmax_t m_uiSize = 0;
        std::int64_t m_nTimeWritten = 0;
        bool operator==(const Traces&) const = default;
    };
    static Traces Look(const std::filesystem::path& path);

    std::filesystem::path m_path;
    Traces m_before;
};

}  // namespace qmhost
