#include "parts/picturesize.h"

#include "parts/text.h"

namespace qmhost
{
namespace
{

std::optional<std::uint32_t> ParseSide(std::string_view text)
{
    const auto uiSide = NumberFromText<std::uint32_t>(text);
    if (!uiSide || *uiSide == 0 || *uiSide > LARGEST_SIDE) return std::nullopt;
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

std::string PictureSizeProblem(const std::string& text)
{
    if (ParsePictureSize(text)) return {};
    return Quoted(text) + " is no size such as 320x180, with sides of 1 to " + std::to_string(LARGEST_SIDE);
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
