#include "parts/videoprofile.h"

#include <array>
#include <span>
#include <string_view>

#include "parts/boxreader.h"

namespace qmhost
{
namespace
{

// The highest profile_idc whose pictures don't come through: Extended. Baseline is 66, Main is 77.
constexpr int LAST_BLANK_PROFILE = 88;

constexpr std::uint64_t VISUAL_ENTRY_FIELDS = 78;  // bytes between the header of a video sample entry and its boxes
constexpr std::uint64_t ENTRY_TABLE_FIELDS = 8;    // version, flags and entry count of `stsd`
constexpr std::uint64_t CONFIG_FIELDS = 6;         // of `avcC`, up to the parameter sets

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
    const auto table = reader.FindPath(FindVideoTrack(reader, *movie), "mdia/minf/stbl/stsd");
    if (!table || table->Length() < ENTRY_TABLE_FIELDS) return {};
    const auto entry = reader.ReadBox(table->m_uiBegin + ENTRY_TABLE_FIELDS, table->m_uiEnd);
    if (!entry) return {};

    VideoProfile profile{Printable(entry->m_strType), std::nullopt};
    if (profile.IsH264() && entry->Length() > VISUAL_ENTRY_FIELDS)
    {
        const auto config = reader.Find(entry->m_uiBegin + VISUAL_ENTRY_FIELDS, entry->m_uiEnd, "avcC");
        if (config) profile.m_nProfile = ReadProfile(reader, *config);
    }
    return profile;
}

}  // namespace qmhost
