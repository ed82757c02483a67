#include "parts/picturesize.h"

#include <charconv>

namespace qmhost
{
namespace
{

std::optional<std::uint32_t> ParseSide(std::string_view text)
{
    std::uint32_t uiSide = 0;
    const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), uiSide);
    if (error != std::errc() || pEnd != text.data() + text.size()) return std::nullopt;
    if (uiSide == 0 || uiSide > LARGEST_SIDE) return std::nullopt;
    return uiSide;
}

}  // namespace

std::optional<PictureSize> ParsePictureSize(std::string_view text)
{
    const std::size_t uiCross = text.find_first_of("xX");
    if (uiCross == std::string_view::npos) return std::nullopt;
    const auto width = ParseSide(text.substr(0, uiCross));
    const auto height = ParseSide(text.substr(uiCross + 1));
    if (!width || !height) return std::nullopt;
    return PictureSize{*width, *height};
}

std::vector<unsigned char> TightRows(const PictureView& picture)
{
    const std::size_t uiRowBytes = std::size_t{3} * picture.m_uiWidth;
    std::vector<unsigned char> bytes;
    bytes.reserve(uiRowBytes * picture.m_uiHeight);
    for (std::uint32_t uiRow = 0; uiRow < picture.m_uiHeight; ++uiRow)
        bytes.insert(bytes.end(), picture.Row(uiRow), picture.Row(uiRow) + uiRowBytes);
    return bytes;
}

}  // namespace qmhost
