// A folder for one test's files, and files written and read without the host's help.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

using CBytes = std::vector<unsigned char>;

class CTempFolder
{
public:
    CTempFolder()
    {
        std::random_device random;
        do
        {
            m_path = std::filesystem::temp_directory_path() / ("qmhosttest" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~CTempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    // The wide path of a file in the folder, for the host.
    std::wstring operator/(const std::wstring& strName) const { return m_path.wstring() + L"/" + strName; }

    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
        {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

private:
    std::filesystem::path m_path;
};

inline void Spill(const std::filesystem::path& path, const CBytes& bytes)
{
    std::ofstream stream(path, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(stream.good());
}

inline CBytes Slurp(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    CBytes bytes(stream.is_open() ? std::filesystem::file_size(path) : 0);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    EXPECT_EQ(stream.gcount(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

inline CBytes RandomBytes(std::size_t uiSize, unsigned int uiSeed)
{
    std::mt19937 random(uiSeed);
    CBytes bytes(uiSize);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}
