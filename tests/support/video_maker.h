// Videos made by the ffmpeg program, in a folder of the test's own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace test_support
{

// A new empty folder that goes with the object.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

// Runs "ffmpeg" with the arguments (shell syntax) and throws std::runtime_error unless it succeeds.
void RunFfmpeg(const std::string& strArguments);

// What a program prints on its standard output; throws unless it succeeds.
std::string RunForOutput(const std::string& strCommand);

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& vBytes);

// The pictures of a plain decode of the first video stream by ffmpeg, every picture of the track, in presentation
// order, as tight planar 4:2:0 blocks of width * height * 3 / 2 bytes.
std::vector<std::vector<std::uint8_t>> DecodePlain(const std::filesystem::path& path, std::size_t uiWidth,
                                                   std::size_t uiHeight);

std::string Quoted(const std::filesystem::path& path);

}  // namespace test_support
