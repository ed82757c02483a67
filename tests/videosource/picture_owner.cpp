#include "picture_owner.h"

#include <algorithm>

CPictureOwner::CPictureOwner()
    : m_hFrameReady(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_hFrameTaken(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_vPicture(PICTURE_BYTES)
{
    InitializeCriticalSection(&m_csPicture);
}

CPictureOwner::~CPictureOwner()
{
    DeleteCriticalSection(&m_csPicture);
    CloseHandle(m_hFrameTaken);
    CloseHandle(m_hFrameReady);
}

void CPictureOwner::HandOver(std::uint8_t uiNumber, double dDuration)
{
    EnterCriticalSection(&m_csPicture);
    std::fill(m_vPicture.begin(), m_vPicture.end(), uiNumber);
    m_dDuration = dDuration;
    LeaveCriticalSection(&m_csPicture);
    SetEvent(m_hFrameReady);
}

void CPictureOwner::GiveUp()
{
    m_nEndOfInput = 1;
    SetEvent(m_hFrameReady);
}

bool CPictureOwner::IsReady() const
{
    return WaitForSingleObject(m_hFrameReady, 0) == WAIT_OBJECT_0;
}

bool CPictureOwner::TakeTaken()
{
    const bool bTaken = WaitForSingleObject(m_hFrameTaken, 0) == WAIT_OBJECT_0;
    ResetEvent(m_hFrameTaken);
    return bTaken;
}
