// Videos that ffmpeg makes for a test, in a folder that goes with the test program.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>

class CVideoFolder
{
public:
    CVideoFolder()
    {
        std::random_device device;
        m_path = std::filesystem::temp_directory_path() / ("module-videos-" + std::to_string(device()));
        std::filesystem::create_directories(m_path);
    }
    ~CVideoFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CVideoFolder(const CVideoFolder&) = delete;
    CVideoFolder& operator=(const CVideoFolder&) = delete;

    std::filesystem::path operator/(const std::string& strName) const { return m_path / strName; }

private:
    std::filesystem::path m_path;
};

// A file called strName, made by ffmpeg with strArguments (inputs and options).
inline std::filesystem::path MakeVideo(const std::string& strName, const std::string& strArguments)
{
    static const CVideoFolder folder;
    const std::filesystem::path path = folder / strName;
    if (std::filesystem::exists(path)) return path;
    const std::string strCommand =
        "ffmpeg -v error -nostdin -y -threads 1 " + strArguments + " \"" + path.string() + "\"";
    EXPECT_EQ(std::system(strCommand.c_str()), 0) << strCommand;
    return path;
}

// A moving picture of the given length.
inline std::string TestPicture(int nFrames, const std::string& strSize = "64x48")
{
    return "-f lavfi -i testsrc2=size=" + strSize + ":rate=25 -frames:v " + std::to_string(nFrames) +
           " -pix_fmt yuv420p -c:v libx264 ";
}

inline std::string BytesOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A file beside path with other contents.
inline std::filesystem::path WriteBeside(const std::filesystem::path& path, const std::string& strEnding,
                                         const std::string& strContents)
{
    const std::filesystem::path beside = path.string() + strEnding;
    std::ofstream(beside, std::ios::binary) << strContents;
    return beside;
}
