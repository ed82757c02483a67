// Events, mutexes, semaphores, waits and critical sections.
//
// A creating function gives a handle that the caller closes with CloseHandle, or null with the reason in
// GetLastError(). A name makes the object common to all who create or open it under that name, within this process;
// creating one that exists gives a handle to it with GetLastError() ERROR_ALREADY_EXISTS. A handle that is null,
// INVALID_HANDLE_VALUE, closed or of another kind of object is refused with ERROR_INVALID_HANDLE everywhere.
#pragma once

#include "winnt.h"

struct SECURITY_ATTRIBUTES
{
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};
using PSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

#define INFINITE 0xFFFFFFFFU
#define WAIT_OBJECT_0 0x00000000U
#define WAIT_ABANDONED 0x00000080U
#define WAIT_ABANDONED_0 0x00000080U
#define WAIT_IO_COMPLETION 0x000000C0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xFFFFFFFFU

// A lock of one thread at a time, which may take it again. To be initialised before use, deleted after it, and neither
// copied nor moved between the two; what is in it is the platform's affair. It needs no memory besides.
struct RTL_CRITICAL_SECTION
{
    struct PlatformCriticalSection* pState;
    alignas(8) unsigned char abState[64];
};
using CRITICAL_SECTION = RTL_CRITICAL_SECTION;
using PCRITICAL_SECTION = CRITICAL_SECTION*;
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

extern "C"
{
    // Security attributes are taken and not examined: handles never leave the process.
    //
    // An event set while threads wait for it releases them at that moment: all of them if it is a manual-reset one,
    // else exactly one, the longest waiting, and the event stays clear. A ResetEvent that follows takes nothing back.
    WINBASEAPI HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES lpAttributes, BOOL bManualReset, BOOL bInitialState,
                                          LPCWSTR lpName);
    WINBASEAPI HANDLE WINAPI OpenEventW(DWORD dwAccess, BOOL bInherit, LPCWSTR lpName);
    WINBASEAPI BOOL WINAPI SetEvent(HANDLE hEvent);
    WINBASEAPI BOOL WINAPI ResetEvent(HANDLE hEvent);

    // A mutex belongs to the thread whose wait for it succeeded, which may wait for it again and then releases it as
    // often. One whose owner has ended is free, and the next wait says WAIT_ABANDONED_0. ReleaseMutex by another than
    // the owner fails with ERROR_NOT_OWNER.
    WINBASEAPI HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES lpAttributes, BOOL bInitialOwner, LPCWSTR lpName);
    WINBASEAPI HANDLE WINAPI OpenMutexW(DWORD dwAccess, BOOL bInherit, LPCWSTR lpName);
    WINBASEAPI BOOL WINAPI ReleaseMutex(HANDLE hMutex);

    // Counts: 0 <= lInitialCount <= lMaximumCount, lMaximumCount at least 1, else ERROR_INVALID_PARAMETER. A release
    // past the maximum changes nothing and fails with ERROR_TOO_MANY_POSTS; *lpPreviousCount, when asked for, is the
    // old count.
    WINBASEAPI HANDLE WINAPI CreateSemaphoreW(LPSECURITY_ATTRIBUTES lpAttributes, LONG lInitialCount,
                                              LONG lMaximumCount, LPCWSTR lpName);
    WINBASEAPI HANDLE WINAPI OpenSemaphoreW(DWORD dwAccess, BOOL bInherit, LPCWSTR lpName);
    WINBASEAPI BOOL WINAPI ReleaseSemaphore(HANDLE hSemaphore, LONG lReleaseCount, LONG* lpPreviousCount);

    // Waits for an event, mutex, semaphore or thread. dwMilliseconds 0 only looks, INFINITE has no limit. Gives
    // WAIT_OBJECT_0 (+ index of the object), WAIT_ABANDONED_0 (+ index), WAIT_TIMEOUT, or WAIT_FAILED. Of several
    // objects that are signalled, a wait for any takes the one with the lowest index and leaves the others as they are;
    // a wait for all changes none of them before all are signalled. At most MAXIMUM_WAIT_OBJECTS handles.
    WINBASEAPI DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
    WINBASEAPI DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                                   DWORD dwMilliseconds);

    // INFINITE never returns; 0 gives the rest of the time slice away.
    WINBASEAPI void WINAPI Sleep(DWORD dwMilliseconds);

    // Entering waits for the lock, TryEnter gives FALSE instead. Leaving a section that the thread doesn't own,
    // deleting one twice and using one after its deletion change nothing. Spin counts are taken and not used.
    // Initialising succeeds always.
    WINBASEAPI void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION lpSection);
    WINBASEAPI BOOL WINAPI InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION lpSection, DWORD dwSpinCount);
    WINBASEAPI BOOL WINAPI InitializeCriticalSectionEx(LPCRITICAL_SECTION lpSection, DWORD dwSpinCount, DWORD dwFlags);
    WINBASEAPI void WINAPI EnterCriticalSection(LPCRITICAL_SECTION lpSection);
    WINBASEAPI BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION lpSection);
    WINBASEAPI void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION lpSection);
    WINBASEAPI void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION lpSection);
}
