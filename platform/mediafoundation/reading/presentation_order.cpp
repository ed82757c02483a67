#include "platform/mediafoundation/reading/presentation_order.h"

#include <algorithm>
#include <vector>

#include "platform/mediafoundation/reading/sample_reader.h"

namespace mediafoundation
{

std::uint64_t PresentationReach(const SampleTable& table, std::uint64_t uiNumber)
{
    return std::min(table.Count(), uiNumber + MAX_REORDER + 1);
}

std::optional<std::uint64_t> FindPicture(const SampleTable& table, std::uint64_t uiStart, std::uint64_t uiNumber,
                                         bool bReorders)
{
    const std::uint64_t uiEnd = PresentationReach(table, uiNumber);
    std::vector<std::pair<std::int64_t, std::uint64_t>> order;
    order.reserve(uiEnd - uiStart);
    bool bAllAsDecoded = true;
    for (std::uint64_t i = uiStart; i < uiEnd; ++i)
    {
        const Sample& sample = table.At(i);
        if (sample.m_nPresentationTime == AV_NOPTS_VALUE) return std::nullopt;
        bAllAsDecoded = bAllAsDecoded && sample.m_nPresentationTime == sample.m_nDecodingTime;
        order.emplace_back(sample.m_nPresentationTime, i);
    }
    if (bAllAsDecoded && bReorders) return std::nullopt;

    std::sort(order.begin(), order.end());
    const auto sameTime = [](const auto& left, const auto& right) { return left.first == right.first; };
    if (std::adjacent_find(order.begin(), order.end(), sameTime) != order.end()) return std::nullopt;
    return order[uiNumber - uiStart].second;
}

bool DueSamples::Take(std::uint64_t uiSample)
{
    if (m_due.empty() || m_due.begin()->second != uiSample) return false;
    m_due.erase(m_due.begin());
    return true;
}

}  // namespace mediafoundation
