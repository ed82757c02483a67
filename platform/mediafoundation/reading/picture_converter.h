// Decoded pictures as samples of a raw format.
#pragma once

#include <cstdint>
#include <vector>

#include "mfobjects.h"
#include "platform/mediafoundation/reading/ffmpeg.h"

namespace mediafoundation
{

enum class RawFormat
{
    Yuy2,  // rows of Yuy2Pitch(width) bytes
    Nv12,  // rows of width bytes; then rows of U, V pairs, half as many
    Rgb32  // rows of 4 x width bytes: B, G, R, 0
};

// Colours keep the matrix they were coded with. Samples are in the studio range (luma 16 to 235) and RGB is full;
// pictures coded in the full range are brought there. A picture of another size than the first is scaled to it: the
// sample's size never changes.
class PictureConverter
{
public:
    PictureConverter(RawFormat format, std::uint32_t uiWidth, std::uint32_t uiHeight);

    // Makes the sample of a picture; it stays until the next one. A failing status if the picture's format can't be
    // converted.
    HRESULT Convert(const AVFrame& frame);

    const std::uint8_t* Data() const { return m_sample.data(); }
    std::size_t Size() const { return m_sample.size(); }

private:
    struct ScalerKey
    {
        int m_nWidth = 0;
        int m_nHeight = 0;
        int m_nSource = AV_PIX_FMT_NONE;
        int m_nTarget = AV_PIX_FMT_NONE;
        int m_nMatrix = 0;
        bool m_bFullRange = false;
        bool operator==(const ScalerKey&) const = default;
    };

    HRESULT ToYuy2(const AVFrame& frame);
    void StoreYuy2(const AVFrame& planes, bool bHalfHeightChroma, bool bInterlaced);
    HRESULT ToTight(const AVFrame& frame, AVPixelFormat target);
    HRESULT Scale(const AVFrame& frame, AVPixelFormat target);
    HRESULT PrepareScaler(const AVFrame& frame, AVPixelFormat target);

    RawFormat m_format;
    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
    std::vector<std::uint8_t> m_sample;
    std::vector<std::uint8_t> m_greyRow;  // chroma of a picture that has none
    Scaler m_scaler;
    ScalerKey m_scalerKey;
    Frame m_scaled{av_frame_alloc()};
};

}  // namespace mediafoundation
