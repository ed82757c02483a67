#include "parts/writtenfile.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <vector>

#include "parts/boxreader.h"

namespace qmhost
{
namespace
{

// In place of the size of `mdat`, in a file whose writer didn't get to the end.
constexpr std::uint64_t UNFINISHED = 0x1ABECEDA;

constexpr std::uint64_t SIZE_RANGE = std::uint64_t{1} << 32;  // of a size of 32 bits
constexpr std::uint64_t BOX_HEADER = 8;
constexpr std::uint64_t MEDIA_TYPE = 0x6D646174;  // "mdat"
constexpr std::uint64_t SIZES_FIELDS = 12;        // of `stsz`: version, flags, common size, count
constexpr std::uint64_t SIZES_AT_ONCE = 1024;

std::string Bytes(std::uint64_t uiCount)
{
    return std::to_string(uiCount) + " bytes";
}

Box WholeFile(const BoxReader& reader)
{
    return {"", 0, reader.FileSize()};
}

// Where the box of the media data begins, whatever size it states.
std::optional<std::uint64_t> FindMedia(BoxReader& reader)
{
    std::uint64_t uiPosition = 0;
    while (reader.ReadNumber(WholeFile(reader), uiPosition + 4, 4) != MEDIA_TYPE)
    {
        const auto box = reader.ReadBox(uiPosition, reader.FileSize());
        if (!box) return std::nullopt;
        uiPosition = box->m_uiEnd;
    }
    return uiPosition;
}

// The boxes of a file whose last one is the index, right after media data whose size is cut to 32 bits.
std::optional<WrittenBoxes> FindBoxesOfCutSize(BoxReader& reader)
{
    const auto media = FindMedia(reader);
    const auto low = media ? reader.ReadNumber(WholeFile(reader), *media, 4) : std::nullopt;
    if (!low) return std::nullopt;
    const std::uint64_t uiEnd = reader.FileSize();
    for (std::uint64_t uiIndex = *media + *low + SIZE_RANGE; uiIndex < uiEnd; uiIndex += SIZE_RANGE)
    {
        const auto box = reader.ReadBox(uiIndex, uiEnd);
        if (box && box->m_strType == "moov" && box->m_uiEnd == uiEnd)
            return WrittenBoxes{*box, uiIndex - *media - BOX_HEADER, true};
    }
    return std::nullopt;
}

// Why the boxes of the file don't lead to an index.
std::string MissingIndex(BoxReader& reader, ByteSource& source)
{
    const auto media = source.Size() >= SIZE_RANGE ? FindMedia(reader) : std::nullopt;
    if (media)
    {
        const bool bUnfinished = reader.ReadNumber(WholeFile(reader), *media, 4) == UNFINISHED;
        return bUnfinished ? "it was never finished and has no index" : "no index is found at its end";
    }
    std::uint64_t uiPosition = 0;
    while (const auto box = reader.ReadBox(uiPosition, source.Size()))
        uiPosition = box->m_uiEnd;

    std::array<unsigned char, 8> header{};
    if (!source.ReadAt(uiPosition, header.data(), header.size())) return "it has no index";
    const std::uint64_t uiSize = BigEndian(std::span(header).first(4));
    const std::string strType(header.begin() + 4, header.end());
    if (strType == "moov") return "its index is cut off";
    if (strType != "mdat") return "its boxes are broken at byte " + std::to_string(uiPosition);
    if (uiSize == UNFINISHED) return "it was never finished and has no index";
    return "its media data is cut off: " + Bytes(source.Size() - uiPosition) + " of " + std::to_string(uiSize);
}

// The sum of the sizes of all pictures; nothing when the table has fewer.
std::optional<std::uint64_t> PictureBytes(BoxReader& reader, const Box& sizes, std::uint32_t uiFrames)
{
    const auto common = reader.ReadNumber(sizes, 4, 4);
    if (!common) return std::nullopt;
    if (*common != 0) return *common * uiFrames;
    std::uint64_t uiSum = 0;
    std::vector<unsigned char> vBlock(4 * SIZES_AT_ONCE);
    for (std::uint64_t uiFrame = 0; uiFrame < uiFrames; uiFrame += SIZES_AT_ONCE)
    {
        const auto uiCount = static_cast<std::size_t>(std::min(uiFrames - uiFrame, SIZES_AT_ONCE));
        const auto block = std::span(vBlock).first(4 * uiCount);
        if (!reader.ReadInside(sizes, SIZES_FIELDS + 4 * uiFrame, block)) return std::nullopt;
        for (std::size_t i = 0; i < uiCount; ++i)
            uiSum += BigEndian(block.subspan(4 * i, 4));
    }
    return uiSum;
}

}  // namespace

std::optional<WrittenBoxes> FindWrittenBoxes(BoxReader& reader)
{
    const auto movie = reader.Find(0, reader.FileSize(), "moov");
    if (!movie) return FindBoxesOfCutSize(reader);
    const auto data = reader.Find(0, reader.FileSize(), "mdat");
    return WrittenBoxes{*movie, data ? data->Length() : 0, false};
}

std::string WrittenFileProblem(ByteSource& source, std::uint32_t uiFrames)
{
    if (source.Size() == 0) return "it is empty";
    BoxReader reader(source);
    const auto boxes = FindWrittenBoxes(reader);
    if (!boxes) return MissingIndex(reader, source);

    const auto sizes = reader.FindPath(FindVideoTrack(reader, boxes->m_movie), "mdia/minf/stbl/stsz");
    const auto count = sizes ? reader.ReadNumber(*sizes, 8, 4) : std::nullopt;
    if (!count) return "its index is broken";
    if (*count != uiFrames) return "its index has " + std::to_string(*count);
    const auto pictures = PictureBytes(reader, *sizes, uiFrames);
    if (!pictures) return "its index is broken";

    if (*pictures > boxes->m_uiMediaBytes)
        return "their " + Bytes(*pictures) + " aren't all there, only " + std::to_string(boxes->m_uiMediaBytes);
    return {};
}

}  // namespace qmhost
