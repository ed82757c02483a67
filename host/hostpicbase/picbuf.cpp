// Picture buffers.
#include "hostapi/hostpicbase.h"

#include <cstring>

#include "host/hostpicbase/pixelblocks.h"
#include "host/hostpicbase/pixelform.h"

namespace
{

// No process has this much address space. A larger shape is a mistake, not a lack of memory.
constexpr std::uint64_t MAX_BLOCK_SIZE = std::uint64_t{1} << 47;

}  // namespace

QmStatus SQmPicBufAPI_Base::Init(SQmPicBuf* pPic)
{
    if (pPic == nullptr) return QM_ERR_FAIL;
    *pPic = SQmPicBuf{};
    return QM_OK;
}

QmStatus SQmPicBufAPI_Base::Reinit(SQmPicBuf* pPic, std::uint32_t uiWidth, std::uint32_t uiHeight,
                                   std::uint32_t uiPitch, std::uint32_t uiBits, std::uint32_t uiComponents,
                                   bool bScratch)
{
    if (pPic == nullptr) return QM_ERR_FAIL;
    FreePixels(pPic->m_pData);
    // A caller that doesn't check the status finds a picture without rows, not rows without pixels.
    *pPic = SQmPicBuf{};
    if (!IsPixelForm(uiBits, uiComponents)) return QM_ERR_RANGE;

    const std::uint32_t uiWidthBytes = uiPitch != 0 ? uiPitch : CalcWidthBytes(uiWidth, uiBits, uiComponents, 4);
    if (uiWidthBytes < RowBytes(uiWidth, uiBits, uiComponents)) return QM_ERR_FAIL;
    const std::uint64_t uiSize = std::uint64_t{uiWidthBytes} * uiHeight;  // two 32-bit numbers: can't wrap
    if (uiSize > MAX_BLOCK_SIZE) return QM_ERR_FAIL;

    unsigned char* pPixels = AllocatePixels(static_cast<std::size_t>(uiSize), !bScratch);
    if (pPixels == nullptr) return QM_ERR_FAIL;
    pPic->m_uiWidth = uiWidth;
    pPic->m_uiHeight = uiHeight;
    pPic->m_uiWidthBytes = uiWidthBytes;
    pPic->m_uiBits = static_cast<std::uint8_t>(uiBits);
    pPic->m_uiComponents = uiComponents;
    pPic->m_uiSize = uiSize;
    pPic->m_pData = pPixels;
    return QM_OK;
}

QmStatus SQmPicBufAPI_Base::Free(SQmPicBuf* pPic)
{
    if (pPic == nullptr) return QM_ERR_FAIL;
    FreePixels(pPic->m_pData);
    pPic->m_pData = nullptr;
    pPic->m_uiSize = 0;
    return QM_OK;
}

QmStatus SQmPicBufAPI_Base::Copy(SQmPicBuf* pDst, const SQmPicBuf* pSrc)
{
    if (pDst == nullptr || pSrc == nullptr || pDst->m_pData == nullptr || pSrc->m_pData == nullptr) return QM_ERR_FAIL;
    if (pDst->m_uiWidth != pSrc->m_uiWidth || pDst->m_uiHeight != pSrc->m_uiHeight ||
        pDst->m_uiBits != pSrc->m_uiBits || pDst->m_uiComponents != pSrc->m_uiComponents)
    {
        return QM_ERR_RANGE;
    }
    const std::uint64_t uiRowBytes = RowBytes(pSrc->m_uiWidth, pSrc->m_uiBits, pSrc->m_uiComponents);
    if (pDst->m_uiWidthBytes < uiRowBytes || pSrc->m_uiWidthBytes < uiRowBytes) return QM_ERR_RANGE;
    if (pDst->m_pData == pSrc->m_pData) return QM_OK;
    for (std::size_t y = 0; y < pSrc->m_uiHeight; ++y)
    {
        std::memcpy(pDst->m_pData + y * pDst->m_uiWidthBytes, pSrc->m_pData + y * pSrc->m_uiWidthBytes,
                    static_cast<std::size_t>(uiRowBytes));
    }
    return QM_OK;
}

std::uint32_t SQmPicBufAPI_Base::CalcWidthBytes(std::uint32_t uiWidth, std::uint32_t uiBits, std::uint32_t uiComponents,
                                                std::uint32_t uiAlignment)
{
    if (!IsPixelForm(uiBits, uiComponents) || uiAlignment == 0) return 0;
    const std::uint64_t uiMask = std::uint64_t{uiAlignment} - 1;
    const std::uint64_t uiWidthBytes = (RowBytes(uiWidth, uiBits, uiComponents) + uiMask) & ~uiMask;
    return uiWidthBytes <= UINT32_MAX ? static_cast<std::uint32_t>(uiWidthBytes) : 0;
}
