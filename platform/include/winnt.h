// Constants of the system's core, and the interlocked operations.
#pragma once

#include "windef.h"

// Reasons a loaded library's DllMain is called for.
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

// Access rights that a named object can be opened with. They are taken and not examined: names are the process's own.
#define SYNCHRONIZE 0x00100000U
#define STANDARD_RIGHTS_REQUIRED 0x000F0000U
#define EVENT_MODIFY_STATE 0x0002U
#define EVENT_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x3U)
#define MUTANT_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x1U)
#define MUTEX_ALL_ACCESS MUTANT_ALL_ACCESS
#define SEMAPHORE_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x3U)

#define MAXIMUM_WAIT_OBJECTS 64

// Processor features, as IsProcessorFeaturePresent is asked for them.
#define PF_COMPARE_EXCHANGE_DOUBLE 2
#define PF_MMX_INSTRUCTIONS_AVAILABLE 3
#define PF_XMMI_INSTRUCTIONS_AVAILABLE 6
#define PF_RDTSC_INSTRUCTION_AVAILABLE 8
#define PF_XMMI64_INSTRUCTIONS_AVAILABLE 10
#define PF_SSE3_INSTRUCTIONS_AVAILABLE 13
#define PF_COMPARE_EXCHANGE128 14
#define PF_XSAVE_ENABLED 17
#define PF_SSSE3_INSTRUCTIONS_AVAILABLE 36
#define PF_SSE4_1_INSTRUCTIONS_AVAILABLE 37
#define PF_SSE4_2_INSTRUCTIONS_AVAILABLE 38
#define PF_AVX_INSTRUCTIONS_AVAILABLE 39
#define PF_AVX2_INSTRUCTIONS_AVAILABLE 40
#define PF_AVX512F_INSTRUCTIONS_AVAILABLE 41

#define ZeroMemory(pTarget, uiBytes) __builtin_memset((pTarget), 0, (uiBytes))
#define CopyMemory(pTarget, pSource, uiBytes) __builtin_memcpy((pTarget), (pSource), (uiBytes))

// Every interlocked operation is a full barrier. Increment, Decrement and Add give the new value, the others the old.
inline LONG InterlockedIncrement(LONG volatile* pTarget)
{
    return __atomic_add_fetch(pTarget, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(LONG volatile* pTarget)
{
    return __atomic_sub_fetch(pTarget, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedAdd(LONG volatile* pTarget, LONG nValue)
{
    return __atomic_add_fetch(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchange(LONG volatile* pTarget, LONG nValue)
{
    return __atomic_exchange_n(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchangeAdd(LONG volatile* pTarget, LONG nValue)
{
    return __atomic_fetch_add(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedCompareExchange(LONG volatile* pTarget, LONG nNew, LONG nExpected)
{
    __atomic_compare_exchange_n(pTarget, &nExpected, nNew, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return nExpected;
}
inline LONG InterlockedAnd(LONG volatile* pTarget, LONG nValue)
{
    return __atomic_fetch_and(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedOr(LONG volatile* pTarget, LONG nValue)
{
    return __atomic_fetch_or(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedXor(LONG volatile* pTarget, LONG nValue)
{
    return __atomic_fetch_xor(pTarget, nValue, __ATOMIC_SEQ_CST);
}

inline LONG64 InterlockedIncrement64(LONG64 volatile* pTarget)
{
    return __atomic_add_fetch(pTarget, 1, __ATOMIC_SEQ_CST);
}
inline LONG64 InterlockedDecrement64(LONG64 volatile* pTarget)
{
    return __atomic_sub_fetch(pTarget, 1, __ATOMIC_SEQ_CST);
}
inline LONG64 InterlockedAdd64(LONG64 volatile* pTarget, LONG64 nValue)
{
    return __atomic_add_fetch(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG64 InterlockedExchange64(LONG64 volatile* pTarget, LONG64 nValue)
{
    return __atomic_exchange_n(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG64 InterlockedExchangeAdd64(LONG64 volatile* pTarget, LONG64 nValue)
{
    return __atomic_fetch_add(pTarget, nValue, __ATOMIC_SEQ_CST);
}
inline LONG64 InterlockedCompareExchange64(LONG64 volatile* pTarget, LONG64 nNew, LONG64 nExpected)
{
    __atomic_compare_exchange_n(pTarget, &nExpected, nNew, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return nExpected;
}

inline PVOID InterlockedExchangePointer(PVOID volatile* ppTarget, PVOID pValue)
{
    return __atomic_exchange_n(ppTarget, pValue, __ATOMIC_SEQ_CST);
}
inline PVOID InterlockedCompareExchangePointer(PVOID volatile* ppTarget, PVOID pNew, PVOID pExpected)
{
    __atomic_compare_exchange_n(ppTarget, &pExpected, pNew, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return pExpected;
}

inline void MemoryBarrier()
{
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
}
