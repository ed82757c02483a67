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

constexpr std::uint64_t LARGEST_BOX = 0xFFFFFFFF;  // with a size of 32 bits
constexpr std::uint64_t SIZES_FIELDS = 12;         // of `stsz`: version, flags, common size, count
constexpr std::uint64_t SIZES_AT_ONCE = 1024;

std::string Bytes(std::uint64_t uiCount)
{
    return std::to_string(uiCount) + " bytes";
}

// Why the boxes of the file don't lead to an index.
std::string MissingIndex(BoxReader& reader, ByteSource& source)
{
    if (source.Size() > LARGEST_BOX)
        return "no index is found from its first box on, as in every file of NVENC1 and AMF1 above 4 GiB that qmhost "
               "repair hasn't put right";
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

std::string WrittenFileProblem(ByteSource& source, std::uint32_t uiFrames)
{
    if (source.Size() == 0) return "it is empty";
    BoxReader reader(source);
    const auto movie = reader.Find(0, source.Size(), "moov");
    if (!movie) return MissingIndex(reader, source);

    const auto sizes = reader.FindPath(FindVideoTrack(reader, *movie), "mdia/minf/stbl/stsz");
    const auto count = sizes ? reader.ReadNumber(*sizes, 8, 4) : std::nullopt;
    if (!count) return "its index is broken";
    if (*count != uiFrames) return "its index has " + std::to_string(*count);
    const auto pictures = PictureBytes(reader, *sizes, uiFrames);
    if (!pictures) return "its index is broken";

    const auto data = reader.Find(0, source.Size(), "mdat");
    const std::uint64_t uiData = data ? data->Length() : 0;
    if (*pictures > uiData) return "their " + Bytes(*pictures) + " aren't all there, only " + std::to_string(uiData);
    return {};
}

}  // namespace qmhost
