// Which sample is presented at which place, and whether the decoder's pictures come in that order.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <utility>

#include "platform/mediafoundation/reading/sample_table.h"

namespace mediafoundation
{

// The sample that is picture uiNumber, by the times of presentation of the samples from uiStart on, where uiStart is a
// fresh start at or before it (so that the run's first picture has the number uiStart). Their times up to
// PresentationReach must have been met. Nothing if the times don't show it: some are missing, two are equal, or all are
// those of decoding although the stream is one that reorders (a container that never stored them).
std::optional<std::uint64_t> FindPicture(const SampleTable& table, std::uint64_t uiStart, std::uint64_t uiNumber,
                                         bool bReorders);

// One past the last sample whose time FindPicture looks at. No later sample can be presented before the picture.
std::uint64_t PresentationReach(const SampleTable& table, std::uint64_t uiNumber);

// The samples that the decoder has got and not returned yet, in the order of their times of presentation. They show
// when a decoder loses a picture: the next picture then isn't the one that is due.
class DueSamples
{
public:
    void Clear() { m_due.clear(); }
    bool IsEmpty() const { return m_due.empty(); }
    void Add(std::int64_t nTime, std::uint64_t uiSample) { m_due.emplace(nTime, uiSample); }
    // Drops what is due before that time.
    void DropBefore(std::int64_t nTime) { m_due.erase(m_due.begin(), m_due.lower_bound({nTime, 0})); }
    // Takes the sample out if it is the one that is due next.
    bool Take(std::uint64_t uiSample);

private:
    std::set<std::pair<std::int64_t, std::uint64_t>> m_due;
};

}  // namespace mediafoundation
