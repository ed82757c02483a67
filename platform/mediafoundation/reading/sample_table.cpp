#include "platform/mediafoundation/reading/sample_table.h"

#include <algorithm>
#include <limits>

namespace mediafoundation
{
namespace
{

constexpr std::int64_t HUNDRED_NANOSECONDS = 10000000;  // per second
constexpr std::int64_t PER_MILLISECOND = 10000;         // 100 ns steps

std::int64_t FloorDivide(std::int64_t nValue, std::int64_t nDivisor)
{
    return nValue / nDivisor - (nValue % nDivisor < 0 ? 1 : 0);
}

// The times that make up the line: those of decoding where the container has all of them, else those of presentation
// in their order (some containers have no others), else a picture per tick.
std::vector<std::int64_t> LineTimes(const std::vector<Sample>& samples)
{
    const bool bDecodingTimes = std::all_of(
        samples.begin(), samples.end(), [](const Sample& sample) { return sample.m_nDecodingTime != AV_NOPTS_VALUE; });
    const bool bPresentationTimes = std::all_of(samples.begin(), samples.end(), [](const Sample& sample) {
        return sample.m_nPresentationTime != AV_NOPTS_VALUE;
    });
    std::vector<std::int64_t> times;
    times.reserve(samples.size() + 1);
    for (const Sample& sample : samples)
    {
        times.push_back(bDecodingTimes       ? sample.m_nDecodingTime
                        : bPresentationTimes ? sample.m_nPresentationTime
                                             : static_cast<std::int64_t>(times.size()));
    }
    if (!bDecodingTimes)
    {
        std::sort(times.begin(), times.end());
    }
    return times;
}

}  // namespace

void SampleTable::Finish(AVRational timeBase, std::int64_t nLastDuration)
{
    m_timeBase = timeBase;
    m_line = LineTimes(m_samples);
    const std::int64_t nStart = m_line.empty() ? 0 : m_line.front();
    std::int64_t nHighest = 0;
    for (std::int64_t& nTime : m_line)
    {
        // A time before the one before it would make the line ambiguous; such a sample gets the time before it.
        nHighest = nTime > nStart ? std::max(nHighest, nTime - nStart) : nHighest;
        nTime = nHighest;
    }
    const std::int64_t nLast = nLastDuration > 0   ? nLastDuration
                               : m_line.size() > 1 ? nHighest - m_line[m_line.size() - 2]
                                                   : 0;
    m_line.push_back(nHighest > std::numeric_limits<std::int64_t>::max() - nLast ? nHighest : nHighest + nLast);
}

std::int64_t SampleTable::ToHundredNanoseconds(std::int64_t nTicks) const
{
    const std::int64_t nTime =
        av_rescale_rnd(nTicks, HUNDRED_NANOSECONDS * m_timeBase.num, m_timeBase.den, AV_ROUND_DOWN);
    const bool bOutOfRange = nTime == std::numeric_limits<std::int64_t>::min();
    return !bOutOfRange ? nTime : nTicks < 0 ? nTime : std::numeric_limits<std::int64_t>::max();
}

std::int64_t SampleTable::TimeOf(std::uint64_t uiNumber) const
{
    return ToHundredNanoseconds(m_line[uiNumber]);
}

std::int64_t SampleTable::MillisecondsOf(std::uint64_t uiNumber) const
{
    return TimeOf(uiNumber) / PER_MILLISECOND;
}

std::uint64_t SampleTable::FirstAt(std::int64_t nPosition) const
{
    const std::int64_t nMilliseconds = FloorDivide(nPosition, PER_MILLISECOND);
    const auto itEnd = m_line.begin() + static_cast<std::ptrdiff_t>(Count());
    const auto it = std::partition_point(m_line.begin(), itEnd, [&](std::int64_t nTicks) {
        return ToHundredNanoseconds(nTicks) / PER_MILLISECOND < nMilliseconds;
    });
    return static_cast<std::uint64_t>(it - m_line.begin());
}

}  // namespace mediafoundation
