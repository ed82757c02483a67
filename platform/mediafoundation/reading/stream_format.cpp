#include "platform/mediafoundation/reading/stream_format.h"

#include <algorithm>

#include "mfapi.h"
#include "platform/mediafoundation/reading/h264_parameters.h"

namespace mediafoundation
{
namespace
{

constexpr std::uint32_t MACROBLOCK = 16;

GUID FromFormatNumber(std::uint32_t uiNumber)
{
    GUID guid = MFVideoFormat_Base;
    guid.Data1 = uiNumber;
    return guid;
}

GUID VideoSubtype(const AVCodecParameters& parameters)
{
    switch (parameters.codec_id)
    {
    case AV_CODEC_ID_H264:
        return MFVideoFormat_H264;
    case AV_CODEC_ID_HEVC:
        return MFVideoFormat_HEVC;
    case AV_CODEC_ID_MPEG4:
        return MFVideoFormat_MP4V;
    case AV_CODEC_ID_MPEG2VIDEO:
        return MFVideoFormat_MPEG2;
    case AV_CODEC_ID_VC1:
        return MFVideoFormat_WVC1;
    case AV_CODEC_ID_WMV3:
        return MFVideoFormat_WMV3;
    case AV_CODEC_ID_MJPEG:
        return MFVideoFormat_MJPG;
    case AV_CODEC_ID_VP8:
        return MFVideoFormat_VP80;
    case AV_CODEC_ID_VP9:
        return MFVideoFormat_VP90;
    case AV_CODEC_ID_AV1:
        return MFVideoFormat_AV1;
    default:
        return FromFormatNumber(parameters.codec_tag);
    }
}

GUID AudioSubtype(const AVCodecParameters& parameters)
{
    switch (parameters.codec_id)
    {
    case AV_CODEC_ID_AAC:
        return MFAudioFormat_AAC;
    case AV_CODEC_ID_MP3:
        return MFAudioFormat_MP3;
    default:
        return FromFormatNumber(parameters.codec_tag);
    }
}

std::uint32_t RoundUp(std::uint32_t uiValue, std::uint32_t uiStep)
{
    return (uiValue + uiStep - 1) / uiStep * uiStep;
}

// The parameter set's size is what the decoder gives, except that a container may crop further within the last row
// and column of blocks. The decoder follows that rule, and so the announced size does.
void ApplyH264Parameters(const H264Parameters& parameters, StreamFormat& format)
{
    const bool bContainerCrops = format.m_uiWidth > 0 && format.m_uiHeight > 0 && !parameters.m_bCroppedAtTopLeft &&
                                 RoundUp(format.m_uiWidth, MACROBLOCK) == RoundUp(parameters.m_uiWidth, MACROBLOCK) &&
                                 RoundUp(format.m_uiHeight, MACROBLOCK) == RoundUp(parameters.m_uiHeight, MACROBLOCK) &&
                                 format.m_uiWidth <= parameters.m_uiWidth && format.m_uiHeight <= parameters.m_uiHeight;
    if (!bContainerCrops)
    {
        format.m_uiWidth = parameters.m_uiWidth;
        format.m_uiHeight = parameters.m_uiHeight;
    }
    format.m_uiProfile = parameters.m_uiProfile;
    format.m_uiLevel = parameters.m_uiLevel;
    format.m_nReorder = parameters.m_nReorder;
}

void DescribeVideo(const AVStream& stream, StreamFormat& format)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    format.m_majorType = MFMediaType_Video;
    format.m_subtype = VideoSubtype(parameters);
    format.m_uiWidth = static_cast<std::uint32_t>(std::max(parameters.width, 0));
    format.m_uiHeight = static_cast<std::uint32_t>(std::max(parameters.height, 0));
    if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0)
    {
        format.m_frameRate = stream.avg_frame_rate;
    }
    if (stream.sample_aspect_ratio.num > 0 && stream.sample_aspect_ratio.den > 0)
    {
        format.m_pixelAspect = stream.sample_aspect_ratio;
    }
    if (parameters.codec_id == AV_CODEC_ID_H264)
    {
        const std::vector<std::uint8_t> sps =
            FindSequenceParameterSet(parameters.extradata, static_cast<std::size_t>(parameters.extradata_size));
        if (const auto told = ParseSequenceParameterSet(sps.data(), sps.size()))
        {
            ApplyH264Parameters(*told, format);
        }
        else if (parameters.profile > 0)
        {
            format.m_uiProfile = static_cast<std::uint32_t>(parameters.profile) & 0xff;
        }
    }
}

}  // namespace

StreamFormat DescribeStream(const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    StreamFormat format;
    format.m_codec = parameters.codec_id;
    if (parameters.extradata_size > 0)
    {
        format.m_configuration.assign(parameters.extradata, parameters.extradata + parameters.extradata_size);
    }
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
    {
        DescribeVideo(stream, format);
    }
    else if (parameters.codec_type == AVMEDIA_TYPE_AUDIO)
    {
        format.m_majorType = MFMediaType_Audio;
        format.m_subtype = AudioSubtype(parameters);
        format.m_uiChannels = static_cast<std::uint32_t>(std::max(parameters.ch_layout.nb_channels, 0));
        format.m_uiSampleRate = static_cast<std::uint32_t>(std::max(parameters.sample_rate, 0));
    }
    else
    {
        format.m_majorType = MFMediaType_Binary;
        format.m_subtype = FromFormatNumber(parameters.codec_tag);
    }
    return format;
}

}  // namespace mediafoundation
