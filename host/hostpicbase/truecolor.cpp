// Pictures for a display: 24 bits, B, G, R.
#include "hostapi/hostpicbase.h"

#include <algorithm>

#include "host/hostpicbase/pixelform.h"

namespace
{

constexpr std::uint32_t COLORS = 3;

// One component for all three colours, or the first three components for one colour each. A fourth is no colour.
struct SRowForm
{
    std::size_t m_uiPixelStep;                // components from pixel to pixel
    std::size_t m_auiComponent[COLORS];       // the one that makes each colour
    const unsigned char* m_apTables[COLORS];  // and its table
    std::uint32_t m_uiMax;                    // the last value in the tables
};

template <typename TComponent>
void ConvertRow(unsigned char* pDst, const unsigned char* pSrc, std::uint64_t uiPixels, const SRowForm& form)
{
    for (std::uint64_t x = 0; x < uiPixels; ++x)
    {
        for (std::uint32_t c = 0; c < COLORS; ++c)
        {
            const std::uint32_t uiValue = LoadComponent<TComponent>(pSrc, form.m_auiComponent[c]);
            *pDst++ = form.m_apTables[c][std::min(uiValue, form.m_uiMax)];
        }
        pSrc += form.m_uiPixelStep * sizeof(TComponent);
    }
}

}  // namespace

QmStatus CQmPicMemAPI_Base::ConvertToTrueColor(void* pDst, std::uint32_t uiDstWidthBytes, const void* pSrc,
                                               std::uint32_t uiComponents, std::uint32_t uiBits,
                                               std::uint32_t uiSrcWidthBytes, std::uint32_t uiWidth,
                                               std::uint64_t uiPixelCount, const SQmLut* pLut)
{
    if (pDst == nullptr || pSrc == nullptr || pLut == nullptr || pLut->m_pTables == nullptr) return QM_ERR_FAIL;
    if (!IsPixelForm(uiBits, uiComponents) || uiComponents == 2) return QM_ERR_RANGE;
    const std::uint32_t uiTables = uiComponents == 1 ? 1 : COLORS;
    if (pLut->m_uiBits != uiBits || pLut->m_uiComponents < uiTables) return QM_ERR_RANGE;
    if (uiDstWidthBytes < std::uint64_t{uiWidth} * COLORS) return QM_ERR_RANGE;
    if (uiSrcWidthBytes < RowBytes(uiWidth, uiBits, uiComponents)) return QM_ERR_RANGE;
    if (uiWidth == 0 && uiPixelCount != 0) return QM_ERR_RANGE;

    const std::size_t uiTableSize = std::size_t{MaxComponentValue(uiBits)} + 1;
    SRowForm form = {uiComponents, {}, {}, MaxComponentValue(uiBits)};
    for (std::uint32_t c = 0; c < COLORS; ++c)
    {
        form.m_auiComponent[c] = std::min(c, uiTables - 1);
        form.m_apTables[c] = pLut->m_pTables + form.m_auiComponent[c] * uiTableSize;
    }
    const auto pfnConvertRow = BytesPerComponent(uiBits) == 1 ? ConvertRow<std::uint8_t> : ConvertRow<std::uint16_t>;
    std::uint64_t uiLeft = uiPixelCount;
    for (std::uint64_t y = 0; uiLeft != 0; ++y)
    {
        const std::uint64_t uiPixels = std::min<std::uint64_t>(uiLeft, uiWidth);  // the last row may be short
        pfnConvertRow(static_cast<unsigned char*>(pDst) + y * uiDstWidthBytes,
                      static_cast<const unsigned char*>(pSrc) + y * uiSrcWidthBytes, uiPixels, form);
        uiLeft -= uiPixels;
    }
    return QM_OK;
}
