#include "support/temporary_folder.h"

#include <random>

namespace test_support
{

namespace
{

constexpr std::uintmax_t SPACE_FOR_CONTENTS = 512U << 20;  // for what isn't a hole

}  // namespace

std::filesystem::path FolderForHoles()
{
    const std::filesystem::path path = "/dev/shm";
    if (!path.is_absolute()) return {};  // where paths begin with a drive
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(path, error);
    if (error || space.available < SPACE_FOR_CONTENTS) return {};
    const std::filesystem::path probe = path / ("imageformat_mp4-probe-" + std::to_string(std::random_device()()));
    const bool bWritable = std::filesystem::create_directory(probe, error);
    std::filesystem::remove(probe, error);
    return bWritable ? path : std::filesystem::path();
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
