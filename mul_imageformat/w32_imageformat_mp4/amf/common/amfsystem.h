// The operating system's functions under the names that this folder's classes use. Each calls the one it is named
// after and returns what that returns, as bool where it is yes or no.
#pragma once

#include <cstdint>

#include <windows.h>

inline constexpr std::uint32_t AMF_INFINITE = INFINITE;

// Null without a handle left. A null name makes an unnamed object.
HANDLE amf_create_event(bool bInitiallySignalled, bool bManualReset, const wchar_t* pwszName);
bool amf_delete_event(HANDLE hEvent);
bool amf_set_event(HANDLE hEvent);
bool amf_reset_event(HANDLE hEvent);
// True only when the object was signalled within that many milliseconds.
bool amf_wait_for_event(HANDLE hEvent, std::uint32_t uiTimeout);
// True also when it wasn't; false for a failed wait.
bool amf_wait_for_event_timeout(HANDLE hEvent, std::uint32_t uiTimeout);

HANDLE amf_create_mutex(bool bInitiallyOwned, const wchar_t* pwszName);
HANDLE amf_open_mutex(const wchar_t* pwszName);
bool amf_delete_mutex(HANDLE hMutex);
bool amf_wait_for_mutex(HANDLE hMutex, std::uint32_t uiTimeout);
bool amf_release_mutex(HANDLE hMutex);

HANDLE amf_create_semaphore(std::int32_t nInitialCount, std::int32_t nMaximumCount, const wchar_t* pwszName);
bool amf_delete_semaphore(HANDLE hSemaphore);
bool amf_wait_for_semaphore(HANDLE hSemaphore, std::uint32_t uiTimeout);
bool amf_release_semaphore(HANDLE hSemaphore);

// Null without memory.
CRITICAL_SECTION* amf_create_critical_section();
void amf_delete_critical_section(CRITICAL_SECTION* pSection);
void amf_enter_critical_section(CRITICAL_SECTION* pSection);
void amf_leave_critical_section(CRITICAL_SECTION* pSection);

// A bare name means a file of the system's folder, where drivers put their runtimes. No other folder is searched.
HMODULE amf_load_library(const wchar_t* pwszFile);
FARPROC amf_get_proc_address(HMODULE hModule, const char* pszName);
bool amf_free_library(HMODULE hModule);

// An entry of a library as the function that it is; null if there is none of that name.
template <typename TEntry>
TEntry FindEntry(HMODULE hModule, const char* pszName)
{
    return reinterpret_cast<TEntry>(reinterpret_cast<void*>(amf_get_proc_address(hModule, pszName)));
}

void amf_sleep(std::uint32_t uiMilliseconds);

// Return the new value. A counter that threads share is changed by these only.
std::int32_t amf_atomic_inc(std::int32_t* pnCounter);
std::int32_t amf_atomic_dec(std::int32_t* pnCounter);
