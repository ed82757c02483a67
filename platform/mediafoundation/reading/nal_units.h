// The NAL units of an H.264 or HEVC sample: where decoding may begin, and what may be left out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/mediafoundation/reading/ffmpeg.h"

namespace mediafoundation
{

// How a stream's samples hold their NAL units.
class NalLayout
{
public:
    NalLayout() = default;
    explicit NalLayout(const AVCodecParameters& parameters);

    // Other codecs have no NAL units.
    bool HasNalUnits() const { return m_codec != AV_CODEC_ID_NONE; }

    // Whether the decoder can start at this picture: everything decoded before it is presented before it, and nothing
    // after it refers to what was before it. Only that makes "so many decoded before" equal "so many presented
    // before". An I picture of an open group and a recovery point aren't such pictures, though containers mark them.
    bool IsFreshStart(const std::uint8_t* pSample, std::size_t uiSize) const;

    // The same with a reader of any part of the sample, so that a big sample need not be read whole: gives false if
    // the bytes aren't there.
    using Read = std::function<bool(std::size_t uiOffset, std::uint8_t* pTarget, std::size_t uiSize)>;
    bool IsFreshStart(const Read& read, std::size_t uiSize) const;

    // Whether no other picture refers to this one, and the sample holds nothing that others need (parameter sets): it
    // may be left out of decoding.
    bool IsDisposable(const std::uint8_t* pSample, std::size_t uiSize) const;

private:
    enum class Answer
    {
        No,
        Yes,
        LookOn
    };
    Answer FreshStartAt(std::uint8_t uiHeader) const;
    Answer FirstAnswer(const std::uint8_t* pSample, std::size_t uiSize) const;
    bool FindFreshStartCode(const Read& read, std::size_t uiSize) const;
    // Calls visit with the header byte of each NAL unit until it gives false.
    void Visit(const std::uint8_t* pSample, std::size_t uiSize, const std::function<bool(std::uint8_t)>& visit) const;

    AVCodecID m_codec = AV_CODEC_ID_NONE;
    std::size_t m_uiLengthBytes = 0;  // 0: start codes
};

}  // namespace mediafoundation
