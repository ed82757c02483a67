#include "parts/imagereader.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "parts/imagereader_kinds.h"
#include "parts/inputpath.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

using namespace std::string_view_literals;

std::optional<EImageFormat> KindOf(const std::filesystem::path& path)
{
    char acStart[8] = {};
    std::ifstream(path, std::ios::binary).read(acStart, sizeof acStart);
    const std::string_view start(acStart, sizeof acStart);
    if (start == "\x89PNG\r\n\x1A\n"sv) return EImageFormat::Png;
    for (const std::string_view magic : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv})  // the last two: 64-bit offsets
        if (start.starts_with(magic)) return EImageFormat::Tiff;
    return std::nullopt;
}

// The nearest of 8 bits: 65535 / 257 is 255.
unsigned char ToEightBits(std::uint16_t uiSample)
{
    return static_cast<unsigned char>((uiSample + 128u) / 257u);
}

}  // namespace

std::string ConversionText(unsigned uiConversions)
{
    constexpr std::pair<EConversion, const char*> TEXTS[] = {
        {CONVERT_DEPTH, "16-bit reduced to 8-bit"},
        {CONVERT_GREY, "grey widened to colour"},
        {CONVERT_ALPHA, "alpha dropped"},
        {CONVERT_PALETTE, "palette expanded"},
        {CONVERT_COLOURS, "other colours made red, green and blue"},
    };
    std::string text;
    for (const auto& [eConversion, pszText] : TEXTS)
        if (uiConversions & eConversion) text += (text.empty() ? "" : ", ") + std::string(pszText);
    return text;
}

std::unique_ptr<ImageReader> OpenImage(const std::filesystem::path& path)
{
    RequireReadableFile(path);
    const auto eKind = KindOf(path);
    if (!eKind) throw std::runtime_error(Quoted(Utf8FromPath(path)) + " is neither PNG nor TIFF");
    return OpenImageOfKind(path, *eKind);
}

void RefuseImage(const std::filesystem::path& path, std::uint32_t uiPage, const std::string& strReason)
{
    std::string text = Quoted(Utf8FromPath(path));
    if (uiPage > 0) text += ", page " + std::to_string(uiPage + 1) + ",";
    throw std::runtime_error(text + " can't be read: " + strReason);
}

PictureSize CheckedSize(const std::filesystem::path& path, std::uint32_t uiPage, std::uint32_t uiWidth,
                        std::uint32_t uiHeight)
{
    if (uiWidth == 0 || uiHeight == 0 || uiWidth > LARGEST_SIDE || uiHeight > LARGEST_SIDE)
    {
        RefuseImage(path, uiPage,
                    std::to_string(uiWidth) + " x " + std::to_string(uiHeight) + " pixels, where sides of 1 to " +
                        std::to_string(LARGEST_SIDE) + " are taken");
    }
    return {uiWidth, uiHeight};
}

void RowToBgr(const SampleLayout& layout, const unsigned char* pRow, std::uint32_t uiWidth, unsigned char* pBgr)
{
    const unsigned uiBytes = layout.m_uiBits / 8;
    const auto sampleAt = [&](std::size_t uiIndex) {
        if (uiBytes == 1) return pRow[uiIndex];
        std::uint16_t uiSample;
        std::memcpy(&uiSample, pRow + 2 * uiIndex, sizeof uiSample);
        return ToEightBits(uiSample);
    };
    const unsigned uiGreen = layout.m_uiSamples >= 3 ? 1 : 0;
    for (std::size_t i = 0, uiFirst = 0; i < uiWidth; ++i, uiFirst += layout.m_uiSamples, pBgr += 3)
    {
        pBgr[0] = sampleAt(uiFirst + 2 * uiGreen);
        pBgr[1] = sampleAt(uiFirst + uiGreen);
        pBgr[2] = sampleAt(uiFirst);
    }
}

}  // namespace qmhost
