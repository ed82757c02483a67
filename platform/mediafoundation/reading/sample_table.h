// The samples of one video stream in decoding order, and the time line that picture numbers and positions share.
//
// A picture is named by its number in presentation order, a sample by its number in decoding order; there are equally
// many of both. The *decoding time line* gives number k the time at which sample k is to be decoded, counted from the
// first one. It is that line, and not the times of presentation, over which positions are mapped to pictures: callers
// hold lists of times that are running sums of the container's sample durations, and with irregular times and
// reordered pictures the sums aren't the times of presentation (an encoder that holds pictures back gives sample k the
// time that some earlier picture is presented at). Taking the number from the sums, and the picture from the number,
// is exact for every file.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/mediafoundation/reading/ffmpeg.h"

namespace mediafoundation
{

enum class FreshStart : std::uint8_t
{
    Unknown,
    No,
    Yes
};

struct Sample
{
    std::int64_t m_nDecodingTime = AV_NOPTS_VALUE;      // in the stream's time base
    std::int64_t m_nPresentationTime = AV_NOPTS_VALUE;  // in the stream's time base; none until it has been met
    std::int64_t m_nFilePosition = -1;
    std::int32_t m_nSize = 0;
    bool m_bKey = false;  // as the container says
    FreshStart m_freshStart = FreshStart::Unknown;
};

class SampleTable
{
public:
    void Reserve(std::size_t uiCount) { m_samples.reserve(uiCount); }
    void Append(const Sample& sample) { m_samples.push_back(sample); }
    // To be called once, after the last Append. nLastDuration is the last sample's own duration, 0 if it is unknown.
    void Finish(AVRational timeBase, std::int64_t nLastDuration);

    std::uint64_t Count() const { return m_samples.size(); }
    Sample& At(std::uint64_t uiSample) { return m_samples[uiSample]; }
    const Sample& At(std::uint64_t uiSample) const { return m_samples[uiSample]; }

    // On the decoding time line, in 100 ns, rounded down; k may be Count(), the end.
    std::int64_t TimeOf(std::uint64_t uiNumber) const;
    // TimeOf(k + 1) - TimeOf(k), so that running sums of durations never drift from the line.
    std::int64_t DurationOf(std::uint64_t uiNumber) const { return TimeOf(uiNumber + 1) - TimeOf(uiNumber); }
    // In whole milliseconds, which is what callers keep.
    std::int64_t MillisecondsOf(std::uint64_t uiNumber) const;

    // The first number whose time, in whole milliseconds, isn't below the position's; Count() if there is none. Whole
    // milliseconds, because a caller that kept 33 of 33.333 and asks for 33 means that picture and not the next.
    std::uint64_t FirstAt(std::int64_t nPosition) const;

    // From the stream's time base to 100 ns, rounded down and kept within the range.
    std::int64_t ToHundredNanoseconds(std::int64_t nTicks) const;

private:
    std::vector<Sample> m_samples;
    std::vector<std::int64_t> m_line;  // ticks from the start, never falling; one more entry than samples
    AVRational m_timeBase = {1, 1};
};

}  // namespace mediafoundation
