#include "support/video_maker.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace test_support
{

namespace
{

void RunCommand(const std::string& strCommand)
{
    if (std::system(strCommand.c_str()) != 0) throw std::runtime_error("failed: " + strCommand);
}

}  // namespace

TempDir::TempDir()
{
    std::random_device device;
    do
    {
        m_path = std::filesystem::temp_directory_path() / ("imageformat_mp4-test-" + std::to_string(device()));
    } while (!std::filesystem::create_directory(m_path));
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string Quoted(const std::filesystem::path& path)
{
    return '"' + path.string() + '"';
}

void RunFfmpeg(const std::string& strArguments)
{
    // What goes wrong shows in the exit status; warnings about odd times are wanted here.
    RunCommand("ffmpeg -nostdin -v fatal -y " + strArguments);
}

std::string RunForOutput(const std::string& strCommand)
{
    const TempDir dir;
    RunCommand(strCommand + " > " + Quoted(dir / "output"));
    const std::vector<std::uint8_t> vBytes = ReadBytes(dir / "output");
    return std::string(vBytes.begin(), vBytes.end());
}

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error("can't read " + path.string());
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& vBytes)
{
    std::ofstream stream(path, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(vBytes.data()), static_cast<std::streamsize>(vBytes.size()));
    if (!stream.flush()) throw std::runtime_error("can't write " + path.string());
}

std::vector<std::vector<std::uint8_t>> DecodePlain(const std::filesystem::path& path, std::size_t uiWidth,
                                                   std::size_t uiHeight)
{
    const TempDir dir;
    RunFfmpeg("-ignore_editlist 1 -i " + Quoted(path) +
              " -map 0:v:0 -fps_mode passthrough -pix_fmt yuv420p -f rawvideo " + Quoted(dir / "plain.yuv"));
    const std::vector<std::uint8_t> vBytes = ReadBytes(dir / "plain.yuv");
    const std::size_t uiPicture = uiWidth * uiHeight * 3 / 2;
    std::vector<std::vector<std::uint8_t>> vPictures;
    for (std::size_t ui = 0; ui + uiPicture <= vBytes.size(); ui += uiPicture)
    {
        const auto it = vBytes.begin() + static_cast<std::ptrdiff_t>(ui);
        vPictures.emplace_back(it, it + static_cast<std::ptrdiff_t>(uiPicture));
    }
    return vPictures;
}

}  // namespace test_support
