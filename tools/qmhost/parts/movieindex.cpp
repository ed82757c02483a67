#include "parts/movieindex.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <stdexcept>

#include "parts/boxwriter.h"
#include "parts/nalwalk.h"
#include "parts/picturesplit.h"
#include "parts/sampletables.h"

namespace qmhost
{
namespace
{

constexpr std::uint64_t CHUNK_PICTURES = 12;  // offset in `stsc` of how many pictures the first chunk has

// Bytes that the index for so many pictures may have. NVENC1 and AMF1 need 16 for each, and 4 more for each slice of
// one that decoding can start at.
std::uint64_t LargestIndex(std::uint64_t uiPictures)
{
    return (1 << 20) + 64 * uiPictures;
}

// A source in which the index at a position has the size that it states, with zeros for what isn't there.
class PaddedBytes : public ByteSource
{
public:
    PaddedBytes(ByteSource& source, std::uint64_t uiPosition) : m_source(source), m_uiSize(source.Size())
    {
        std::array<unsigned char, 4> size{};
        if (source.ReadAt(uiPosition, size.data(), size.size()))
            m_uiSize = std::max(m_uiSize, uiPosition + BigEndian(size));
    }
    std::uint64_t Size() const override { return m_uiSize; }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override
    {
        if (uiPosition > m_uiSize || uiBytes > m_uiSize - uiPosition) return false;
        const std::uint64_t uiReal = m_source.Size() - std::min(uiPosition, m_source.Size());
        const auto uiThere = static_cast<std::size_t>(std::min<std::uint64_t>(uiReal, uiBytes));
        std::memset(static_cast<unsigned char*>(pBuffer) + uiThere, 0, uiBytes - uiThere);
        return uiThere == 0 || m_source.ReadAt(uiPosition, pBuffer, uiThere);
    }

private:
    ByteSource& m_source;
    std::uint64_t m_uiSize;
};

constexpr std::size_t ENTRIES_AT_ONCE = 4096;

// Entries of a table: version and flags, the count, then the entries.
struct Table
{
    Box m_box;
    std::uint64_t m_uiFirst;  // offset of the first entry in the box
    std::uint64_t m_uiEntries;
    std::uint64_t m_uiEntryBytes;
};

// Nothing when the box is missing or too small for its count.
std::optional<Table> FindTable(BoxReader& reader, const std::optional<Box>& box, std::uint64_t uiFirst,
                               std::uint64_t uiEntryBytes)
{
    const auto count = box ? reader.ReadNumber(*box, uiFirst - 4, 4) : std::nullopt;
    if (!count || *count > (box->Length() - uiFirst) / uiEntryBytes) return std::nullopt;
    return Table{*box, uiFirst, *count, uiEntryBytes};
}

// Calls use(entry) with the bytes of each entry.
template <class TUse>
void ForEachEntry(BoxReader& reader, const Table& table, TUse use)
{
    std::vector<unsigned char> vBlock(ENTRIES_AT_ONCE * static_cast<std::size_t>(table.m_uiEntryBytes));
    const auto uiBytes = static_cast<std::size_t>(table.m_uiEntryBytes);
    for (std::uint64_t uiEntry = 0; uiEntry < table.m_uiEntries; uiEntry += ENTRIES_AT_ONCE)
    {
        const auto uiCount =
            static_cast<std::size_t>(std::min<std::uint64_t>(table.m_uiEntries - uiEntry, ENTRIES_AT_ONCE));
        const auto block = std::span(vBlock).first(uiCount * uiBytes);
        if (!reader.ReadInside(table.m_box, table.m_uiFirst + uiEntry * table.m_uiEntryBytes, block))
            throw std::runtime_error("the index can't be read");
        for (std::size_t i = 0; i < uiCount; ++i)
            use(std::span<const unsigned char>(block.subspan(i * uiBytes, uiBytes)));
    }
}

// The distances of the table of times, as many as there are pictures. When there are fewer, the last one is repeated.
std::vector<std::uint32_t> ReadDeltas(BoxReader& reader, const Table& times, std::uint64_t uiPictures)
{
    std::vector<std::uint32_t> vDeltas;
    ForEachEntry(reader, times, [&](auto entry) {
        const std::uint64_t uiCount = std::min(BigEndian(entry.first(4)), uiPictures - vDeltas.size());
        vDeltas.resize(vDeltas.size() + static_cast<std::size_t>(uiCount),
                       static_cast<std::uint32_t>(BigEndian(entry.subspan(4))));
    });
    vDeltas.resize(static_cast<std::size_t>(uiPictures), vDeltas.empty() ? 0 : vDeltas.back());
    return vDeltas;
}

// A box with a duration, in either version.
struct TimedBox
{
    std::uint64_t m_uiLongs;     // how many numbers up to the duration have 64 bits in version 1
    std::uint64_t m_uiDuration;  // offset of the duration in version 0
    std::uint64_t m_uiLength;    // of the contents in version 0
};

// The fields before the duration: those of 64 bits in version 1, the dates, stand first.
constexpr TimedBox MOVIE_HEADER{2, 16, 100};
constexpr TimedBox MEDIA_HEADER{2, 16, 24};
constexpr TimedBox TRACK_HEADER{2, 20, 84};
constexpr TimedBox EDIT_LIST{0, 8, 20};  // one entry: duration, media time, rate

std::optional<TimedBox> FormOf(std::string_view type)
{
    if (type == "mvhd") return MOVIE_HEADER;
    if (type == "mdhd") return MEDIA_HEADER;
    if (type == "tkhd") return TRACK_HEADER;
    if (type == "elst") return EDIT_LIST;
    return std::nullopt;
}

// Whether the box has the size of its version.
std::optional<bool> IsLongVersion(BoxReader& reader, const Box& box, const TimedBox& form)
{
    const auto version = reader.ReadNumber(box, 0, 1);
    const std::uint64_t uiMore = 4 * (form.m_uiLongs == 0 ? 2 : form.m_uiLongs + 1);
    if (version == 0U && box.Length() == form.m_uiLength) return false;
    if (version == 1U && box.Length() == form.m_uiLength + uiMore) return true;
    return std::nullopt;
}

std::optional<std::uint64_t> DurationIn(BoxReader& reader, const std::optional<Box>& box)
{
    if (!box) return std::nullopt;
    const auto form = FormOf(box->m_strType);
    const auto bLong = IsLongVersion(reader, *box, *form);
    if (!bLong) return std::nullopt;
    return *bLong ? reader.ReadNumber(*box, form->m_uiDuration + 4 * form->m_uiLongs, 8)
                  : reader.ReadNumber(*box, form->m_uiDuration, 4);
}

// The ticks in a second of a header's clock.
std::optional<std::uint64_t> ClockIn(BoxReader& reader, const std::optional<Box>& header)
{
    const auto bLong = header ? IsLongVersion(reader, *header, *FormOf(header->m_strType)) : std::nullopt;
    return bLong ? reader.ReadNumber(*header, *bLong ? 20 : 12, 4) : std::nullopt;
}

// Whether the pictures begin with the one NAL that only AMF1 writes.
bool IsOfAmf(ByteSource& source)
{
    unsigned char uiFirst = 0;
    return source.ReadAt(MEDIA_BEGIN + NAL_HEAD, &uiFirst, 1) && (uiFirst & 0x1FU) == NAL_DELIMITER;
}

class IndexCopy
{
public:
    IndexCopy(ByteSource& source, const IndexFacts& facts) : m_source(source), m_reader(source), m_facts(facts) {}

    std::vector<unsigned char> Run(const Box& movie)
    {
        CopyBox(movie, 0);
        return m_out.Take();
    }

private:
    static bool HasBoxes(std::string_view type)
    {
        constexpr std::string_view TYPES[] = {"moov", "trak", "edts", "mdia", "minf", "stbl"};
        return std::find(std::begin(TYPES), std::end(TYPES), type) != std::end(TYPES);
    }

    void CopyBox(const Box& box, unsigned uiDepth)
    {
        constexpr unsigned DEEPEST = 8;
        m_out.Begin(box.m_strType);
        if (HasBoxes(box.m_strType) && uiDepth < DEEPEST)
        {
            std::uint64_t uiPosition = box.m_uiBegin;
            while (const auto child = m_reader.ReadBox(uiPosition, box.m_uiEnd))
            {
                CopyBox(*child, uiDepth + 1);
                uiPosition = child->m_uiEnd;
            }
            CopyBytes(uiPosition, box.m_uiEnd);
        }
        else if (const auto form = FormOf(box.m_strType))
        {
            CopyTimed(box, *form);
        }
        else if (box.m_strType == "stss" && !m_facts.m_bKeysRight)
        {
            CopyKeys(box);
        }
        else if (box.m_strType == "stts" && !m_facts.m_bCountsRight)
        {
            CopyTimes(box);
        }
        else if (box.m_strType == "stsc" && !m_facts.m_bCountsRight)
        {
            CopyBytes(box.m_uiBegin, box.m_uiBegin + CHUNK_PICTURES);
            m_out.Word(static_cast<std::uint32_t>(m_facts.m_uiPictures));
            CopyBytes(box.m_uiBegin + CHUNK_PICTURES + 4, box.m_uiEnd);
        }
        else
        {
            CopyBytes(box.m_uiBegin, box.m_uiEnd);
        }
        m_out.End();
    }

    void CopyTimed(const Box& box, const TimedBox& form)
    {
        const auto bWasLong = IsLongVersion(m_reader, box, form);
        if (!bWasLong) return CopyBytes(box.m_uiBegin, box.m_uiEnd);
        const bool bLong = *bWasLong || m_facts.m_uiTicks >> 32 != 0;
        const std::uint64_t uiWidth = *bWasLong ? 8 : 4;
        std::uint64_t uiOffset = 4;
        m_out.Byte(bLong ? 1 : 0);
        CopyBytes(box.m_uiBegin + 1, box.m_uiBegin + uiOffset);  // flags
        for (std::uint64_t i = 0; i < form.m_uiLongs; ++i, uiOffset += uiWidth)
            m_out.Duration(m_reader.ReadNumber(box, uiOffset, uiWidth).value_or(0), bLong);
        const std::uint64_t uiDuration = form.m_uiDuration + (*bWasLong ? 4 * form.m_uiLongs : 0);
        CopyBytes(box.m_uiBegin + uiOffset, box.m_uiBegin + uiDuration);
        m_out.Duration(m_facts.m_uiTicks, bLong);
        uiOffset = uiDuration + uiWidth;
        if (form.m_uiLongs == 0)  // the time in the media, which is as wide
        {
            m_out.Duration(m_reader.ReadNumber(box, uiOffset, uiWidth).value_or(0), bLong);
            uiOffset += uiWidth;
        }
        CopyBytes(box.m_uiBegin + uiOffset, box.m_uiEnd);
    }

    void CopyTimes(const Box& box)
    {
        const auto table = FindTable(m_reader, box, 8, 8);
        if (!table) return CopyBytes(box.m_uiBegin, box.m_uiEnd);
        WriteTimes(m_out, ReadDeltas(m_reader, *table, m_facts.m_uiPictures));
    }

    void CopyKeys(const Box& box)
    {
        const auto table = FindTable(m_reader, box, 8, 4);
        if (!table) return CopyBytes(box.m_uiBegin, box.m_uiEnd);
        std::vector<std::uint32_t> vKeys;
        ForEachEntry(m_reader, *table, [&](auto entry) {
            const std::uint64_t uiKey = BigEndian(entry) + (m_facts.m_bKeysFromZero ? 1 : 0);
            if (uiKey > 0 && uiKey <= m_facts.m_uiPictures) vKeys.push_back(static_cast<std::uint32_t>(uiKey));
        });
        std::sort(vKeys.begin(), vKeys.end());
        vKeys.erase(std::unique(vKeys.begin(), vKeys.end()), vKeys.end());
        CopyBytes(box.m_uiBegin, box.m_uiBegin + 4);
        WriteNumbers(m_out, vKeys);
    }

    void CopyBytes(std::uint64_t uiBegin, std::uint64_t uiEnd)
    {
        std::array<unsigned char, 1 << 16> block;
        while (uiBegin < uiEnd)
        {
            const auto bytes = std::span(block).first(
                static_cast<std::size_t>(std::min<std::uint64_t>(uiEnd - uiBegin, block.size())));
            if (!m_source.ReadAt(uiBegin, bytes.data(), bytes.size()))
                throw std::runtime_error("the index can't be read");
            m_out.Bytes(bytes);
            uiBegin += bytes.size();
        }
    }

    ByteSource& m_source;
    BoxReader m_reader;
    const IndexFacts& m_facts;
    BoxWriter m_out;
};

}  // namespace

bool IsIndexOfOthers(ByteSource& source, const Box& movie)
{
    BoxReader reader(source);
    std::size_t uiTracks = 0;
    reader.Find(movie.m_uiBegin, movie.m_uiEnd, "trak", [&](const Box&) { return ++uiTracks > 1; });
    const auto track = FindVideoTrack(reader, movie);
    const std::uint64_t uiClock = ClockIn(reader, reader.FindPath(track, "mdia/mdhd")).value_or(0);
    return uiTracks > 1 || (uiClock != 0 && uiClock != TICKS_PER_SECOND) ||
           reader.FindPath(track, "mdia/minf/stbl/ctts");
}

std::optional<IndexFacts> ReadIndexFacts(ByteSource& source, const Box& movie)
{
    if (IsIndexOfOthers(source, movie)) return std::nullopt;
    BoxReader reader(source);
    const auto track = FindVideoTrack(reader, movie);
    const auto tables = reader.FindPath(track, "mdia/minf/stbl");
    const auto times = FindTable(reader, reader.Find(tables, "stts"), 8, 8);
    const auto sizes = FindTable(reader, reader.Find(tables, "stsz"), 12, 4);
    const auto keys = FindTable(reader, reader.Find(tables, "stss"), 8, 4);
    const auto chunks = FindTable(reader, reader.Find(tables, "stco"), 8, 4);
    const auto runs = FindTable(reader, reader.Find(tables, "stsc"), 8, 12);
    const auto header = reader.Find(movie.m_uiBegin, movie.m_uiEnd, "mvhd");
    const auto media = reader.FindPath(track, "mdia/mdhd");
    if (!times || !sizes || !keys || !chunks || !runs) return std::nullopt;
    if (sizes->m_uiEntries > MOST_PICTURES || movie.Length() > LargestIndex(sizes->m_uiEntries)) return std::nullopt;
    if (chunks->m_uiEntries != 1 || reader.ReadNumber(chunks->m_box, 8, 4) != MEDIA_BEGIN) return std::nullopt;
    if (runs->m_uiEntries != 1 || reader.ReadNumber(runs->m_box, 8, 4) != 1U) return std::nullopt;
    if (reader.ReadNumber(sizes->m_box, 4, 4) != 0U) return std::nullopt;
    if (ClockIn(reader, header) != TICKS_PER_SECOND || ClockIn(reader, media) != TICKS_PER_SECOND) return std::nullopt;

    IndexFacts facts;
    facts.m_uiPictures = sizes->m_uiEntries;
    ForEachEntry(reader, *sizes, [&](auto entry) { facts.m_uiMediaBytes += BigEndian(entry); });
    // Distances have a sign: a time that falls takes from the sum what it fell by.
    std::int64_t nTicks = 0;
    std::int64_t nLast = 0;
    std::uint64_t uiLeft = facts.m_uiPictures;
    ForEachEntry(reader, *times, [&](auto entry) {
        const std::uint64_t uiCount = BigEndian(entry.first(4));
        nLast = static_cast<std::int32_t>(BigEndian(entry.subspan(4)));
        facts.m_uiTimes += uiCount;
        facts.m_bTimesFall = facts.m_bTimesFall || nLast < 0;
        const std::uint64_t uiUsed = std::min(uiCount, uiLeft);
        nTicks += static_cast<std::int64_t>(uiUsed) * nLast;
        uiLeft -= uiUsed;
    });
    nTicks += static_cast<std::int64_t>(uiLeft) * nLast;
    facts.m_uiTicks = static_cast<std::uint64_t>(std::max<std::int64_t>(nTicks, 0));
    facts.m_bCountsRight = facts.m_uiTimes == facts.m_uiPictures &&
                           reader.ReadNumber(runs->m_box, CHUNK_PICTURES, 4) == facts.m_uiPictures;

    const auto trackDuration = DurationIn(reader, reader.Find(track, "tkhd"));
    const auto mediaDuration = DurationIn(reader, media);
    const auto edit = reader.FindPath(track, "edts/elst");
    const auto editDuration = DurationIn(reader, edit);
    if (!trackDuration) return std::nullopt;
    if (edit)
    {
        const auto bLong = IsLongVersion(reader, *edit, EDIT_LIST);
        if (!bLong || reader.ReadNumber(*edit, 4, 4) != 1U) return std::nullopt;
        if (reader.ReadNumber(*edit, *bLong ? 16 : 12, *bLong ? 8 : 4) != 0U) return std::nullopt;
    }
    const auto isRight = [&](const auto& duration) { return duration == facts.m_uiTicks; };
    const bool bTrackRight = isRight(trackDuration) && isRight(mediaDuration) && (!edit || isRight(editDuration));
    facts.m_bDurationsRight = bTrackRight && isRight(DurationIn(reader, header));

    // NVENC1 counts from 0, also where the first picture isn't listed. Right durations are those of a repaired file.
    facts.m_bKeysFromZero = !bTrackRight && !IsOfAmf(source);
    std::uint64_t uiLast = 0;
    ForEachEntry(reader, *keys, [&](auto entry) {
        const std::uint64_t uiKey = BigEndian(entry);
        if (uiKey == 0) facts.m_bKeysFromZero = true;
        facts.m_bKeysRight = facts.m_bKeysRight && uiKey > uiLast && uiKey <= facts.m_uiPictures;
        uiLast = uiKey;
    });
    if (facts.m_bKeysFromZero && keys->m_uiEntries > 0) facts.m_bKeysRight = false;
    return facts;
}

std::optional<std::vector<std::uint32_t>> ReadTimesOfBrokenIndex(ByteSource& source, std::uint64_t uiPosition,
                                                                 std::size_t uiPictures)
{
    PaddedBytes padded(source, uiPosition);
    BoxReader reader(padded);
    const auto movie = reader.ReadBox(uiPosition, padded.Size());
    if (!movie || movie->m_strType != "moov" || IsIndexOfOthers(padded, *movie)) return std::nullopt;
    const auto media = reader.FindPath(FindVideoTrack(reader, *movie), "mdia");
    const auto times = FindTable(reader, reader.FindPath(media, "minf/stbl/stts"), 8, 8);
    if (!times || ClockIn(reader, reader.Find(media, "mdhd")) != TICKS_PER_SECOND) return std::nullopt;
    if (times->m_box.m_uiBegin + times->m_uiFirst + times->m_uiEntries * times->m_uiEntryBytes > source.Size())
        return std::nullopt;
    std::uint64_t uiTimes = 0;
    ForEachEntry(reader, *times, [&](auto entry) { uiTimes += BigEndian(entry.first(4)); });
    if (uiTimes != uiPictures) return std::nullopt;
    return ReadDeltas(reader, *times, uiPictures);
}

std::vector<unsigned char> PutIndexRight(ByteSource& source, const Box& movie, const IndexFacts& facts)
{
    return IndexCopy(source, facts).Run(movie);
}

}  // namespace qmhost
