// What the sequence parameter set (SPS) of an H.264 stream says of its pictures.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace qmhost
{

struct SequenceSet
{
    std::uint32_t m_uiWidth;  // of the pictures as they are shown, pixels
    std::uint32_t m_uiHeight;
    std::uint8_t m_uiProfile;
    std::uint8_t m_uiChromaFormat;  // 1 for 4:2:0
    std::uint8_t m_uiLumaBits;      // of a sample
    std::uint8_t m_uiChromaBits;

    // Whether the decoder's configuration of this profile states the form of the samples too.
    bool HasSampleForm() const;
};

// Reads the set from the bytes of its NAL, the header first. Nothing for bytes that are none, or of more than 65535
// pixels in width or height.
std::optional<SequenceSet> ReadSequenceSet(std::span<const unsigned char> nal);

}  // namespace qmhost
