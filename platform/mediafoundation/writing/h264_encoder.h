// YUY2 pictures to H.264, by libavcodec's x264.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/mediafoundation/reading/ffmpeg.h"
#include "platform/mediafoundation/writing/encoder_settings.h"
#include "winerror.h"

namespace mediafoundation
{

struct PictureTimes
{
    std::int64_t m_nTime = 0;  // both in 100 ns
    std::int64_t m_nDuration = 0;
};

// One picture with start codes. The first one and every other key picture have the parameter sets before them.
struct EncodedPicture
{
    std::vector<std::uint8_t> m_bytes;
    PictureTimes m_times;
    bool m_bKey = false;
};

// One caller at a time. Pictures are presented in the order in which they come. Their times don't matter to the
// encoder, which counts the pictures, so times may be equal.
class H264Encoder
{
public:
    // Whether there is an encoder at all.
    static bool IsAvailable();

    // MF_E_INVALIDMEDIATYPE for settings that x264 refuses.
    static HRESULT Create(const EncoderSettings& settings, std::unique_ptr<H264Encoder>* ppEncoder);

    // pYuy2 has rows without gaps between them. What can be encoded by now is appended to *pEncoded, in decoding order.
    HRESULT Encode(const std::uint8_t* pYuy2, const PictureTimes& times, std::vector<EncodedPicture>* pEncoded);

    // Appends all that is left. Nothing may be encoded afterwards.
    HRESULT Drain(std::vector<EncodedPicture>* pEncoded);

private:
    explicit H264Encoder(const EncoderSettings& settings) : m_settings(settings) {}
    HRESULT Open();
    HRESULT Send(const AVFrame* pFrame, std::vector<EncodedPicture>* pEncoded);
    HRESULT Append(const AVPacket& packet, std::vector<EncodedPicture>* pEncoded);

    const EncoderSettings m_settings;
    CodecContext m_context;
    Frame m_frame;
    Packet m_packet;
    std::int64_t m_nNext = 0;                        // the number of the next picture
    std::map<std::int64_t, PictureTimes> m_pending;  // times of pictures inside the encoder, by number
};

}  // namespace mediafoundation
