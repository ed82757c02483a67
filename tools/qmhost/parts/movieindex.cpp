#include "parts/movieindex.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <stdexcept>

#include "parts/boxwriter.h"
#include "parts/sequenceset.h"

namespace qmhost
{
namespace
{

constexpr std::uint32_t WHOLE = 0x00010000;  // 1 as a number with 16 bits of fraction
constexpr std::uint64_t LARGEST_WORD = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t LARGEST_INDEX = std::uint64_t{2} << 30;  // bytes; no list of MOST_PICTURES needs more
constexpr std::uint64_t LARGEST_DISTANCE = std::numeric_limits<std::int32_t>::max();  // as signed readers see it

// --- made new ---

void WriteMatrix(BoxWriter& box)
{
    for (const std::uint32_t uiValue : {WHOLE, 0U, 0U, 0U, WHOLE, 0U, 0U, 0U, 0x40000000U})
        box.Word(uiValue);
}

// Version and flags, then creation and modification, which are left unknown.
void WriteVersionAndDates(BoxWriter& box, bool bLong, std::uint32_t uiFlags)
{
    box.Word((bLong ? 1U << 24 : 0U) | uiFlags);
    box.Duration(0, bLong);
    box.Duration(0, bLong);
}

void WriteMovieHeader(BoxWriter& box, std::uint64_t uiTicks)
{
    const bool bLong = uiTicks > LARGEST_WORD;
    box.Begin("mvhd");
    WriteVersionAndDates(box, bLong, 0);
    box.Word(TICKS_PER_SECOND);
    box.Duration(uiTicks, bLong);
    box.Word(WHOLE);   // rate
    box.Half(0x0100);  // volume
    box.Zeros(10);
    WriteMatrix(box);
    box.Zeros(24);
    box.Word(2);  // next track
    box.End();
}

void WriteTrackHeader(BoxWriter& box, std::uint64_t uiTicks, const SequenceSet& set)
{
    const bool bLong = uiTicks > LARGEST_WORD;
    box.Begin("tkhd");
    WriteVersionAndDates(box, bLong, 3);  // enabled, in the movie
    box.Word(1);                          // track
    box.Zeros(4);
    box.Duration(uiTicks, bLong);
    box.Zeros(16);
    WriteMatrix(box);
    box.Word(set.m_uiWidth << 16);
    box.Word(set.m_uiHeight << 16);
    box.End();
}

void WriteMediaHeader(BoxWriter& box, std::uint64_t uiTicks)
{
    const bool bLong = uiTicks > LARGEST_WORD;
    box.Begin("mdhd");
    WriteVersionAndDates(box, bLong, 0);
    box.Word(TICKS_PER_SECOND);
    box.Duration(uiTicks, bLong);
    box.Half(0x55C4);  // no language
    box.Half(0);
    box.End();
}

void WriteSets(BoxWriter& box, const std::vector<std::string>& vSets)
{
    for (const std::string& strSet : vSets)
    {
        box.Half(static_cast<std::uint16_t>(strSet.size()));
        box.Text(strSet);
    }
}

void WriteDecoderConfiguration(BoxWriter& box, const SplitPictures& pictures, const SequenceSet& set)
{
    box.Begin("avcC");
    box.Byte(1);                                              // version
    box.Text(pictures.m_vSequenceSets.front().substr(1, 3));  // profile, compatibility, level
    box.Byte(0xFF);                                           // lengths of NALs have 4 bytes
    box.Byte(static_cast<std::uint8_t>(0xE0 | pictures.m_vSequenceSets.size()));
    WriteSets(box, pictures.m_vSequenceSets);
    box.Byte(static_cast<std::uint8_t>(pictures.m_vPictureSets.size()));
    WriteSets(box, pictures.m_vPictureSets);
    if (set.HasSampleForm())
    {
        box.Byte(static_cast<std::uint8_t>(0xFC | set.m_uiChromaFormat));
        box.Byte(static_cast<std::uint8_t>(0xF8 | (set.m_uiLumaBits - 8)));
        box.Byte(static_cast<std::uint8_t>(0xF8 | (set.m_uiChromaBits - 8)));
        box.Byte(0);  // extensions of sequence sets
    }
    box.End();
}

void WriteDescription(BoxWriter& box, const SplitPictures& pictures, const SequenceSet& set)
{
    box.Begin("stsd");
    box.Word(0);
    box.Word(1);  // entries
    box.Begin("avc1");
    box.Zeros(6);
    box.Half(1);  // data reference
    box.Zeros(16);
    box.Half(static_cast<std::uint16_t>(set.m_uiWidth));
    box.Half(static_cast<std::uint16_t>(set.m_uiHeight));
    box.Word(0x00480000);  // 72 dpi
    box.Word(0x00480000);
    box.Zeros(4);
    box.Half(1);  // pictures in a sample
    box.Zeros(32);
    box.Half(24);  // bits of a pixel
    box.Half(0xFFFF);
    WriteDecoderConfiguration(box, pictures, set);
    box.Begin("pasp");
    box.Word(1);
    box.Word(1);
    box.End();
    box.End();
    box.End();
}

// An entry for each run of equal distances.
void WriteTimes(BoxWriter& box, const std::vector<std::uint32_t>& vDeltas)
{
    std::uint32_t uiRuns = 0;
    for (std::size_t i = 0; i < vDeltas.size(); ++i)
        uiRuns += i == 0 || vDeltas[i] != vDeltas[i - 1] ? 1 : 0;
    box.Begin("stts");
    box.Word(0);
    box.Word(uiRuns);
    for (std::size_t i = 0; i < vDeltas.size();)
    {
        const std::size_t uiBegin = i;
        while (i < vDeltas.size() && vDeltas[i] == vDeltas[uiBegin])
            ++i;
        box.Word(static_cast<std::uint32_t>(i - uiBegin));
        box.Word(vDeltas[uiBegin]);
    }
    box.End();
}

// How many, then the numbers.
void WriteNumbers(BoxWriter& box, const std::vector<std::uint32_t>& vNumbers)
{
    box.Word(static_cast<std::uint32_t>(vNumbers.size()));
    for (const std::uint32_t uiNumber : vNumbers)
        box.Word(uiNumber);
}

void WriteKeys(BoxWriter& box, const std::vector<std::uint32_t>& vKeys)
{
    box.Begin("stss");
    box.Word(0);
    WriteNumbers(box, vKeys);
    box.End();
}

void WriteSampleTable(BoxWriter& box, const SplitPictures& pictures, const std::vector<std::uint32_t>& vDeltas,
                      const SequenceSet& set)
{
    box.Begin("stbl");
    WriteDescription(box, pictures, set);
    WriteTimes(box, vDeltas);
    WriteKeys(box, pictures.m_vKeys);
    box.Begin("stsc");
    box.Word(0);
    box.Word(1);  // entries
    box.Word(1);  // first chunk
    box.Word(static_cast<std::uint32_t>(pictures.m_vSizes.size()));
    box.Word(1);  // description
    box.End();
    box.Begin("stsz");
    box.Word(0);
    box.Word(0);  // sizes differ
    WriteNumbers(box, pictures.m_vSizes);
    box.End();
    box.Begin("stco");
    box.Word(0);
    box.Word(1);  // chunks
    box.Word(MEDIA_BEGIN);
    box.End();
    box.End();
}

// --- put right ---

constexpr std::size_t ENTRIES_AT_ONCE = 4096;

// Entries of a table: version and flags, the count, then the entries.
struct Table
{
    Box m_box;
    std::uint64_t m_uiFirst;    // offset of the first entry in the box
    std::uint64_t m_uiEntries;  //
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

class IndexCopy
{
public:
    IndexCopy(ByteSource& source, const IndexFacts& facts) : m_source(source), m_reader(source), m_facts(facts) {}

    std::vector<unsigned char> Run(const Box& movie)
    {
        CopyBox(movie, 0);
        return m_out.Written();
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
        else if (box.m_strType == "stss")
        {
            CopyKeys(box);
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
        const bool bLong = *bWasLong || m_facts.m_uiTicks > LARGEST_WORD;
        const std::uint64_t uiWidth = *bWasLong ? 8 : 4;
        std::uint64_t uiOffset = 4;
        m_out.Byte(bLong ? 1 : 0);
        CopyBytes(box.m_uiBegin + 1, box.m_uiBegin + uiOffset);  // flags
        for (std::uint64_t i = 0; i < form.m_uiLongs; ++i, uiOffset += uiWidth)
            m_out.Duration(m_reader.ReadNumber(box, uiOffset, uiWidth).value_or(0), bLong);
        const std::uint64_t uiDuration = form.m_uiDuration + (*bWasLong ? 4 * form.m_uiLongs : 0);
        if (form.m_uiLongs == 0)  // an edit: the count, the duration, then the time in the media
        {
            CopyBytes(box.m_uiBegin + uiOffset, box.m_uiBegin + uiDuration);
            m_out.Duration(m_facts.m_uiTicks, bLong);
            uiOffset = uiDuration + uiWidth;
            m_out.Duration(m_reader.ReadNumber(box, uiOffset, uiWidth).value_or(0), bLong);
        }
        else
        {
            CopyBytes(box.m_uiBegin + uiOffset, box.m_uiBegin + uiDuration);
            m_out.Duration(m_facts.m_uiTicks, bLong);
            uiOffset = uiDuration;
        }
        CopyBytes(box.m_uiBegin + uiOffset + uiWidth, box.m_uiEnd);
    }

    void CopyKeys(const Box& box)
    {
        const auto table = FindTable(m_reader, box, 8, 4);
        if (!table || m_facts.m_bKeysRight) return CopyBytes(box.m_uiBegin, box.m_uiEnd);
        std::vector<std::uint32_t> vKeys;
        vKeys.reserve(static_cast<std::size_t>(table->m_uiEntries));
        ForEachEntry(m_reader, *table,
                     [&](auto entry) { vKeys.push_back(static_cast<std::uint32_t>(BigEndian(entry))); });
        std::sort(vKeys.begin(), vKeys.end());
        vKeys.erase(std::unique(vKeys.begin(), vKeys.end()), vKeys.end());
        if (!vKeys.empty() && vKeys.front() == 0)
            for (std::uint32_t& uiKey : vKeys)
                ++uiKey;
        CopyBytes(box.m_uiBegin, box.m_uiBegin + 4);
        WriteNumbers(m_out, vKeys);
    }

    void CopyBytes(std::uint64_t uiBegin, std::uint64_t uiEnd)
    {
        std::vector<unsigned char> vBytes(static_cast<std::size_t>(uiEnd - uiBegin));
        if (!m_source.ReadAt(uiBegin, vBytes.data(), vBytes.size()))
            throw std::runtime_error("the index can't be read");
        m_out.Bytes(vBytes);
    }

    ByteSource& m_source;
    BoxReader m_reader;
    const IndexFacts& m_facts;
    BoxWriter m_out;
};

}  // namespace

std::vector<unsigned char> MakeIndex(const SplitPictures& pictures, const std::vector<std::uint32_t>& vDeltas)
{
    const auto set = pictures.m_vSequenceSets.empty() || pictures.m_vPictureSets.empty()
                         ? std::nullopt
                         : ReadSequenceSet({reinterpret_cast<const unsigned char*>(pictures.m_vSequenceSets[0].data()),
                                            pictures.m_vSequenceSets[0].size()});
    if (!set) throw std::runtime_error("its pictures have no usable parameter sets");
    std::uint64_t uiTicks = 0;
    for (const std::uint32_t uiDelta : vDeltas)
        uiTicks += uiDelta;

    BoxWriter box;
    box.Begin("moov");
    WriteMovieHeader(box, uiTicks);
    box.Begin("trak");
    WriteTrackHeader(box, uiTicks, *set);
    box.Begin("mdia");
    WriteMediaHeader(box, uiTicks);
    box.Begin("hdlr");
    box.Zeros(8);
    box.Text("vide");
    box.Zeros(12);
    box.Text(std::string_view("VideoHandler\0", 13));
    box.End();
    box.Begin("minf");
    box.Begin("vmhd");
    box.Word(1);
    box.Zeros(8);
    box.End();
    box.Begin("dinf");
    box.Begin("dref");
    box.Word(0);
    box.Word(1);  // entries
    box.Begin("url ");
    box.Word(1);  // in this file
    box.End();
    box.End();
    box.End();
    WriteSampleTable(box, pictures, vDeltas, *set);
    box.End();
    box.End();
    box.End();
    box.End();
    return box.Written();
}

std::optional<IndexFacts> ReadIndexFacts(ByteSource& source, const Box& movie)
{
    if (movie.Length() > LARGEST_INDEX) return std::nullopt;
    BoxReader reader(source);
    const auto track = FindVideoTrack(reader, movie);
    const auto tables = reader.FindPath(track, "mdia/minf/stbl");
    const auto times = FindTable(reader, reader.Find(tables, "stts"), 8, 8);
    const auto sizes = FindTable(reader, reader.Find(tables, "stsz"), 12, 4);
    const auto keys = FindTable(reader, reader.Find(tables, "stss"), 8, 4);
    const auto chunks = FindTable(reader, reader.Find(tables, "stco"), 8, 4);
    const auto header = reader.Find(movie.m_uiBegin, movie.m_uiEnd, "mvhd");
    const auto media = reader.FindPath(track, "mdia/mdhd");
    if (!times || !sizes || !keys || !chunks || !header || !media) return std::nullopt;
    if (times->m_uiEntries > MOST_PICTURES || sizes->m_uiEntries > MOST_PICTURES || keys->m_uiEntries > MOST_PICTURES)
        return std::nullopt;
    if (chunks->m_uiEntries != 1 || reader.ReadNumber(chunks->m_box, 8, 4) != MEDIA_BEGIN) return std::nullopt;
    if (reader.ReadNumber(sizes->m_box, 4, 4) != 0U) return std::nullopt;
    const auto bLongMedia = IsLongVersion(reader, *media, MEDIA_HEADER);
    if (!bLongMedia || reader.ReadNumber(*media, *bLongMedia ? 20 : 12, 4) != TICKS_PER_SECOND) return std::nullopt;
    const auto bLongMovie = IsLongVersion(reader, *header, MOVIE_HEADER);
    if (!bLongMovie || reader.ReadNumber(*header, *bLongMovie ? 20 : 12, 4) != TICKS_PER_SECOND) return std::nullopt;

    IndexFacts facts;
    facts.m_uiPictures = sizes->m_uiEntries;
    ForEachEntry(reader, *sizes, [&](auto entry) { facts.m_uiMediaBytes += BigEndian(entry); });
    ForEachEntry(reader, *times, [&](auto entry) {
        const std::uint64_t uiCount = BigEndian(entry.first(4));
        const std::uint64_t uiDelta = BigEndian(entry.subspan(4));
        facts.m_uiTimes += uiCount;
        facts.m_uiTicks += uiCount * uiDelta;
        facts.m_bTimesFall = facts.m_bTimesFall || uiDelta > LARGEST_DISTANCE;
    });
    std::uint64_t uiLast = 0;
    ForEachEntry(reader, *keys, [&](auto entry) {
        facts.m_bKeysRight = facts.m_bKeysRight && BigEndian(entry) > uiLast;
        uiLast = BigEndian(entry);
    });

    const auto trackDuration = DurationIn(reader, reader.Find(track, "tkhd"));
    const auto mediaDuration = DurationIn(reader, media);
    const auto edit = reader.FindPath(track, "edts/elst");
    const auto editDuration = DurationIn(reader, edit);
    if (!trackDuration || (edit && (!editDuration || reader.ReadNumber(*edit, 4, 4) != 1U))) return std::nullopt;
    const auto isRight = [&](const auto& duration) { return duration == facts.m_uiTicks; };
    facts.m_bDurationsRight = isRight(trackDuration) && isRight(mediaDuration) && (!edit || isRight(editDuration)) &&
                              isRight(DurationIn(reader, header));
    return facts;
}

std::vector<unsigned char> PutIndexRight(ByteSource& source, const Box& movie, const IndexFacts& facts)
{
    return IndexCopy(source, facts).Run(movie);
}

}  // namespace qmhost
