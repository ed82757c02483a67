// When the samples of a track are, as its own tables have it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "parts/boxreader.h"

namespace qmhost
{

// Calls use(ms) with the start of each sample: the sums of the entries of `stts` before it. Samples that are shown in
// another order than they are stored have their times in this order all the same, as the module reads them. Stops when
// use returns false. False then, and when the track has no clock or a broken table.
bool ForEachTime(BoxReader& reader, const Box& track, const std::function<bool(double dTimeMs)>& use);

// The largest distance of the video's times in a file from the times that givenMs(sample) has, both from the first one
// on, in milliseconds. Nothing unless the file lists times for exactly uiCount samples.
std::optional<double> LargestTimeDifference(ByteSource& source, std::uint32_t uiCount,
                                            const std::function<double(std::uint32_t)>& givenMs);

}  // namespace qmhost
