#include "mp4_outputfile/rawpicture.h"

namespace
{

constexpr std::uint32_t g_uiBits = 8;
constexpr std::uint32_t g_uiBgrComponents = 3;
constexpr unsigned int g_uiStretchMode = 3;

}  // namespace

CRawPicture::CRawPicture() : m_picture{}, m_picPadded{}
{
    SQmPicBufAPI_Base::Init(&m_picPadded);
}

CRawPicture::~CRawPicture()
{
    SQmPicBufAPI_Base::Free(&m_picPadded);
}

QmStatus CRawPicture::Take(const SHostPicture& picture)
{
    const SQmImageAttributes& attrSource = picture.m_attrSource;
    const SQmImageAttributes& attrEncoded = picture.m_attrEncoded;
    if (attrSource.m_uiWidth == attrEncoded.m_uiWidth && attrSource.m_uiHeight == attrEncoded.m_uiHeight)
    {
        m_picture = SQmPicBuf{};
        m_picture.m_uiWidth = attrSource.m_uiWidth;
        m_picture.m_uiHeight = attrSource.m_uiHeight;
        m_picture.m_uiBits = g_uiBits;
        m_picture.m_uiComponents = g_uiBgrComponents;
        m_picture.m_uiWidthBytes =
            SQmPicBufAPI_Base::CalcWidthBytes(attrSource.m_uiWidth, g_uiBits, g_uiBgrComponents, sizeof(std::uint32_t));
        m_picture.m_uiSize = std::uint64_t{m_picture.m_uiWidthBytes} * m_picture.m_uiHeight;
        m_picture.m_pData = static_cast<unsigned char*>(const_cast<void*>(picture.m_pPixels));  // read only
        return QM_OK;
    }

    // Zeroed, since what the source's pixels don't reach stays as it is.
    SQmPicBufAPI_Base::Reinit(&m_picPadded, attrEncoded.m_uiWidth, attrEncoded.m_uiHeight, 0, g_uiBits,
                              g_uiBgrComponents, false);
    if (m_picPadded.m_pData == nullptr) return QM_ERR_FAIL;
    m_picture = m_picPadded;
    // The region has the source's own size, so nothing is resampled.
    const QmStatus nStatus = CQmPicMemAPI_Base::StretchDisplay(
        m_picture.m_pData, m_picture.m_uiWidth, m_picture.m_uiHeight, g_uiBgrComponents, m_picture.m_uiWidthBytes,
        g_uiBits, attrSource.m_uiWidth, attrSource.m_uiHeight, 0, 0, picture.m_pPixels, attrSource.m_uiWidth,
        attrSource.m_uiHeight, attrSource.m_uiWidthBytes, g_uiStretchMode, false, false);
    return nStatus == QM_OK ? QM_OK : QM_ERR_FAIL;
}
