#include "media_files.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace mftest
{
namespace
{

// Only MP4's reader knows the option.
std::string IgnoreEditList(const std::string& path)
{
    const std::string extension = std::filesystem::path(path).extension();
    return extension == ".mp4" || extension == ".mov" ? "-ignore_editlist 1 " : "";
}

}  // namespace

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "mediafoundation-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    m_path = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::string Run(const std::string& command)
{
    FILE* pPipe = popen(command.c_str(), "r");
    if (pPipe == nullptr) throw std::runtime_error("cannot run " + command);
    std::string output;
    std::array<char, 65536> aBuffer;
    for (std::size_t uiRead = 0; (uiRead = fread(aBuffer.data(), 1, aBuffer.size(), pPipe)) > 0;)
    {
        output.append(aBuffer.data(), uiRead);
    }
    if (pclose(pPipe) != 0) throw std::runtime_error("failed: " + command);
    return output;
}

void MakeVideo(const std::string& path, const Recipe& recipe)
{
    // The pictures have an end of their own: beside a second input ffmpeg doesn't stop at the wanted number alone.
    constexpr int LONG_ENOUGH = 10;  // pictures per second, or more
    std::ostringstream command;
    command << "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=s=" << recipe.m_nWidth << 'x' << recipe.m_nHeight
            << ":r=" << recipe.m_rate << ":d=" << recipe.m_nFrames / LONG_ENOUGH + 1 << ' ' << recipe.m_input
            << " -frames:v " << recipe.m_nFrames;
    if (!recipe.m_filter.empty()) command << " -vf \"" << recipe.m_filter << '"';
    command << " -pix_fmt yuv420p " << recipe.m_encoder << ' ' << recipe.m_output << " '" << path << '\'';
    Run(command.str());
}

std::vector<std::string> PlainDecode(const std::string& path, Size size)
{
    const std::string all = Run("ffmpeg -nostdin -v fatal " + IgnoreEditList(path) + "-i '" + path +
                                "' -map 0:v:0 -fps_mode passthrough -f rawvideo -pix_fmt yuv420p -");
    const auto uiLuma = static_cast<std::size_t>(size.m_nWidth) * size.m_nHeight;
    const auto uiChroma = static_cast<std::size_t>((size.m_nWidth + 1) / 2) * ((size.m_nHeight + 1) / 2);
    const std::size_t uiPicture = uiLuma + 2 * uiChroma;
    if (all.size() % uiPicture != 0) throw std::runtime_error("pictures of another size in " + path);
    std::vector<std::string> pictures;
    for (std::size_t i = 0; i < all.size(); i += uiPicture)
    {
        pictures.push_back(all.substr(i, uiPicture));
    }
    return pictures;
}

std::vector<std::int64_t> FrameTimes(const std::string& path)
{
    const std::string probe = "ffprobe -v error " + IgnoreEditList(path) + "-select_streams v:0 -of csv=p=0 ";
    std::istringstream base(Run(probe + "-show_entries stream=time_base '" + path + "'"));
    std::int64_t nNumerator = 0;
    std::int64_t nDenominator = 0;
    char cSlash = 0;
    base >> nNumerator >> cSlash >> nDenominator;

    std::istringstream packets(Run(probe + "-show_entries packet=dts '" + path + "'"));
    std::vector<std::int64_t> times;
    std::int64_t nFirst = 0;
    for (std::string line; std::getline(packets, line);)
    {
        if (line.empty()) continue;
        const std::int64_t nTicks = std::stoll(line);
        if (times.empty()) nFirst = nTicks;
        times.push_back((nTicks - nFirst) * nNumerator * 1000 / nDenominator);
    }
    return times;
}

std::string ToYuy2(const std::string& picture, Size size, bool bInterlaced)
{
    const int nChromaWidth = (size.m_nWidth + 1) / 2;
    const int nChromaHeight = (size.m_nHeight + 1) / 2;
    const std::size_t uiPitch = ((2 * static_cast<std::size_t>(size.m_nWidth) - 1) & ~std::size_t{31}) + 32;
    const char* pU = picture.data() + static_cast<std::size_t>(size.m_nWidth) * size.m_nHeight;
    const char* pV = pU + static_cast<std::size_t>(nChromaWidth) * nChromaHeight;
    std::string sample(uiPitch * size.m_nHeight, '\0');
    for (int y = 0; y < size.m_nHeight; ++y)
    {
        // In a picture of two fields, lines 0 and 2 share a line of chroma, 1 and 3, 4 and 6, and so on.
        const int nField = y % 2;
        const int nLineOfField = y / 2;
        const int nChroma = bInterlaced ? 2 * (nLineOfField / 2) + nField : y / 2;
        for (int x = 0; x < size.m_nWidth; x += 2)
        {
            const int nSecond = x + 1 < size.m_nWidth ? x + 1 : x;
            char* pPair = sample.data() + y * uiPitch + 2 * static_cast<std::size_t>(x);
            pPair[0] = picture[static_cast<std::size_t>(y) * size.m_nWidth + x];
            pPair[1] = pU[static_cast<std::size_t>(nChroma) * nChromaWidth + x / 2];
            pPair[2] = picture[static_cast<std::size_t>(y) * size.m_nWidth + nSecond];
            pPair[3] = pV[static_cast<std::size_t>(nChroma) * nChromaWidth + x / 2];
        }
    }
    return sample;
}

std::uint32_t WordAt(const std::string& file, std::size_t uiAt)
{
    std::uint32_t uiValue = 0;
    for (std::size_t i = 0; i < 4; ++i)
    {
        uiValue = uiValue * 256 + static_cast<unsigned char>(file.at(uiAt + i));
    }
    return uiValue;
}

void SetWordAt(std::string& file, std::size_t uiAt, std::uint32_t uiValue)
{
    for (std::size_t i = 0; i < 4; ++i)
    {
        file.at(uiAt + i) = static_cast<char>(uiValue >> (24 - 8 * i));
    }
}

void MultiplyTimescale(const std::string& path, std::uint32_t uiFactor)
{
    std::string file = ReadFile(path);
    const std::size_t uiBox = file.find("mdhd");
    if (uiBox == std::string::npos || file[uiBox + 4] != 0) throw std::runtime_error("no mdhd of version 0");
    const std::size_t uiAt = uiBox + 4 + 4 + 8;  // behind type, version and flags, and two times
    SetWordAt(file, uiAt, WordAt(file, uiAt) * uiFactor);
    WriteFile(path, file);
}

void ClearDurations(const std::string& path, std::size_t uiFirst, std::size_t uiCount)
{
    std::string file = ReadFile(path);
    const std::size_t uiEntries = file.find("stts") + 12;  // behind type, version and flags, and the count
    for (std::size_t i = uiFirst; i < uiFirst + uiCount; ++i)
    {
        if (WordAt(file, uiEntries + 8 * i) != 1) throw std::runtime_error("durations share an entry");
        SetWordAt(file, uiEntries + 8 * i + 4, 0);
    }
    WriteFile(path, file);
}

std::string ReadFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::string& contents)
{
    std::ofstream stream(path, std::ios::binary);
    stream.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!stream) throw std::runtime_error("cannot write " + path);
}

}  // namespace mftest
