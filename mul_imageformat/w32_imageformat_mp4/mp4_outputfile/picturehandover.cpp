#include "mp4_outputfile/picturehandover.h"

#include <initializer_list>

#include "colour/colourconversion.h"
#include "common/criticalsection.h"

namespace
{

constexpr std::uint32_t g_uiBits = 8;
constexpr std::uint32_t g_uiYuy2Components = 2;

}  // namespace

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
    for (HANDLE* pEvent : {&m_hFrameReady, &m_hFrameTaken, &m_hSourceStarted, &m_hSessionStarted})
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
    for (HANDLE* pEvent : {&m_hFrameReady, &m_hFrameTaken, &m_hSourceStarted, &m_hSessionStarted})
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

void CPictureHandover::HandOver(double dSampleTime, bool bLast)
{
    {
        const CSectionLock lock(&m_csPicture);
        SQmPicBufAPI_Base::Copy(&m_picHandover, &m_picPending);  // of one shape, which can't fail
        m_dSampleTime = dSampleTime;
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
