#include "parts/boxreader.h"

#include <array>

namespace qmhost
{
namespace
{

constexpr std::uint64_t HANDLER_TYPE_OFFSET = 8;  // of the handler type in `hdlr`

}  // namespace

std::uint64_t BigEndian(std::span<const unsigned char> bytes)
{
    std::uint64_t uiValue = 0;
    for (const unsigned char uiByte : bytes)
        uiValue = (uiValue << 8) | uiByte;
    return uiValue;
}

std::optional<Box> BoxReader::ReadBox(std::uint64_t uiPosition, std::uint64_t uiEnd)
{
    std::array<unsigned char, 16> header{};
    if (m_uiHeadersLeft == 0 || uiEnd < uiPosition || uiEnd - uiPosition < 8) return std::nullopt;
    --m_uiHeadersLeft;
    if (!m_source.ReadAt(uiPosition, header.data(), 8)) return std::nullopt;

    std::uint64_t uiHeader = 8;
    std::uint64_t uiSize = BigEndian(std::span(header).first(4));
    if (uiSize == 0)  // up to the end of what encloses it
    {
        uiSize = uiEnd - uiPosition;
    }
    else if (uiSize == 1)  // the size follows in 64 bits
    {
        uiHeader = 16;
        if (!m_source.ReadAt(uiPosition + 8, header.data() + 8, 8)) return std::nullopt;
        uiSize = BigEndian(std::span(header).subspan(8));
    }
    if (uiSize < uiHeader || uiSize > uiEnd - uiPosition) return std::nullopt;
    return Box{std::string(header.begin() + 4, header.begin() + 8), uiPosition + uiHeader, uiPosition + uiSize};
}

std::optional<Box> BoxReader::Find(std::uint64_t uiBegin, std::uint64_t uiEnd, std::string_view type)
{
    return Find(uiBegin, uiEnd, type, [](const Box&) { return true; });
}

std::optional<Box> BoxReader::Find(const std::optional<Box>& parent, std::string_view type)
{
    return parent ? Find(parent->m_uiBegin, parent->m_uiEnd, type) : std::nullopt;
}

std::optional<Box> BoxReader::FindPath(std::optional<Box> parent, std::string_view path)
{
    while (parent && !path.empty())
    {
        parent = Find(parent, path.substr(0, 4));
        path.remove_prefix(path.size() > 4 ? 5 : path.size());
    }
    return parent;
}

bool BoxReader::ReadInside(const Box& box, std::uint64_t uiOffset, std::span<unsigned char> bytes)
{
    if (uiOffset > box.Length() || bytes.size() > box.Length() - uiOffset) return false;
    return m_source.ReadAt(box.m_uiBegin + uiOffset, bytes.data(), bytes.size());
}

std::optional<std::uint64_t> BoxReader::ReadNumber(const Box& box, std::uint64_t uiOffset, std::size_t uiBytes)
{
    std::array<unsigned char, 8> bytes{};
    const auto number = std::span(bytes).first(uiBytes);
    if (!ReadInside(box, uiOffset, number)) return std::nullopt;
    return BigEndian(number);
}

std::string TrackHandler(BoxReader& reader, const Box& track)
{
    const auto handler = reader.FindPath(track, "mdia/hdlr");
    std::array<unsigned char, 4> type{};
    if (!handler || !reader.ReadInside(*handler, HANDLER_TYPE_OFFSET, type)) return {};
    return {type.begin(), type.end()};
}

std::optional<Box> FindVideoTrack(BoxReader& reader, const Box& movie)
{
    return reader.Find(movie.m_uiBegin, movie.m_uiEnd, "trak",
                       [&](const Box& track) { return TrackHandler(reader, track) == "vide"; });
}

std::string Printable(std::string text)
{
    for (char& c : text)
        if (c < 0x20 || c > 0x7E) c = '?';
    return text;
}

}  // namespace qmhost
