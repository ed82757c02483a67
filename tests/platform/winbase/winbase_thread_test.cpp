#include <windows.h>

#include <process.h>

#include <atomic>
#include <cstdint>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

struct Gate
{
    HANDLE hOpen;
    std::atomic<int> nPassed{0};
};

DWORD WINAPI PassGate(LPVOID pGate)
{
    auto& gate = *static_cast<Gate*>(pGate);
    WaitForSingleObject(gate.hOpen, INFINITE);
    ++gate.nPassed;
    return 1234;
}

TEST(WinbaseThread, IsSignalledAtItsEndAndThenHasAnExitCode)
{
    const Handle open(ManualResetEvent());
    Gate gate{open};
    const Handle thread(CreateThread(nullptr, 0, PassGate, &gate, 0, nullptr));
    ASSERT_TRUE(thread);
    DWORD dwExitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &dwExitCode));
    EXPECT_EQ(dwExitCode, static_cast<DWORD>(STILL_ACTIVE));
    EXPECT_FALSE(IsSet(thread));
    SetEvent(open);
    EXPECT_EQ(WaitForSingleObject(thread, c_dwLong), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &dwExitCode));
    EXPECT_EQ(dwExitCode, 1234U);
    EXPECT_TRUE(IsSet(thread)) << "it stays so";
}

TEST(WinbaseThread, GoesOnWhenItsHandleIsClosed)
{
    const Handle open(ManualResetEvent());
    Gate gate{open};
    CloseHandle(CreateThread(nullptr, 0, PassGate, &gate, 0, nullptr));
    EXPECT_EQ(gate.nPassed, 0);
    SetEvent(open);
    while (gate.nPassed == 0)
    {
        Sleep(1);
    }
    EXPECT_EQ(gate.nPassed, 1);
}

DWORD WINAPI OwnId(LPVOID)
{
    return GetCurrentThreadId();
}

TEST(WinbaseThread, IdIsTheSameFromInsideAndOutside)
{
    DWORD dwId = 0;
    const Handle thread(CreateThread(nullptr, 0, OwnId, nullptr, 0, &dwId));
    WaitForSingleObject(thread, INFINITE);
    DWORD dwExitCode = 0;
    GetExitCodeThread(thread, &dwExitCode);
    EXPECT_EQ(dwExitCode, dwId);
    EXPECT_NE(dwId, 0U);
    EXPECT_NE(dwId, GetCurrentThreadId());
    EXPECT_EQ(GetCurrentThreadId(), GetCurrentThreadId());
    EXPECT_EQ(GetThreadId(GetCurrentThread()), GetCurrentThreadId());
}

TEST(WinbaseThread, PriorityIsKept)
{
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
    for (const int nPriority : {THREAD_PRIORITY_LOWEST, THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_ABOVE_NORMAL,
                                THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_NORMAL})
    {
        EXPECT_TRUE(SetThreadPriority(GetCurrentThread(), nPriority));
        EXPECT_EQ(GetThreadPriority(GetCurrentThread()), nPriority);
    }
}

TEST(WinbaseThread, ImpossiblePriorityIsRefused)
{
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(SetThreadPriority(GetCurrentThread(), 100)); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
}

TEST(WinbaseThread, ClosingTheCurrentThreadsHandleDoesNothing)
{
    EXPECT_TRUE(CloseHandle(GetCurrentThread()));
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
    EXPECT_EQ(WaitForSingleObject(GetCurrentThread(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST(WinbaseThread, WrongHandlesAreRefused)
{
    const Handle event(AutoResetEvent());
    for (const HANDLE h : {HANDLE{nullptr}, static_cast<HANDLE>(event)})
    {
        DWORD dwExitCode = 77;
        EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(GetExitCodeThread(h, &dwExitCode)); }),
                  static_cast<DWORD>(ERROR_INVALID_HANDLE));
        EXPECT_EQ(dwExitCode, 77U);
        EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(SetThreadPriority(h, 0)); }),
                  static_cast<DWORD>(ERROR_INVALID_HANDLE));
        EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetThreadPriority(h), THREAD_PRIORITY_ERROR_RETURN); }),
                  static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
}

std::atomic<int> g_nLocalsGone{0};
struct CountedLocal
{
    int nUsed = 0;
    ~CountedLocal()
    {
        Sleep(20);
        ++g_nLocalsGone;
    }
};
thread_local CountedLocal t_local;

TEST(WinbaseThread, ThreadLocalObjectsAreGoneWhenItIsSignalled)
{
    g_nLocalsGone = 0;
    Thread thread([] { t_local.nUsed = 1; });
    thread.Join();
    EXPECT_EQ(g_nLocalsGone, 1);
}

TEST(WinbaseThread, LastErrorIsEachThreadsOwn)
{
    SetLastError(5);
    DWORD dwOther = 99;
    Thread thread([&] {
        dwOther = GetLastError();
        SetLastError(6);
    });
    thread.Join();
    EXPECT_EQ(dwOther, 0U);
    SetLastError(5);
    EXPECT_EQ(GetLastError(), 5U);
}

void SetTheEvent(void* pEvent)
{
    SetEvent(pEvent);
}

TEST(WinbaseThread, RuntimesSimpleStartNeedsNoClosing)
{
    const Handle event(AutoResetEvent());
    const std::uintptr_t uiThread = _beginthread(SetTheEvent, 0, event);
    EXPECT_NE(uiThread, static_cast<std::uintptr_t>(-1));
    EXPECT_NE(uiThread, 0U);
    EXPECT_EQ(WaitForSingleObject(event, c_dwLong), WAIT_OBJECT_0);
}

unsigned WINAPI Fifty(void* pValue)
{
    return *static_cast<unsigned*>(pValue) + 25;
}

TEST(WinbaseThread, RuntimesOtherStartGivesAHandle)
{
    unsigned uiValue = 25;
    const Handle thread(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Fifty, &uiValue, 0, nullptr)));
    ASSERT_TRUE(thread);
    EXPECT_EQ(WaitForSingleObject(thread, c_dwLong), WAIT_OBJECT_0);
    DWORD dwExitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &dwExitCode));
    EXPECT_EQ(dwExitCode, 50U);
}

}  // namespace
