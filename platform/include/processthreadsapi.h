// Threads.
#pragma once

#include "synchapi.h"

#define STILL_ACTIVE 0x00000103U
#define CREATE_SUSPENDED 0x00000004U
#define STACK_SIZE_PARAM_IS_A_RESERVATION 0x00010000U

#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15
#define THREAD_PRIORITY_ERROR_RETURN 0x7fffffff

using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID);

extern "C"
{
    // Starts a thread at once. The handle is signalled when the thread has ended, its thread-local objects gone;
    // closing it earlier leaves the thread alone. The stack size is the system's. A thread can't be made suspended:
    // ERROR_NOT_SUPPORTED.
    WINBASEAPI HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES lpAttributes, SIZE_T uiStackSize,
                                          LPTHREAD_START_ROUTINE pfnStart, LPVOID pParameter, DWORD dwFlags,
                                          LPDWORD lpThreadId);
    // STILL_ACTIVE while the thread runs.
    WINBASEAPI BOOL WINAPI GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode);

    // A handle that always means the calling thread; closing it does nothing.
    WINBASEAPI HANDLE WINAPI GetCurrentThread();
    // Never 0, and never given again while the process lives.
    WINBASEAPI DWORD WINAPI GetCurrentThreadId();
    WINBASEAPI DWORD WINAPI GetThreadId(HANDLE hThread);
    WINBASEAPI DWORD WINAPI GetCurrentProcessId();

    // The priority is kept and given back, and doesn't reach the scheduler: raising one takes rights that a program
    // here usually hasn't.
    WINBASEAPI BOOL WINAPI SetThreadPriority(HANDLE hThread, int nPriority);
    WINBASEAPI int WINAPI GetThreadPriority(HANDLE hThread);
}
