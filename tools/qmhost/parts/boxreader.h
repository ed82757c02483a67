// Boxes of an MP4 file that may hold anything.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "parts/bytesource.h"

namespace qmhost
{

// The contents of a box, as positions in the file.
struct Box
{
    std::string m_strType;
    std::uint64_t m_uiBegin;
    std::uint64_t m_uiEnd;

    std::uint64_t Length() const { return m_uiEnd - m_uiBegin; }
};

// An unsigned number, most significant byte first. At most 8 bytes.
std::uint64_t BigEndian(std::span<const unsigned char> bytes);

// Reads boxes inside boxes. Positions never leave the enclosing box, each step moves on, and the number of headers is
// limited, so every walk ends.
class BoxReader
{
public:
    // Enough for any real index, few enough to be read in an instant.
    static constexpr std::uint64_t MOST_HEADERS = 100'000;

    explicit BoxReader(ByteSource& source, std::uint64_t uiMostHeaders = MOST_HEADERS)
        : m_source(source), m_uiHeadersLeft(uiMostHeaders)
    {}

    std::uint64_t FileSize() const { return m_source.Size(); }
    // Whether the limit ended a walk. What wasn't found may be there then.
    bool IsExhausted() const { return m_uiHeadersLeft == 0; }

    // The box that starts at uiPosition inside an enclosing range that ends at uiEnd; nothing when there is none or
    // its size is wrong.
    std::optional<Box> ReadBox(std::uint64_t uiPosition, std::uint64_t uiEnd);

    // The first box of a type among those from uiBegin to uiEnd for which accept(box) holds.
    template <class TAccept>
    std::optional<Box> Find(std::uint64_t uiBegin, std::uint64_t uiEnd, std::string_view type, TAccept accept)
    {
        while (auto box = ReadBox(uiBegin, uiEnd))
        {
            if (box->m_strType == type && accept(*box)) return box;
            uiBegin = box->m_uiEnd;
        }
        return std::nullopt;
    }

    std::optional<Box> Find(std::uint64_t uiBegin, std::uint64_t uiEnd, std::string_view type);
    // The first child of that type; nothing without a parent.
    std::optional<Box> Find(const std::optional<Box>& parent, std::string_view type);
    // The box at the end of a path of children, such as "mdia/minf/stbl".
    std::optional<Box> FindPath(std::optional<Box> parent, std::string_view path);

    // Bytes of a box, from an offset into its contents; false when it hasn't that many.
    bool ReadInside(const Box& box, std::uint64_t uiOffset, std::span<unsigned char> bytes);
    // A number of uiBytes bytes; nothing when the box hasn't that many.
    std::optional<std::uint64_t> ReadNumber(const Box& box, std::uint64_t uiOffset, std::size_t uiBytes);

private:
    ByteSource& m_source;
    std::uint64_t m_uiHeadersLeft;
};

// The handler type of a track, such as "vide" or "soun"; "" when it has none.
std::string TrackHandler(BoxReader& reader, const Box& track);

// The first track with pictures. This is the one that the module shows.
std::optional<Box> FindVideoTrack(BoxReader& reader, const Box& movie);

// Bytes that aren't printable ASCII as '?'.
std::string Printable(std::string text);

}  // namespace qmhost
