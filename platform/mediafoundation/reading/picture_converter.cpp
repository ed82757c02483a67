#include "platform/mediafoundation/reading/picture_converter.h"

extern "C"
{
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include "mferror.h"
#include "platform/mediafoundation/reading/yuy2_rows.h"

namespace mediafoundation
{
namespace
{

constexpr std::uint8_t NO_CHROMA = 128;

std::size_t SampleSize(RawFormat format, std::size_t uiWidth, std::size_t uiHeight)
{
    switch (format)
    {
    case RawFormat::Yuy2:
        return Yuy2Pitch(uiWidth) * uiHeight;
    case RawFormat::Nv12:
        return uiWidth * uiHeight + 2 * ((uiWidth + 1) / 2) * ((uiHeight + 1) / 2);
    case RawFormat::Rgb32:
        return 4 * uiWidth * uiHeight;
    }
    return 0;
}

bool IsFullRange(const AVFrame& frame)
{
    switch (frame.format)
    {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

// The 8-bit planar format from which YUY2 is interleaved: the one that keeps the picture's own chroma rows.
AVPixelFormat PlanarFormat(AVPixelFormat format)
{
    const AVPixFmtDescriptor* pDescriptor = av_pix_fmt_desc_get(format);
    if (pDescriptor == nullptr || (pDescriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0) return AV_PIX_FMT_YUV422P;
    if (pDescriptor->nb_components < 3) return AV_PIX_FMT_GRAY8;
    return pDescriptor->log2_chroma_h == 1 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV422P;
}

}  // namespace

PictureConverter::PictureConverter(RawFormat format, std::uint32_t uiWidth, std::uint32_t uiHeight)
    : m_format(format),
      m_uiWidth(uiWidth),
      m_uiHeight(uiHeight),
      m_sample(SampleSize(format, uiWidth, uiHeight)),
      m_greyRow((uiWidth + 1) / 2, NO_CHROMA)
{}

HRESULT PictureConverter::Convert(const AVFrame& frame)
{
    if (frame.width <= 0 || frame.height <= 0 || frame.format < 0) return MF_E_INVALID_STREAM_DATA;
    switch (m_format)
    {
    case RawFormat::Yuy2:
        return ToYuy2(frame);
    case RawFormat::Nv12:
        return ToTight(frame, AV_PIX_FMT_NV12);
    case RawFormat::Rgb32:
        return ToTight(frame, AV_PIX_FMT_BGR0);
    }
    return MF_E_INVALIDMEDIATYPE;
}

HRESULT PictureConverter::ToYuy2(const AVFrame& frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixelFormat planar = PlanarFormat(format);
    const bool bAsItIs = format == planar && !IsFullRange(frame) &&
                         static_cast<std::uint32_t>(frame.width) == m_uiWidth &&
                         static_cast<std::uint32_t>(frame.height) == m_uiHeight;
    const bool bHalfHeight = planar == AV_PIX_FMT_YUV420P;
    if (bAsItIs)
    {
        StoreYuy2(frame, bHalfHeight, IsInterlaced(frame));
        return S_OK;
    }
    const HRESULT hr = Scale(frame, planar);
    if (FAILED(hr)) return hr;
    const bool bSameHeight = static_cast<std::uint32_t>(frame.height) == m_uiHeight;
    StoreYuy2(*m_scaled, bHalfHeight, IsInterlaced(frame) && bSameHeight);
    return S_OK;
}

// A chroma row serves the luma rows it was sampled for: two neighbours, or, in a picture of two fields, two neighbours
// of the same field.
void PictureConverter::StoreYuy2(const AVFrame& planes, bool bHalfHeightChroma, bool bInterlaced)
{
    const std::size_t uiPitch = Yuy2Pitch(m_uiWidth);
    const bool bGrey = planes.data[1] == nullptr;
    const std::uint32_t uiChromaRows = bHalfHeightChroma ? (m_uiHeight + 1) / 2 : m_uiHeight;
    for (std::uint32_t y = 0; y < m_uiHeight; ++y)
    {
        std::uint32_t uiChroma = y;
        if (bHalfHeightChroma)
        {
            uiChroma = bInterlaced ? (y / 4) * 2 + y % 2 : y / 2;
            uiChroma = uiChroma < uiChromaRows ? uiChroma : uiChromaRows - 1;
        }
        const auto row = [&planes](int nPlane, std::uint32_t uiRow) {
            return planes.data[nPlane] + static_cast<std::ptrdiff_t>(uiRow) * planes.linesize[nPlane];
        };
        InterleaveYuy2(m_sample.data() + y * uiPitch, row(0, y), bGrey ? m_greyRow.data() : row(1, uiChroma),
                       bGrey ? m_greyRow.data() : row(2, uiChroma), m_uiWidth);
    }
}

// Scales into a frame of its own, whose rows are padded: the scaler may write past the end of a row.
HRESULT PictureConverter::Scale(const AVFrame& frame, AVPixelFormat target)
{
    if (!m_scaled) return E_OUTOFMEMORY;
    if (m_scaled->format != target)
    {
        av_frame_unref(m_scaled.get());
        m_scaled->format = target;
        m_scaled->width = static_cast<int>(m_uiWidth);
        m_scaled->height = static_cast<int>(m_uiHeight);
        if (av_frame_get_buffer(m_scaled.get(), 0) < 0)
        {
            av_frame_unref(m_scaled.get());
            return E_OUTOFMEMORY;
        }
    }
    const HRESULT hr = PrepareScaler(frame, target);
    if (FAILED(hr)) return hr;
    const int nRows =
        sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height, m_scaled->data, m_scaled->linesize);
    return nRows == static_cast<int>(m_uiHeight) ? S_OK : MF_E_INVALID_STREAM_DATA;
}

HRESULT PictureConverter::PrepareScaler(const AVFrame& frame, AVPixelFormat target)
{
    const ScalerKey key = {frame.width, frame.height, frame.format, target, frame.colorspace, IsFullRange(frame)};
    if (m_scaler && key == m_scalerKey) return S_OK;

    m_scaler.reset(sws_alloc_context());
    if (!m_scaler) return E_OUTOFMEMORY;
    SwsContext* pScaler = m_scaler.get();
    const int nFullRange = key.m_bFullRange ? 1 : 0;
    av_opt_set_int(pScaler, "srcw", frame.width, 0);
    av_opt_set_int(pScaler, "srch", frame.height, 0);
    av_opt_set_int(pScaler, "src_format", frame.format, 0);
    av_opt_set_int(pScaler, "dstw", m_uiWidth, 0);
    av_opt_set_int(pScaler, "dsth", m_uiHeight, 0);
    av_opt_set_int(pScaler, "dst_format", target, 0);
    // The ranges have to be set before the scaler chooses its method, or equal formats are copied as they are.
    av_opt_set_int(pScaler, "src_range", nFullRange, 0);
    av_opt_set_int(pScaler, "dst_range", 0, 0);
    av_opt_set_int(pScaler, "sws_flags", SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, 0);
    if (sws_init_context(pScaler, nullptr, nullptr) < 0)
    {
        m_scaler.reset();
        return MF_E_INVALIDMEDIATYPE;
    }
    // The same matrix on both sides; it matters only where RGB is on one of them.
    const int nMatrix = frame.colorspace == AVCOL_SPC_UNSPECIFIED ? SWS_CS_DEFAULT : static_cast<int>(frame.colorspace);
    const int* pCoefficients = sws_getCoefficients(nMatrix);
    constexpr int UNITY = 1 << 16;
    (void)sws_setColorspaceDetails(pScaler, pCoefficients, nFullRange, pCoefficients, 0, 0, UNITY, UNITY);
    m_scalerKey = key;
    return S_OK;
}

// The scaled frame's rows, one plane after the other without padding.
HRESULT PictureConverter::ToTight(const AVFrame& frame, AVPixelFormat target)
{
    const HRESULT hr = Scale(frame, target);
    if (FAILED(hr)) return hr;
    const int nCopied =
        av_image_copy_to_buffer(m_sample.data(), static_cast<int>(m_sample.size()), m_scaled->data, m_scaled->linesize,
                                target, static_cast<int>(m_uiWidth), static_cast<int>(m_uiHeight), 1);
    return nCopied == static_cast<int>(m_sample.size()) ? S_OK : MF_E_UNEXPECTED;
}

}  // namespace mediafoundation
