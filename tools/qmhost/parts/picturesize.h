// A picture size as a user writes it, and the rows of 24-bit pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmhost
{

struct PictureSize
{
    std::uint32_t m_uiWidth;   // pixels, above 0
    std::uint32_t m_uiHeight;  // pixels, above 0
};

// The largest side that ParsePictureSize lets through: 24-bit pictures up to here stay below 1 GiB.
inline constexpr std::uint32_t LARGEST_SIDE = 16384;

// "640x360" (also with a capital X). Nothing for anything else and for sides out of 1 to LARGEST_SIDE.
std::optional<PictureSize> ParsePictureSize(std::string_view text);

// Why the text is no such size, for a message; "" when it is one.
std::string PictureSizeProblem(const std::string& text);

// Bytes from row to row of the 24-bit pictures that the host's interfaces hand out: whole groups of 4 bytes.
constexpr std::uint32_t RowPitch(std::uint32_t uiWidth)
{
    return (3 * (uiWidth + 1)) & ~std::uint32_t{3};
}

// A 24-bit picture somewhere in memory: rows from the top, pixels as B, G, R. A view, which owns nothing.
struct PictureView
{
    const unsigned char* m_pPixels;
    std::uint32_t m_uiWidth;       // pixels
    std::uint32_t m_uiHeight;      // pixels
    std::uint32_t m_uiWidthBytes;  // bytes from row to row, at least 3 x m_uiWidth

    const unsigned char* Row(std::uint32_t uiRow) const
    {
        return m_pPixels + static_cast<std::size_t>(uiRow) * m_uiWidthBytes;
    }
};

// The picture's bytes without padding: height x 3 x width.
std::vector<unsigned char> TightRows(const PictureView& picture);

}  // namespace qmhost
