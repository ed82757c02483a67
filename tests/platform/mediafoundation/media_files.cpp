#include "media_files.h"

#include <sstream>
#include <stdexcept>

namespace mftest
{

void MakeVideo(const std::string& path, const Recipe& recipe)
{
    // The pictures have an end of their own: beside a second input ffmpeg doesn't stop at the wanted number alone.
    constexpr int LONG_ENOUGH = 10;  // pictures per second, or more
    std::ostringstream command;
    command << "-f lavfi -i testsrc2=s=" << recipe.m_nWidth << 'x' << recipe.m_nHeight << ":r=" << recipe.m_rate
            << ":d=" << recipe.m_nFrames / LONG_ENOUGH + 1 << ' ' << recipe.m_input << " -frames:v "
            << recipe.m_nFrames;
    if (!recipe.m_filter.empty()) command << " -vf \"" << recipe.m_filter << '"';
    command << " -pix_fmt yuv420p " << recipe.m_encoder << ' ' << recipe.m_output;
    MakeWithFfmpeg(command.str(), path);
}

std::vector<std::string> PlainDecode(const std::string& path, Size size)
{
    std::vector<std::string> pictures;
    for (const Bytes& picture : DecodePlain(path, size.m_nWidth, size.m_nHeight))
    {
        pictures.emplace_back(picture.begin(), picture.end());
    }
    return pictures;
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

void MultiplyTimescale(const std::string& path, std::uint32_t uiFactor)
{
    std::string file = ReadText(path);
    const std::size_t uiBox = file.find("mdhd");
    if (uiBox == std::string::npos || file[uiBox + 4] != 0) throw std::runtime_error("no mdhd of version 0");
    const std::size_t uiAt = uiBox + 4 + 4 + 8;  // after type, version and flags, and two times
    SetWordAt(file, uiAt, WordAt(file, uiAt) * uiFactor);
    WriteText(path, file);
}

void ClearDurations(const std::string& path, std::size_t uiFirst, std::size_t uiCount)
{
    std::string file = ReadText(path);
    const std::size_t uiEntries = file.find("stts") + 12;  // after type, version and flags, and the count
    for (std::size_t i = uiFirst; i < uiFirst + uiCount; ++i)
    {
        if (WordAt(file, uiEntries + 8 * i) != 1) throw std::runtime_error("durations share an entry");
        SetWordAt(file, uiEntries + 8 * i + 4, 0);
    }
    WriteText(path, file);
}

}  // namespace mftest
