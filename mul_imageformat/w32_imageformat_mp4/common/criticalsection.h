// A lock that neither throws nor needs memory while it is taken, on any system: a writer that is out of memory can
// still be closed.
#pragma once

#include <windows.h>

class CCriticalSection
{
public:
    CCriticalSection() { InitializeCriticalSection(&m_section); }
    ~CCriticalSection() { DeleteCriticalSection(&m_section); }

    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    CRITICAL_SECTION* Get() { return &m_section; }

private:
    CRITICAL_SECTION m_section;
};

// Holds a section as long as it lives.
class CSectionLock
{
public:
    explicit CSectionLock(CRITICAL_SECTION* pSection) : m_pSection(pSection) { EnterCriticalSection(m_pSection); }
    ~CSectionLock() { LeaveCriticalSection(m_pSection); }

    CSectionLock(const CSectionLock&) = delete;
    CSectionLock& operator=(const CSectionLock&) = delete;

private:
    CRITICAL_SECTION* const m_pSection;
};
