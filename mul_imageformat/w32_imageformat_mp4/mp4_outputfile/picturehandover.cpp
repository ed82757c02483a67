#include "mp4_outputfile/picturehandover.h"

#include <initializer_list>

#include "colour/colourconversion.h"
#include "common/criticalsection.h"

namespace
{

constexpr std::uint32_t g_uiBits = 8;
constexpr std::uint32_t g_uiBgrComponents = 3;
constexpr std::uint32_t g_uiYuy2Components = 2;
constexpr unsigned int g_uiStretchMode = 3;

}  // namespace

CEncodedPicture::CEncodedPicture() : m_picture{}, m_picPadded{}
{
    SQmPicBufAPI_Base::Init(&m_picPadded);
}

CEncodedPicture::~CEncodedPicture()
{
    SQmPicBufAPI_Base::Free(&m_picPadded);
}

QmStatus CEncodedPicture::Take(const void* pPixels, const SQmImageAttributes& attrSource,
                               const SQmImageAttributes& attrEncoded)
{
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
        m_picture.m_pData = static_cast<unsigned char*>(const_cast<void*>(pPixels));  // read only
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
        g_uiBits, attrSource.m_uiWidth, attrSource.m_uiHeight, 0, 0, pPixels, attrSource.m_uiWidth,
        attrSource.m_uiHeight, attrSource.m_uiWidthBytes, g_uiStretchMode, false, false);
    return nStatus == QM_OK ? QM_OK : QM_ERR_FAIL;
}

CPictureHandover::CPictureHandover() : m_picHandover{}, m_picPending{}
{
    SQmPicBufAPI_Base::Init(&m_picHandover);
    SQmPicBufAPI_Base::Init(&m_picPending);
    InitializeCriticalSection(&m_csPicture);
}

CPictureHandover::~CPictureHandover()
{
    Close();
}

QmStatus CPictureHandover::Open(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    if (m_bClosed) return QM_ERR_FAIL;

    m_bPending = false;
    for (SQmPicBuf* pPicture : {&m_picPending, &m_picHandover})
    {
        SQmPicBufAPI_Base::Reinit(pPicture, uiWidth, uiHeight, 0, g_uiBits, g_uiYuy2Components, true);
        if (pPicture->m_pData == nullptr) return QM_ERR_FAIL;
    }

    CloseEvents();
    for (HANDLE* pEvent : {&m_hFrameReady, &m_hFrameTaken, &m_hSessionStarted})
    {
        *pEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (*pEvent == nullptr) return QM_ERR_FAIL;
    }
    return QM_OK;
}

void CPictureHandover::Close()
{
    if (m_bClosed) return;
    m_bClosed = true;
    m_bPending = false;
    CloseEvents();
    DeleteCriticalSection(&m_csPicture);
    SQmPicBufAPI_Base::Free(&m_picHandover);
    SQmPicBufAPI_Base::Free(&m_picPending);
}

void CPictureHandover::CloseEvents()
{
    for (HANDLE* pEvent : {&m_hFrameReady, &m_hFrameTaken, &m_hSessionStarted})
    {
        if (*pEvent != nullptr) CloseHandle(*pEvent);
        *pEvent = nullptr;
    }
}

void CPictureHandover::SetPending(const SQmPicBuf& picture)
{
    ConvertBgrToYuy2(m_picPending, picture);
    m_bPending = true;
}

void CPictureHandover::HandOver(bool bLast)
{
    {
        const CSectionLock lock(&m_csPicture);
        SQmPicBufAPI_Base::Copy(&m_picHandover, &m_picPending);  // of one shape, which can't fail
        if (bLast) m_nEndOfStream = 1;
    }
    WakeSource();
}

// The lock is not taken: a source that is stuck may hold it.
void CPictureHandover::EndStream()
{
    m_nEndOfStream = 1;
    WakeSource();
}

void CPictureHandover::WakeSource()
{
    SetEvent(m_hFrameReady);
}
