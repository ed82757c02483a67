// Resampling of whole pictures: the drawn region is the whole target.
#include "hostapi/hostpicture.h"

QmStatus CQmPicBufAPI::Stretch(SQmPicBuf* pDst, const SQmPicBuf* pSrc, unsigned int uiMode)
{
    if (pDst == nullptr || pSrc == nullptr || pDst->m_pData == nullptr || pSrc->m_pData == nullptr) return QM_ERR_FAIL;
    if (pDst->m_uiBits != pSrc->m_uiBits || pDst->m_uiComponents != pSrc->m_uiComponents) return QM_ERR_RANGE;
    if (pDst->m_pData == pSrc->m_pData) return QM_ERR_RANGE;
    return CQmPicMemAPI_Base::StretchDisplay(pDst->m_pData, pDst->m_uiWidth, pDst->m_uiHeight, pDst->m_uiComponents,
                                             pDst->m_uiWidthBytes, pDst->m_uiBits, pDst->m_uiWidth, pDst->m_uiHeight, 0,
                                             0, pSrc->m_pData, pSrc->m_uiWidth, pSrc->m_uiHeight, pSrc->m_uiWidthBytes,
                                             uiMode, false, false);
}
