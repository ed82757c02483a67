#include "parts/tracktimes.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "parts/writtenfile.h"

namespace qmhost
{
namespace
{

constexpr std::uint64_t TABLE_FIELDS = 8;  // version, flags and entry count of `stts`
constexpr std::size_t ENTRY_BYTES = 8;     // of `stts`: count and duration
constexpr std::size_t ENTRIES_AT_ONCE = 512;

}  // namespace

bool ForEachTime(BoxReader& reader, const Box& track, const std::function<bool(double dTimeMs)>& use)
{
    const auto clock = reader.FindPath(track, "mdia/mdhd");
    const auto table = reader.FindPath(track, "mdia/minf/stbl/stts");
    if (!clock || !table) return false;
    const auto version = reader.ReadNumber(*clock, 0, 1);
    const auto scale = reader.ReadNumber(*clock, version == 0 ? 12 : 20, 4);
    const auto entries = reader.ReadNumber(*table, 4, 4);
    if (!scale || *scale == 0 || !entries) return false;

    std::uint64_t uiTicks = 0;
    std::uint64_t uiEmpty = 0;  // entries without a sample
    std::vector<unsigned char> vBlock(ENTRY_BYTES * ENTRIES_AT_ONCE);
    for (std::uint64_t uiEntry = 0; uiEntry < *entries;)
    {
        const auto uiCount = static_cast<std::size_t>(std::min<std::uint64_t>(*entries - uiEntry, ENTRIES_AT_ONCE));
        const auto block = std::span(vBlock).first(uiCount * ENTRY_BYTES);
        if (!reader.ReadInside(*table, TABLE_FIELDS + uiEntry * ENTRY_BYTES, block)) return false;
        for (std::size_t i = 0; i < uiCount; ++i)
        {
            const std::uint64_t uiSamples = BigEndian(block.subspan(i * ENTRY_BYTES, 4));
            const std::uint64_t uiDuration = BigEndian(block.subspan(i * ENTRY_BYTES + 4, 4));
            if (uiSamples == 0 && ++uiEmpty > BoxReader::MOST_HEADERS) return false;
            for (std::uint64_t uiSample = 0; uiSample < uiSamples; ++uiSample, uiTicks += uiDuration)
                if (!use(static_cast<double>(uiTicks) * 1000.0 / static_cast<double>(*scale))) return false;
        }
        uiEntry += uiCount;
    }
    return true;
}

std::optional<double> LargestTimeDifference(ByteSource& source, std::uint32_t uiCount,
                                            const std::function<double(std::uint32_t)>& givenMs)
{
    BoxReader reader(source);
    const auto boxes = FindWrittenBoxes(reader);
    const auto video = boxes ? FindVideoTrack(reader, boxes->m_movie) : std::nullopt;
    if (!video) return std::nullopt;
    std::uint32_t uiSample = 0;
    double dLargestMs = 0;
    const auto compare = [&](double dStoredMs) {
        if (uiSample == uiCount) return false;
        dLargestMs = std::max(dLargestMs, std::abs(dStoredMs - (givenMs(uiSample) - givenMs(0))));
        ++uiSample;
        return true;
    };
    if (!ForEachTime(reader, *video, compare) || uiSample != uiCount) return std::nullopt;
    return dLargestMs;
}

}  // namespace qmhost
