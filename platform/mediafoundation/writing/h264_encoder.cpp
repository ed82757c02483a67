#include "platform/mediafoundation/writing/h264_encoder.h"

#include "mferror.h"
#include "platform/mediafoundation/writing/yuy2_planes.h"

extern "C"
{
#include <libavutil/opt.h>
}

namespace mediafoundation
{
namespace
{

const AVCodec* FindEncoder()
{
    return avcodec_find_encoder_by_name("libx264");
}

HRESULT StatusOf(int nError)
{
    return nError == AVERROR(ENOMEM) ? E_OUTOFMEMORY : E_FAIL;
}

}  // namespace

bool H264Encoder::IsAvailable()
{
    return FindEncoder() != nullptr;
}

HRESULT H264Encoder::Create(const EncoderSettings& settings, std::unique_ptr<H264Encoder>* ppEncoder)
{
    PrepareFfmpeg();
    std::unique_ptr<H264Encoder> encoder(new H264Encoder(settings));
    const HRESULT hr = encoder->Open();
    if (SUCCEEDED(hr)) *ppEncoder = std::move(encoder);
    return hr;
}

HRESULT H264Encoder::Open()
{
    const AVCodec* pCodec = FindEncoder();
    if (pCodec == nullptr) return MF_E_TOPO_CODEC_NOT_FOUND;
    m_context = CodecContext(avcodec_alloc_context3(pCodec));
    m_frame = Frame(av_frame_alloc());
    m_packet = Packet(av_packet_alloc());
    if (!m_context || !m_frame || !m_packet) return E_OUTOFMEMORY;

    m_context->width = static_cast<int>(m_settings.m_uiWidth);
    m_context->height = static_cast<int>(m_settings.m_uiHeight);
    m_context->pix_fmt = AV_PIX_FMT_YUV420P;
    m_context->time_base = {static_cast<int>(m_settings.m_uiRateDenominator),
                            static_cast<int>(m_settings.m_uiRateNumerator)};
    m_context->framerate = av_inv_q(m_context->time_base);
    m_context->gop_size = KeyDistanceOf(m_settings);
    m_context->max_b_frames = m_settings.m_uiProfile == 66 ? 0 : static_cast<int>(m_settings.m_uiBPictures);
    m_context->qmin = static_cast<int>(std::min(m_settings.m_uiMinQp, m_settings.m_uiMaxQp));
    m_context->qmax = static_cast<int>(m_settings.m_uiMaxQp);
    m_context->thread_count = static_cast<int>(m_settings.m_uiThreads);

    void* pOptions = m_context->priv_data;
    int nError = av_opt_set(pOptions, "preset", PresetOf(m_settings.m_uiQualityVsSpeed).c_str(), 0);
    if (nError >= 0) nError = av_opt_set(pOptions, "profile", ProfileNameOf(m_settings.m_uiProfile).c_str(), 0);
    const std::string parameters = ProfileParametersOf(m_settings.m_uiProfile);
    if (nError >= 0 && !parameters.empty()) nError = av_opt_set(pOptions, "x264-params", parameters.c_str(), 0);
    if (m_settings.m_rateControl == EncoderSettings::RateControl::Quality)
    {
        if (nError >= 0) nError = av_opt_set_double(pOptions, "crf", RateFactorOf(m_settings.m_uiQuality), 0);
    }
    else
    {
        m_context->bit_rate = m_settings.m_uiBitRate;
    }
    if (nError < 0) return StatusOf(nError);

    nError = avcodec_open2(m_context.get(), pCodec, nullptr);
    if (nError == AVERROR(ENOMEM)) return E_OUTOFMEMORY;
    if (nError < 0) return MF_E_INVALIDMEDIATYPE;

    m_frame->format = m_context->pix_fmt;
    m_frame->width = m_context->width;
    m_frame->height = m_context->height;
    nError = av_frame_get_buffer(m_frame.get(), 0);
    return nError < 0 ? StatusOf(nError) : S_OK;
}

HRESULT H264Encoder::Encode(const std::uint8_t* pYuy2, const PictureTimes& times, std::vector<EncodedPicture>* pEncoded)
{
    const int nError = av_frame_make_writable(m_frame.get());
    if (nError < 0) return StatusOf(nError);
    const Planes planes = {{m_frame->data[0], m_frame->data[1], m_frame->data[2]},
                           {m_frame->linesize[0], m_frame->linesize[1], m_frame->linesize[2]}};
    Yuy2ToPlanes(pYuy2, m_settings.m_uiWidth, m_settings.m_uiHeight, planes);
    m_frame->pts = m_nNext;
    m_pending[m_nNext] = times;
    ++m_nNext;
    return Send(m_frame.get(), pEncoded);
}

HRESULT H264Encoder::Drain(std::vector<EncodedPicture>* pEncoded)
{
    return Send(nullptr, pEncoded);
}

HRESULT H264Encoder::Send(const AVFrame* pFrame, std::vector<EncodedPicture>* pEncoded)
{
    int nError = avcodec_send_frame(m_context.get(), pFrame);
    HRESULT hr = S_OK;
    while (nError >= 0 && SUCCEEDED(hr))
    {
        nError = avcodec_receive_packet(m_context.get(), m_packet.get());
        if (nError >= 0)
        {
            hr = Append(*m_packet, pEncoded);
            av_packet_unref(m_packet.get());
        }
    }
    if (FAILED(hr)) return hr;
    return nError == AVERROR(EAGAIN) || nError == AVERROR_EOF ? S_OK : StatusOf(nError);
}

HRESULT H264Encoder::Append(const AVPacket& packet, std::vector<EncodedPicture>* pEncoded)
{
    const auto it = m_pending.find(packet.pts);
    if (it == m_pending.end()) return E_UNEXPECTED;
    EncodedPicture picture;
    picture.m_bytes.assign(packet.data, packet.data + packet.size);
    picture.m_times = it->second;
    picture.m_bKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    m_pending.erase(it);
    pEncoded->push_back(std::move(picture));
    return S_OK;
}

}  // namespace mediafoundation
