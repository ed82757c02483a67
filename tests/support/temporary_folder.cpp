#include "support/temporary_folder.h"

#include <random>

namespace test_support
{

std::filesystem::path FolderForHoles()
{
    const std::filesystem::path path = "/dev/shm";
    std::error_code ignored;
    // Not absolute where paths begin with a drive.
    return path.is_absolute() && std::filesystem::is_directory(path, ignored) ? path : std::filesystem::path();
}

TemporaryFolder::TemporaryFolder(const std::filesystem::path& prefix)
{
    std::random_device random;
    do
    {
        m_path = std::filesystem::temp_directory_path() / prefix;
        m_path += std::to_string(random());
    } while (!std::filesystem::create_directory(m_path));
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::set<std::string> TemporaryFolder::Names() const
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
    {
        const std::u8string name = entry.path().filename().u8string();
        names.emplace(name.begin(), name.end());
    }
    return names;
}

}  // namespace test_support
