#include "amf/common/amfsync.h"

// --- AMFEvent

AMFEvent::AMFEvent(bool bInitiallySignalled, bool bManualReset, const wchar_t* pwszName)
    : m_hEvent(amf_create_event(bInitiallySignalled, bManualReset, pwszName))
{}

AMFEvent::~AMFEvent()
{
    if (m_hEvent != nullptr) amf_delete_event(m_hEvent);
}

bool AMFEvent::SetEvent()
{
    return amf_set_event(m_hEvent);
}

bool AMFEvent::ResetEvent()
{
    return amf_reset_event(m_hEvent);
}

bool AMFEvent::Lock(std::uint32_t uiTimeout)
{
    return amf_wait_for_event(m_hEvent, uiTimeout);
}

bool AMFEvent::Unlock()
{
    return true;
}

bool AMFEvent::LockTimeout(std::uint32_t uiTimeout)
{
    return amf_wait_for_event_timeout(m_hEvent, uiTimeout);
}

// --- AMFMutex

AMFMutex::AMFMutex(bool bInitiallyOwned, const wchar_t* pwszName, bool bOpenExisting)
    : m_hMutex(bOpenExisting ? amf_open_mutex(pwszName) : amf_create_mutex(bInitiallyOwned, pwszName))
{}

AMFMutex::~AMFMutex()
{
    if (m_hMutex != nullptr) amf_delete_mutex(m_hMutex);
}

bool AMFMutex::Lock(std::uint32_t uiTimeout)
{
    return m_hMutex != nullptr && amf_wait_for_mutex(m_hMutex, uiTimeout);
}

bool AMFMutex::Unlock()
{
    return m_hMutex != nullptr && amf_release_mutex(m_hMutex);
}

// --- AMFCriticalSection

AMFCriticalSection::AMFCriticalSection() : m_pSection(amf_create_critical_section()) {}

AMFCriticalSection::~AMFCriticalSection()
{
    amf_delete_critical_section(m_pSection);
}

bool AMFCriticalSection::Lock(std::uint32_t /*uiTimeout*/)
{
    if (m_pSection == nullptr) return false;
    amf_enter_critical_section(m_pSection);
    return true;
}

bool AMFCriticalSection::Unlock()
{
    if (m_pSection == nullptr) return false;
    amf_leave_critical_section(m_pSection);
    return true;
}

// --- AMFSemaphore

AMFSemaphore::AMFSemaphore(std::int32_t nInitialCount, std::int32_t nMaximumCount, const wchar_t* pwszName)
{
    AMFSemaphore::Create(nInitialCount, nMaximumCount, pwszName);
}

AMFSemaphore::~AMFSemaphore()
{
    if (m_hSemaphore != nullptr) amf_delete_semaphore(m_hSemaphore);
}

bool AMFSemaphore::Lock(std::uint32_t uiTimeout)
{
    return m_hSemaphore == nullptr || amf_wait_for_semaphore(m_hSemaphore, uiTimeout);
}

bool AMFSemaphore::Unlock()
{
    return m_hSemaphore == nullptr || amf_release_semaphore(m_hSemaphore);
}

bool AMFSemaphore::Create(std::int32_t nInitialCount, std::int32_t nMaximumCount, const wchar_t* pwszName)
{
    if (m_hSemaphore != nullptr) amf_delete_semaphore(m_hSemaphore);
    m_hSemaphore = nMaximumCount >= 1 ? amf_create_semaphore(nInitialCount, nMaximumCount, pwszName) : nullptr;
    return true;
}
