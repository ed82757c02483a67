// What the sequence parameter set of an H.264 stream says about its pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace mediafoundation
{

struct H264Parameters
{
    std::uint32_t m_uiProfile = 0;  // profile_idc
    std::uint32_t m_uiLevel = 0;    // level_idc
    std::uint32_t m_uiWidth = 0;    // after cropping
    std::uint32_t m_uiHeight = 0;
    bool m_bCroppedAtTopLeft = false;
    // The most pictures that can come before another one in decoding and after it in presentation. Where the stream
    // doesn't say it, it is what the decoded picture buffer of its level can hold.
    int m_nReorder = 0;
};

// From an SPS NAL unit without start code or length. Nothing if it is cut short or out of range.
std::optional<H264Parameters> ParseSequenceParameterSet(const std::uint8_t* pData, std::size_t uiSize);

// The first SPS NAL unit of a decoder configuration: an avcC record, or NAL units with start codes.
std::vector<std::uint8_t> FindSequenceParameterSet(const std::uint8_t* pConfiguration, std::size_t uiSize);

}  // namespace mediafoundation
