// A folder of its own for a test, gone with it. Its name isn't ASCII, so every test is one of Unicode paths too.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::random_device device;
        m_path = std::filesystem::temp_directory_path() /
                 std::filesystem::path(u8"qmhost-\u00E9\u4E2D-" + Utf8(std::to_string(device())));
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

    std::size_t EntryCount() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_path), {}));
    }

private:
    static std::u8string Utf8(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

    std::filesystem::path m_path;
};

inline std::string FileText(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
