// What a stream of a file is, as far as media types describe it.
#pragma once

#include <cstdint>
#include <vector>

#include "mfobjects.h"
#include "platform/mediafoundation/reading/ffmpeg.h"

namespace mediafoundation
{

struct StreamFormat
{
    GUID m_majorType = {};
    GUID m_subtype = {};
    AVCodecID m_codec = AV_CODEC_ID_NONE;

    // Video. The size is that of the pictures a decoder gives, not of the coded blocks.
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;
    std::uint32_t m_uiProfile = 0;  // H.264: profile_idc
    std::uint32_t m_uiLevel = 0;
    int m_nReorder = 0;           // see H264Parameters; 0 where only the decoder knows
    AVRational m_frameRate = {};  // 0/x if unknown
    AVRational m_pixelAspect = {1, 1};
    std::vector<std::uint8_t> m_configuration;  // the decoder's: avcC and the like

    // Audio
    std::uint32_t m_uiChannels = 0;
    std::uint32_t m_uiSampleRate = 0;
};

// The largest side of a picture that is opened.
inline constexpr std::uint32_t MAX_PICTURE_SIDE = 16384;

StreamFormat DescribeStream(const AVStream& stream);

}  // namespace mediafoundation
