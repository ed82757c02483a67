#include "mp4_outputfile/picturehandover.h"

#include "mp4_outputfile/colourconversion.h"

namespace
{

constexpr std::uint32_t g_uiBits = 8;
constexpr std::uint32_t g_uiBgrComponents = 3;
constexpr std::uint32_t g_uiYuy2Components = 2;
constexpr unsigned int g_uiStretchMode = 3;

// A host that goes on with a picture that was refused may hold fewer bytes than 24-bit pixels take.
bool HoldsBgrRows(const SQmImageAttributes& attributes)
{
    return attributes.m_uiWidthBytes >=
           SQmPicBufAPI_Base::CalcWidthBytes(attributes.m_uiWidth, g_uiBits, g_uiBgrComponents, 1);
}

}  // namespace

CPictureHandover::CPictureHandover() : m_picHandover{}, m_picPending{}, m_picPadded{}
{
    for (SQmPicBuf* pPicture : {&m_picHandover, &m_picPending, &m_picPadded})
    {
        SQmPicBufAPI_Base::Init(pPicture);
    }
    InitializeCriticalSection(&m_csPicture);
}

CPictureHandover::~CPictureHandover()
{
    Close();
}

QmStatus CPictureHandover::Open(const SQmImageAttributes& attrSource, const SQmImageAttributes& attrEncoded)
{
    if (m_bClosed || !HoldsBgrRows(attrSource)) return QM_ERR_FAIL;

    m_bPending = false;
    for (SQmPicBuf* pPicture : {&m_picPending, &m_picHandover})
    {
        SQmPicBufAPI_Base::Reinit(pPicture, attrEncoded.m_uiWidth, attrEncoded.m_uiHeight, 0, g_uiBits,
                                  g_uiYuy2Components, true);
        if (pPicture->m_pData == nullptr) return QM_ERR_FAIL;
    }

    m_uiSourceWidth = attrSource.m_uiWidth;
    m_uiSourceHeight = attrSource.m_uiHeight;
    SQmPicBufAPI_Base::Free(&m_picPadded);
    if (attrSource.m_uiWidth != attrEncoded.m_uiWidth || attrSource.m_uiHeight != attrEncoded.m_uiHeight)
    {
        // Zeroed, since what the source's pixels don't reach stays as it is.
        SQmPicBufAPI_Base::Reinit(&m_picPadded, attrEncoded.m_uiWidth, attrEncoded.m_uiHeight, 0, g_uiBits,
                                  g_uiBgrComponents, false);
        if (m_picPadded.m_pData == nullptr) return QM_ERR_FAIL;
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
    for (SQmPicBuf* pPicture : {&m_picHandover, &m_picPending, &m_picPadded})
    {
        SQmPicBufAPI_Base::Free(pPicture);
    }
}

void CPictureHandover::CloseEvents()
{
    for (HANDLE* pEvent : {&m_hFrameReady, &m_hFrameTaken, &m_hSessionStarted})
    {
        if (*pEvent != nullptr) CloseHandle(*pEvent);
        *pEvent = nullptr;
    }
}

QmStatus CPictureHandover::Shape(const void* pPixels, const SQmImageAttributes& attrSource, SQmPicBuf& picture)
{
    const bool bSameSize = attrSource.m_uiWidth == m_uiSourceWidth && attrSource.m_uiHeight == m_uiSourceHeight;
    if (!bSameSize || !HoldsBgrRows(attrSource)) return QM_ERR_FAIL;

    if (m_picPadded.m_pData != nullptr)
    {
        picture = m_picPadded;
        // The region has the source's own size, so nothing is resampled.
        return CQmPicMemAPI_Base::StretchDisplay(
            picture.m_pData, picture.m_uiWidth, picture.m_uiHeight, g_uiBgrComponents, picture.m_uiWidthBytes, g_uiBits,
            attrSource.m_uiWidth, attrSource.m_uiHeight, 0, 0, pPixels, attrSource.m_uiWidth, attrSource.m_uiHeight,
            attrSource.m_uiWidthBytes, g_uiStretchMode, false, false);
    }

    picture = SQmPicBuf{};
    picture.m_uiWidth = attrSource.m_uiWidth;
    picture.m_uiHeight = attrSource.m_uiHeight;
    picture.m_uiBits = g_uiBits;
    picture.m_uiComponents = g_uiBgrComponents;
    picture.m_uiWidthBytes =
        SQmPicBufAPI_Base::CalcWidthBytes(attrSource.m_uiWidth, g_uiBits, g_uiBgrComponents, sizeof(std::uint32_t));
    picture.m_uiSize = std::uint64_t{picture.m_uiWidthBytes} * picture.m_uiHeight;
    picture.m_pData = static_cast<unsigned char*>(const_cast<void*>(pPixels));  // read only
    return QM_OK;
}

void CPictureHandover::SetPending(const SQmPicBuf& picture)
{
    ConvertBgrToYuy2(m_picPending, picture);
    m_bPending = true;
}

void CPictureHandover::HandOver(bool bLast)
{
    EnterCriticalSection(&m_csPicture);
    SQmPicBufAPI_Base::Copy(&m_picHandover, &m_picPending);
    if (bLast) m_nEndOfStream = 1;
    LeaveCriticalSection(&m_csPicture);
    SetEvent(m_hFrameReady);
}

// The lock is not taken: a source that is stuck may hold it.
void CPictureHandover::EndStream()
{
    m_nEndOfStream = 1;
    SetEvent(m_hFrameReady);
}
