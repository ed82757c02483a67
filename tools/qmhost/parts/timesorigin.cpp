#include "parts/timesorigin.h"

#include <cmath>
#include <optional>

#include "parts/boxreader.h"
#include "parts/text.h"
#include "parts/tracktimes.h"

namespace qmhost
{
namespace
{

constexpr std::uint64_t HEADERS_PER_FRAME = 16;  // a fragment of a single frame has nine boxes

// Times are compared in whole milliseconds, and one of them may have been rounded.
constexpr double TOLERANCE_MS = 1.0;

// Whether the times are those of the track's own table: as many, each at the sum of the durations before it.
bool HasTimesOf(BoxReader& reader, const Box& track, std::span<const double> vTimesMs)
{
    std::size_t uiFrame = 0;
    const auto compare = [&](double dTimeMs) {
        return uiFrame < vTimesMs.size() && std::abs(dTimeMs - vTimesMs[uiFrame++]) <= TOLERANCE_MS;
    };
    return ForEachTime(reader, track, compare) && uiFrame == vTimesMs.size();
}

// Pictures that a track's own index lists.
std::uint64_t IndexedPictures(BoxReader& reader, const Box& track)
{
    const auto samples = reader.FindPath(track, "mdia/minf/stbl");
    const auto sizes = reader.Find(samples, "stsz");
    const auto compactSizes = sizes ? std::nullopt : reader.Find(samples, "stz2");
    if (sizes) return reader.ReadNumber(*sizes, 8, 4).value_or(0);
    return compactSizes ? reader.ReadNumber(*compactSizes, 8, 4).value_or(0) : 0;
}

std::optional<std::uint64_t> TrackId(BoxReader& reader, const Box& track)
{
    const auto header = reader.Find(track, "tkhd");
    if (!header) return std::nullopt;
    return reader.ReadNumber(*header, reader.ReadNumber(*header, 0, 1) == 0 ? 12 : 20, 4);
}

// Pictures of a track in the fragments of a file. Stops counting when there are more than uiEnough.
std::uint64_t PicturesInFragments(BoxReader& reader, std::uint64_t uiTrack, std::uint64_t uiEnough)
{
    std::uint64_t uiPictures = 0;
    const auto addRun = [&](const Box& run) {
        uiPictures += reader.ReadNumber(run, 4, 4).value_or(0);
        return uiPictures > uiEnough;
    };
    const auto addTrack = [&](const Box& part) {
        const auto header = reader.Find(part, "tfhd");
        return header && reader.ReadNumber(*header, 4, 4) == uiTrack &&
               reader.Find(part.m_uiBegin, part.m_uiEnd, "trun", addRun).has_value();
    };
    reader.Find(0, reader.FileSize(), "moof", [&](const Box& fragment) {
        return reader.Find(fragment.m_uiBegin, fragment.m_uiEnd, "traf", addTrack).has_value();
    });
    return uiPictures;
}

std::string InWords(const std::string& strHandler)
{
    if (strHandler == "soun") return "a sound track";
    return strHandler.empty() ? "a track of no kind" : "a track of kind " + Quoted(strHandler);
}

}  // namespace

bool TimesOrigin::IsForeign() const
{
    return m_eOrigin == ETimesOrigin::OtherTrack || m_eOrigin == ETimesOrigin::PartOfVideo;
}

std::string TimesOrigin::Problem(const std::string& strFile) const
{
    const std::string strCommand = ": ffmpeg -i " + Quoted(strFile) + " -map 0:v -c copy OUT.mp4";
    if (m_eOrigin == ETimesOrigin::OtherTrack)
    {
        return "the times and the number of frames of " + Quoted(strFile) +
               " aren't those of its video: its first track is " + InWords(m_strFirstTrack) +
               "; a copy of the video alone has the right ones" + strCommand;
    }
    if (m_eOrigin == ETimesOrigin::PartOfVideo)
    {
        return "only the first " + std::to_string(m_uiListed) + " pictures of " + Quoted(strFile) + " have times, " +
               (m_bFragments ? "more follow in fragments after its index"
                             : "and its video track has " + std::to_string(m_uiPictures)) +
               "; a copy with a new index has them all" + strCommand;
    }
    return {};
}

TimesOrigin FindTimesOrigin(ByteSource& source, std::span<const double> vTimesMs)
{
    BoxReader reader(source, BoxReader::MOST_HEADERS + HEADERS_PER_FRAME * vTimesMs.size());
    TimesOrigin origin;
    origin.m_uiListed = vTimesMs.size();
    const auto movie = reader.Find(0, source.Size(), "moov");
    const auto first = reader.Find(movie, "trak");
    const auto video = movie ? FindVideoTrack(reader, *movie) : std::nullopt;
    if (!first || !video) return origin;
    origin.m_strFirstTrack = Printable(TrackHandler(reader, *first));

    const bool bVideoFirst = first->m_uiBegin == video->m_uiBegin;
    const bool bTimesOfVideo = bVideoFirst || HasTimesOf(reader, *video, vTimesMs);
    const bool bTimesOfFirst = !bTimesOfVideo && HasTimesOf(reader, *first, vTimesMs);
    origin.m_uiPictures = IndexedPictures(reader, *video);
    const auto id = TrackId(reader, *video);
    if (id && origin.m_uiPictures <= vTimesMs.size())
    {
        const auto uiMore = PicturesInFragments(reader, *id, vTimesMs.size() - origin.m_uiPictures);
        origin.m_uiPictures += uiMore;
        origin.m_bFragments = uiMore > 0;
    }

    const bool bComplete = !reader.IsExhausted();
    if (bTimesOfFirst || (!bTimesOfVideo && bComplete && origin.m_uiPictures != vTimesMs.size()))
    {
        origin.m_eOrigin = ETimesOrigin::OtherTrack;
    }
    else if (origin.m_uiPictures > vTimesMs.size())
    {
        origin.m_eOrigin = ETimesOrigin::PartOfVideo;
    }
    else if (bComplete)
    {
        origin.m_eOrigin = ETimesOrigin::Video;
    }
    return origin;
}

}  // namespace qmhost
