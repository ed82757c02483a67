#include "ffmpeg_tool.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

namespace
{

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "nvenc-runtime-XXXXXX").string();
        m_path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string File(const char* pszName) const { return (m_path / pszName).string(); }

private:
    std::filesystem::path m_path;
};

void WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::uint8_t> ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void RunFfmpeg(const TemporaryFolder& folder, const std::string& arguments)
{
    const std::string complaints = folder.File("complaints.txt");
    const std::string command = "ffmpeg -nostdin -v error -y " + arguments + " 2> " + complaints;
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    const std::vector<std::uint8_t> text = ReadFile(complaints);
    EXPECT_EQ(std::string(text.begin(), text.end()), "") << command;
}

std::string Size(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    return std::to_string(uiWidth) + "x" + std::to_string(uiHeight);
}

}  // namespace

std::vector<BgrPicture> DecodeWithFfmpeg(const std::vector<std::uint8_t>& stream, std::uint32_t uiWidth,
                                         std::uint32_t uiHeight)
{
    const TemporaryFolder folder;
    WriteFile(folder.File("in.h264"), stream);
    RunFfmpeg(folder, "-f h264 -i " + folder.File("in.h264") +
                          " -fps_mode passthrough -sws_flags accurate_rnd+full_chroma_int+full_chroma_inp+bicubic"
                          " -pix_fmt bgr24 -f rawvideo " +
                          folder.File("out.bgr"));
    const std::vector<std::uint8_t> raw = ReadFile(folder.File("out.bgr"));
    const std::size_t uiBytes = std::size_t{uiWidth} * uiHeight * 3;
    EXPECT_EQ(raw.size() % uiBytes, 0u);
    std::vector<BgrPicture> pictures;
    for (std::size_t i = 0; i + uiBytes <= raw.size(); i += uiBytes)
    {
        const auto begin = raw.begin() + static_cast<std::ptrdiff_t>(i);
        pictures.push_back({uiWidth, uiHeight, {begin, begin + static_cast<std::ptrdiff_t>(uiBytes)}});
    }
    return pictures;
}

std::vector<std::uint8_t> EncodeWithFfmpeg(const std::vector<std::uint8_t>& pictures, std::uint32_t uiWidth,
                                           std::uint32_t uiHeight, const std::string& arguments)
{
    const TemporaryFolder folder;
    WriteFile(folder.File("in.nv12"), pictures);
    RunFfmpeg(folder, "-f rawvideo -pix_fmt nv12 -s " + Size(uiWidth, uiHeight) + " -r 30 -i " +
                          folder.File("in.nv12") + " -c:v libx264 " + arguments + " -f h264 " +
                          folder.File("out.h264"));
    return ReadFile(folder.File("out.h264"));
}
