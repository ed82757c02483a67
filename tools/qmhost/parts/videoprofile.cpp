#include "parts/videoprofile.h"

#include <array>
#include <span>
#include <string_view>

namespace qmhost
{
namespace
{

// The highest profile_idc whose pictures don't come through: Extended. Baseline is 66, Main is 77.
constexpr int LAST_BLANK_PROFILE = 88;

// Enough for any real file, few enough to be read in an instant.
constexpr unsigned MAX_BOX_HEADERS = 100'000;

constexpr std::uint64_t VISUAL_ENTRY_FIELDS = 78;  // bytes between the header of a video sample entry and its boxes
constexpr std::uint64_t ENTRY_TABLE_FIELDS = 8;    // version, flags and entry count of `stsd`
constexpr std::uint64_t HANDLER_TYPE_OFFSET = 8;   // of the handler type in `hdlr`
constexpr std::uint64_t CONFIG_FIELDS = 6;         // of `avcC`, up to the parameter sets

std::uint32_t BigEndian(std::span<const unsigned char> bytes)
{
    std::uint32_t uiValue = 0;
    for (const unsigned char uiByte : bytes)
        uiValue = (uiValue << 8) | uiByte;
    return uiValue;
}

std::string Printable(std::string text)
{
    for (char& c : text)
        if (c < 0x20 || c > 0x7E) c = '?';
    return text;
}

// The contents of a box, as positions in the file.
struct Box
{
    std::string m_strType;
    std::uint64_t m_uiBegin;
    std::uint64_t m_uiEnd;
};

// Reads boxes inside boxes. Positions never leave the enclosing box, and each step moves on, so every walk ends.
class BoxReader
{
public:
    explicit BoxReader(ByteSource& source) : m_source(source) {}

    // The box that starts at uiPosition inside an enclosing range that ends at uiEnd; nothing when there is none or
    // its size is wrong.
    std::optional<Box> ReadBox(std::uint64_t uiPosition, std::uint64_t uiEnd)
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
            uiSize = (std::uint64_t{BigEndian(std::span(header).subspan(8, 4))} << 32) |
                     BigEndian(std::span(header).subspan(12, 4));
        }
        if (uiSize < uiHeader || uiSize > uiEnd - uiPosition) return std::nullopt;
        return Box{std::string(header.begin() + 4, header.begin() + 8), uiPosition + uiHeader, uiPosition + uiSize};
    }

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

    std::optional<Box> Find(std::uint64_t uiBegin, std::uint64_t uiEnd, std::string_view type)
    {
        return Find(uiBegin, uiEnd, type, [](const Box&) { return true; });
    }

    std::optional<Box> Find(const std::optional<Box>& parent, std::string_view type)
    {
        return parent ? Find(parent->m_uiBegin, parent->m_uiEnd, type) : std::nullopt;
    }

    // Bytes of a box, from an offset into its contents; false when it hasn't that many.
    bool ReadInside(const Box& box, std::uint64_t uiOffset, std::span<unsigned char> bytes)
    {
        const std::uint64_t uiLength = box.m_uiEnd - box.m_uiBegin;
        if (uiOffset > uiLength || bytes.size() > uiLength - uiOffset) return false;
        return m_source.ReadAt(box.m_uiBegin + uiOffset, bytes.data(), bytes.size());
    }

private:
    ByteSource& m_source;
    unsigned m_uiHeadersLeft = MAX_BOX_HEADERS;
};

bool IsVideoTrack(BoxReader& reader, const Box& track)
{
    const auto handler = reader.Find(reader.Find(track, "mdia"), "hdlr");
    std::array<unsigned char, 4> type{};
    return handler && reader.ReadInside(*handler, HANDLER_TYPE_OFFSET, type) &&
           std::string_view(reinterpret_cast<const char*>(type.data()), type.size()) == "vide";
}

// The profile that a decoder goes by: the one in the first sequence parameter set. The copy in the configuration's own
// fields serves when no set is there.
std::optional<int> ReadProfile(BoxReader& reader, const Box& config)
{
    std::array<unsigned char, CONFIG_FIELDS> fields{};
    if (!reader.ReadInside(config, 0, fields)) return std::nullopt;
    std::array<unsigned char, 4> set{};  // length of the set, its NAL header, its profile
    const bool bHasSet = (fields[5] & 0x1F) > 0 && reader.ReadInside(config, CONFIG_FIELDS, set) &&
                         BigEndian(std::span(set).first(2)) >= 2;
    return bHasSet ? set[3] : fields[1];
}

}  // namespace

bool VideoProfile::IsH264() const
{
    return m_strCoding == "avc1" || m_strCoding == "avc2" || m_strCoding == "avc3" || m_strCoding == "avc4";
}

EDelivery VideoProfile::Delivery() const
{
    if (m_strCoding.empty()) return EDelivery::Unknown;
    if (!IsH264()) return EDelivery::Blank;
    if (!m_nProfile) return EDelivery::Unknown;
    return *m_nProfile > LAST_BLANK_PROFILE ? EDelivery::Pictures : EDelivery::Blank;
}

std::string VideoProfile::Describe() const
{
    if (m_strCoding.empty()) return "unknown";
    if (!IsH264()) return m_strCoding + ", not H.264";
    if (!m_nProfile) return "H.264 (" + m_strCoding + ", profile unknown)";
    const std::string_view name = ProfileName(*m_nProfile);
    return "H.264 " + (name.empty() ? std::string() : std::string(name) + " ") + "(" + m_strCoding + ", profile " +
           std::to_string(*m_nProfile) + ")";
}

std::string_view ProfileName(int nProfile)
{
    switch (nProfile)
    {
    case 44:
        return "CAVLC 4:4:4 Intra";
    case 66:
        return "Baseline";
    case 77:
        return "Main";
    case 88:
        return "Extended";
    case 100:
        return "High";
    case 110:
        return "High 10";
    case 122:
        return "High 4:2:2";
    case 244:
        return "High 4:4:4 Predictive";
    default:
        return {};
    }
}

VideoProfile ReadVideoProfile(ByteSource& source)
{
    BoxReader reader(source);
    const auto movie = reader.Find(0, source.Size(), "moov");
    if (!movie) return {};
    const auto track = reader.Find(movie->m_uiBegin, movie->m_uiEnd, "trak",
                                   [&](const Box& box) { return IsVideoTrack(reader, box); });
    const auto table = reader.Find(reader.Find(reader.Find(reader.Find(track, "mdia"), "minf"), "stbl"), "stsd");
    if (!table || table->m_uiEnd - table->m_uiBegin < ENTRY_TABLE_FIELDS) return {};
    const auto entry = reader.ReadBox(table->m_uiBegin + ENTRY_TABLE_FIELDS, table->m_uiEnd);
    if (!entry) return {};

    VideoProfile profile{Printable(entry->m_strType), std::nullopt};
    if (profile.IsH264() && entry->m_uiEnd - entry->m_uiBegin > VISUAL_ENTRY_FIELDS)
    {
        const auto config = reader.Find(entry->m_uiBegin + VISUAL_ENTRY_FIELDS, entry->m_uiEnd, "avcC");
        if (config) profile.m_nProfile = ReadProfile(reader, *config);
    }
    return profile;
}

}  // namespace qmhost
