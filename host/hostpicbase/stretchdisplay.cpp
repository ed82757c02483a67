// Drawing a picture into a region of another one.
#include "hostapi/hostpicbase.h"

#include <cstring>
#include <new>

#include "host/hostpicbase/pixelform.h"
#include "host/hostpicbase/resample.h"

namespace
{

enum EStretchMode : std::uint32_t
{
    STRETCH_NEAREST = 0,
    STRETCH_LINEAR = 1,
    STRETCH_AREA = 2,
    STRETCH_SMOOTH = 3
};

// Positions along an axis are multiplied by sizes. Up to this size the products fit 64 bits.
constexpr std::uint32_t MAX_SIZE = 0x7FFFFFFF;

// Each axis by itself: a picture that gets wider and lower is interpolated horizontally and averaged vertically.
EResampling ChooseResampling(std::uint32_t uiMode, std::uint32_t uiSource, std::uint32_t uiTarget)
{
    switch (uiMode)
    {
    case STRETCH_NEAREST:
        return EResampling::Nearest;
    case STRETCH_LINEAR:
        return EResampling::Linear;
    case STRETCH_AREA:
        return EResampling::Area;
    default:
        return uiTarget < uiSource ? EResampling::Area : EResampling::Linear;
    }
}

}  // namespace

QmStatus CQmPicMemAPI_Base::StretchDisplay(void* pDst, std::uint32_t uiDstWidth, std::uint32_t uiDstHeight,
                                           std::uint32_t uiComponents, std::uint32_t uiDstWidthBytes,
                                           std::uint32_t uiBits, std::uint32_t uiDstRegionWidth,
                                           std::uint32_t uiDstRegionHeight, std::uint32_t uiLeft, std::uint32_t uiTop,
                                           const void* pSrc, std::uint32_t uiSrcWidth, std::uint32_t uiSrcHeight,
                                           std::uint32_t uiSrcWidthBytes, std::uint32_t uiMode, bool bMirror,
                                           bool bFlip)
{
    if (!IsPixelForm(uiBits, uiComponents) || uiMode > STRETCH_SMOOTH) return QM_ERR_RANGE;
    if (uiLeft > uiDstWidth || uiDstRegionWidth > uiDstWidth - uiLeft) return QM_ERR_RANGE;
    if (uiTop > uiDstHeight || uiDstRegionHeight > uiDstHeight - uiTop) return QM_ERR_RANGE;
    if (uiDstRegionWidth > MAX_SIZE || uiDstRegionHeight > MAX_SIZE) return QM_ERR_RANGE;
    if (uiSrcWidth > MAX_SIZE || uiSrcHeight > MAX_SIZE) return QM_ERR_RANGE;
    if (uiDstWidthBytes < RowBytes(uiDstWidth, uiBits, uiComponents)) return QM_ERR_RANGE;
    if (uiSrcWidthBytes < RowBytes(uiSrcWidth, uiBits, uiComponents)) return QM_ERR_RANGE;
    if (pDst == nullptr || pSrc == nullptr) return QM_ERR_FAIL;
    if (uiDstRegionWidth == 0 || uiDstRegionHeight == 0) return QM_OK;
    if (uiSrcWidth == 0 || uiSrcHeight == 0) return QM_ERR_RANGE;

    const std::size_t uiPixelBytes = uiComponents * BytesPerComponent(uiBits);
    const SPixelTarget target = {static_cast<unsigned char*>(pDst) + std::size_t{uiTop} * uiDstWidthBytes +
                                     uiLeft * uiPixelBytes,
                                 uiDstWidthBytes, uiBits, uiComponents};
    SPixelSource source = {static_cast<const unsigned char*>(pSrc), static_cast<std::ptrdiff_t>(uiPixelBytes),
                           static_cast<std::ptrdiff_t>(uiSrcWidthBytes)};
    if (bMirror)
    {
        source.m_pFirst += (uiSrcWidth - 1) * uiPixelBytes;
        source.m_nPixelStep = -source.m_nPixelStep;
    }
    if (bFlip)
    {
        source.m_pFirst += (uiSrcHeight - 1) * std::size_t{uiSrcWidthBytes};
        source.m_nRowStep = -source.m_nRowStep;
    }

    // A picture that only gets a margin is the usual case: each frame of an odd size does.
    if (uiDstRegionWidth == uiSrcWidth && uiDstRegionHeight == uiSrcHeight && !bMirror)
    {
        for (std::uint32_t y = 0; y < uiSrcHeight; ++y)
        {
            std::memcpy(target.m_pFirst + y * target.m_uiRowStep,
                        source.m_pFirst + static_cast<std::ptrdiff_t>(y) * source.m_nRowStep,
                        uiSrcWidth * uiPixelBytes);
        }
        return QM_OK;
    }

    try
    {
        const SAxisTaps columns =
            MakeAxisTaps(uiSrcWidth, uiDstRegionWidth, ChooseResampling(uiMode, uiSrcWidth, uiDstRegionWidth));
        const SAxisTaps rows =
            MakeAxisTaps(uiSrcHeight, uiDstRegionHeight, ChooseResampling(uiMode, uiSrcHeight, uiDstRegionHeight));
        ResamplePixels(target, source, columns, rows);
        return QM_OK;
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
}
