// The process's current folder for the length of a test.
#pragma once

#include <filesystem>

namespace test_support
{

// Another folder is the current one as long as it lives; its end restores the one before.
class CurrentFolder
{
public:
    explicit CurrentFolder(const std::filesystem::path& folder) : m_before(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder);
    }
    ~CurrentFolder()
    {
        std::error_code ignored;
        std::filesystem::current_path(m_before, ignored);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    const std::filesystem::path m_before;
};

}  // namespace test_support
