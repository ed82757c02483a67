// H.264 with start codes, as encoders give it, turned into what an MP4 file holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mediafoundation
{

// The parameter sets of a stream, and its samples without them.
class AvcStream
{
public:
    // Appends the sample to *pTarget with a length of four bytes before each NAL unit, and keeps its parameter sets
    // instead. False, and *pTarget is as before, if it has no picture.
    bool Convert(const std::uint8_t* pSample, std::size_t uiSize, std::vector<std::uint8_t>* pTarget);

    bool HasParameterSets() const { return !m_sequenceSets.empty() && !m_pictureSets.empty(); }
    // The content of avcC. Precondition: HasParameterSets.
    std::vector<std::uint8_t> Configuration() const;

private:
    using Unit = std::vector<std::uint8_t>;

    std::vector<Unit> m_sequenceSets;  // each once
    std::vector<Unit> m_pictureSets;
};

}  // namespace mediafoundation
