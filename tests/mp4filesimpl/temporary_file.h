// A file of a test, gone with it.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

class CTemporaryFile
{
public:
    explicit CTemporaryFile(const std::string& strContents)
    {
        std::random_device device;
        m_path = std::filesystem::temp_directory_path() /
                 ("module-test-" + std::to_string(device()) + std::to_string(device()) + ".mp4");
        std::ofstream(m_path, std::ios::binary) << strContents;
    }
    ~CTemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    CTemporaryFile(const CTemporaryFile&) = delete;
    CTemporaryFile& operator=(const CTemporaryFile&) = delete;

    std::wstring Path() const { return m_path.wstring(); }
    const std::filesystem::path& NativePath() const { return m_path; }

private:
    std::filesystem::path m_path;
};
