#include "amf/common/amfsystem.h"

#include <atomic>
#include <new>

HANDLE amf_create_event(bool bInitiallySignalled, bool bManualReset, const wchar_t* pwszName)
{
    return CreateEventW(nullptr, bManualReset, bInitiallySignalled, pwszName);
}

bool amf_delete_event(HANDLE hEvent)
{
    return CloseHandle(hEvent) != FALSE;
}

bool amf_set_event(HANDLE hEvent)
{
    return SetEvent(hEvent) != FALSE;
}

bool amf_reset_event(HANDLE hEvent)
{
    return ResetEvent(hEvent) != FALSE;
}

bool amf_wait_for_event(HANDLE hEvent, std::uint32_t uiTimeout)
{
    return WaitForSingleObject(hEvent, uiTimeout) == WAIT_OBJECT_0;
}

bool amf_wait_for_event_timeout(HANDLE hEvent, std::uint32_t uiTimeout)
{
    const DWORD dwResult = WaitForSingleObject(hEvent, uiTimeout);
    return dwResult == WAIT_OBJECT_0 || dwResult == WAIT_TIMEOUT;
}

HANDLE amf_create_mutex(bool bInitiallyOwned, const wchar_t* pwszName)
{
    return CreateMutexW(nullptr, bInitiallyOwned, pwszName);
}

HANDLE amf_open_mutex(const wchar_t* pwszName)
{
    return OpenMutexW(MUTEX_ALL_ACCESS, FALSE, pwszName);
}

bool amf_delete_mutex(HANDLE hMutex)
{
    return CloseHandle(hMutex) != FALSE;
}

bool amf_wait_for_mutex(HANDLE hMutex, std::uint32_t uiTimeout)
{
    return WaitForSingleObject(hMutex, uiTimeout) == WAIT_OBJECT_0;
}

bool amf_release_mutex(HANDLE hMutex)
{
    return ReleaseMutex(hMutex) != FALSE;
}

HANDLE amf_create_semaphore(std::int32_t nInitialCount, std::int32_t nMaximumCount, const wchar_t* pwszName)
{
    return CreateSemaphoreW(nullptr, nInitialCount, nMaximumCount, pwszName);
}

bool amf_delete_semaphore(HANDLE hSemaphore)
{
    return CloseHandle(hSemaphore) != FALSE;
}

bool amf_wait_for_semaphore(HANDLE hSemaphore, std::uint32_t uiTimeout)
{
    return WaitForSingleObject(hSemaphore, uiTimeout) == WAIT_OBJECT_0;
}

bool amf_release_semaphore(HANDLE hSemaphore)
{
    return ReleaseSemaphore(hSemaphore, 1, nullptr) != FALSE;
}

CRITICAL_SECTION* amf_create_critical_section()
{
    auto* const pSection = new (std::nothrow) CRITICAL_SECTION;
    if (pSection != nullptr) InitializeCriticalSection(pSection);
    return pSection;
}

void amf_delete_critical_section(CRITICAL_SECTION* pSection)
{
    if (pSection != nullptr) DeleteCriticalSection(pSection);
    delete pSection;
}

void amf_enter_critical_section(CRITICAL_SECTION* pSection)
{
    EnterCriticalSection(pSection);
}

void amf_leave_critical_section(CRITICAL_SECTION* pSection)
{
    LeaveCriticalSection(pSection);
}

HMODULE amf_load_library(const wchar_t* pwszFile)
{
    return LoadLibraryExW(pwszFile, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

FARPROC amf_get_proc_address(HMODULE hModule, const char* pszName)
{
    return GetProcAddress(hModule, pszName);
}

bool amf_free_library(HMODULE hModule)
{
    return FreeLibrary(hModule) != FALSE;
}

void amf_sleep(std::uint32_t uiMilliseconds)
{
    Sleep(uiMilliseconds);
}

std::int32_t amf_atomic_inc(std::int32_t* pnCounter)
{
    return ++std::atomic_ref(*pnCounter);
}

std::int32_t amf_atomic_dec(std::int32_t* pnCounter)
{
    return --std::atomic_ref(*pnCounter);
}
