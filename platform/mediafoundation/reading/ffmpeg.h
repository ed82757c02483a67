// FFmpeg's libraries and an owner for each of their objects.
#pragma once

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace mediafoundation
{

struct FormatContextCloser
{
    void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
};
struct CodecContextFreer
{
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
};
struct PacketFreer
{
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct FrameFreer
{
    void operator()(AVFrame* p) const { av_frame_free(&p); }
};
struct ScalerFreer
{
    void operator()(SwsContext* p) const { sws_freeContext(p); }
};

using FormatContext = std::unique_ptr<AVFormatContext, FormatContextCloser>;
using CodecContext = std::unique_ptr<AVCodecContext, CodecContextFreer>;
using Packet = std::unique_ptr<AVPacket, PacketFreer>;
using Frame = std::unique_ptr<AVFrame, FrameFreer>;
using Scaler = std::unique_ptr<SwsContext, ScalerFreer>;

// Whether the picture consists of two fields. FFmpeg before 6.1 has a member for it, later versions a flag.
inline bool IsInterlaced(const AVFrame& frame)
{
#ifdef AV_FRAME_FLAG_INTERLACED
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
#else
    return frame.interlaced_frame != 0;
#endif
}

// Once per process: no messages of its own on stderr, and no single block of memory beyond what the largest picture
// needs, so that a number in a broken file can't ask for more.
void PrepareFfmpeg();

}  // namespace mediafoundation
