// A lock whose operations don't throw and need no memory, so that files can be closed when memory has run out.
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

// Holds a section during its lifetime.
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
