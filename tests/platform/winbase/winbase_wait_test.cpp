#include <array>
#include <atomic>
#include <vector>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

LONGLONG Milliseconds()
{
    LARGE_INTEGER count;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return count.QuadPart * 1000 / frequency.QuadPart;
}

TEST(WinbaseWait, AnyTakesTheLowestIndexAndLeavesTheRest)
{
    const Handle a(AutoResetEvent());
    const Handle b(AutoResetEvent(true));
    const Handle c(AutoResetEvent(true));
    const HANDLE aHandles[] = {a, b, c};
    EXPECT_EQ(WaitForMultipleObjects(3, aHandles, FALSE, 0), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForMultipleObjects(3, aHandles, FALSE, 0), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitForMultipleObjects(3, aHandles, FALSE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST(WinbaseWait, AnyIsReleasedByWhicheverComes)
{
    const Handle a(AutoResetEvent());
    const Handle b(AutoResetEvent());
    const Handle result(ManualResetEvent());
    const HANDLE aHandles[] = {a, b};
    DWORD dwResult = WAIT_FAILED;
    Thread waiter([&] { dwResult = WaitForMultipleObjects(2, aHandles, FALSE, c_dwLong); });
    SetEvent(b);
    waiter.Join();
    EXPECT_EQ(dwResult, WAIT_OBJECT_0 + 1);
    EXPECT_FALSE(IsSet(b));
    SetEvent(a);
    EXPECT_TRUE(IsSet(a)) << "the wait that is over still takes";
}

TEST(WinbaseWait, AnyIsReleasedByTheEndOfAThread)
{
    const Handle never(AutoResetEvent());
    const Handle end(AutoResetEvent());
    Thread other([&] { WaitForSingleObject(end, INFINITE); });
    const HANDLE aHandles[] = {never, other.Get()};
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, FALSE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(end);
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, FALSE, c_dwLong), WAIT_OBJECT_0 + 1);
}

TEST(WinbaseWait, AnyMayNameOneObjectTwice)
{
    const Handle a(AutoResetEvent(true));
    const HANDLE aHandles[] = {a, a};
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, FALSE, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, FALSE, 5), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST(WinbaseWait, AllTakesNothingBeforeEverythingIsThere)
{
    const Handle a(AutoResetEvent(true));
    const Handle b(AutoResetEvent());
    const HANDLE aHandles[] = {a, b};
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, TRUE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, TRUE, 10), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(b);
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, TRUE, 0), WAIT_OBJECT_0);
    EXPECT_FALSE(IsSet(a));
    EXPECT_FALSE(IsSet(b));
    SetEvent(a);
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, TRUE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(IsSet(a));
}

TEST(WinbaseWait, AllIsReleasedByTheLastToCome)
{
    const Handle a(AutoResetEvent());
    const Handle b(CreateSemaphoreW(nullptr, 0, 1, nullptr));
    const Handle c(ManualResetEvent());
    const HANDLE aHandles[] = {a, b, c};
    DWORD dwResult = WAIT_FAILED;
    Thread waiter([&] { dwResult = WaitForMultipleObjects(3, aHandles, TRUE, INFINITE); });
    SetEvent(c);
    ReleaseSemaphore(b, 1, nullptr);
    EXPECT_FALSE(waiter.HasEnded(20));
    SetEvent(a);
    EXPECT_TRUE(waiter.HasEnded(c_dwLong));
    EXPECT_EQ(dwResult, WAIT_OBJECT_0);
    EXPECT_FALSE(IsSet(a));
    EXPECT_FALSE(IsSet(b));
    EXPECT_TRUE(IsSet(c));
}

TEST(WinbaseWait, NoneAndMoreThanSixtyFourObjectsAreRefused)
{
    const Handle a(ManualResetEvent(true));
    std::array<HANDLE, MAXIMUM_WAIT_OBJECTS + 1> aHandles;
    aHandles.fill(a);
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(WaitForMultipleObjects(0, aHandles.data(), FALSE, 0), WAIT_FAILED); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(LastErrorOf([&] {
                  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS + 1, aHandles.data(), FALSE, 0), WAIT_FAILED);
              }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, aHandles.data(), FALSE, 0), WAIT_OBJECT_0);
}

TEST(WinbaseWait, OneWrongHandleFailsTheWholeWait)
{
    const Handle a(AutoResetEvent(true));
    Handle closed(AutoResetEvent(true));
    const HANDLE hClosed = closed.Detach();
    CloseHandle(hClosed);
    for (const HANDLE hWrong : {HANDLE{nullptr}, hClosed})
    {
        const HANDLE aHandles[] = {a, hWrong};
        EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(WaitForMultipleObjects(2, aHandles, FALSE, 0), WAIT_FAILED); }),
                  static_cast<DWORD>(ERROR_INVALID_HANDLE));
        EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(WaitForSingleObject(hWrong, 0), WAIT_FAILED); }),
                  static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
    EXPECT_TRUE(IsSet(a)) << "the failed wait took it";
}

TEST(WinbaseWait, TimeOutComesNotBeforeItsTime)
{
    const Handle a(AutoResetEvent());
    const LONGLONG nStart = Milliseconds();
    EXPECT_EQ(WaitForSingleObject(a, 60), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_GE(Milliseconds() - nStart, 60 - 16);  // one tick of a coarse system timer
    const HANDLE aHandles[] = {a};
    const LONGLONG nStartOfSecond = Milliseconds();
    EXPECT_EQ(WaitForMultipleObjects(1, aHandles, TRUE, 60), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_GE(Milliseconds() - nStartOfSecond, 60 - 16);
}

TEST(WinbaseWait, SleepLastsAsLongAsAskedFor)
{
    const LONGLONG nStart = Milliseconds();
    Sleep(60);
    EXPECT_GE(Milliseconds() - nStart, 60 - 16);
    Sleep(0);
}

// Three threads wait for either of two semaphores while two others post them: every post ends one wait, and no post two.
TEST(WinbaseWait, EveryPostIsTakenOnceUnderContention)
{
    constexpr LONG c_nPosts = 600;
    const Handle a(CreateSemaphoreW(nullptr, 0, c_nPosts, nullptr));
    const Handle b(CreateSemaphoreW(nullptr, 0, c_nPosts, nullptr));
    const Handle stop(ManualResetEvent());
    const HANDLE aHandles[] = {a, b, stop};
    std::atomic<LONG> nTaken{0};
    const auto take = [&] {
        while (WaitForMultipleObjects(3, aHandles, FALSE, INFINITE) != WAIT_OBJECT_0 + 2)
        {
            ++nTaken;
        }
    };
    {
        Thread taker1(take);
        Thread taker2(take);
        Thread taker3(take);
        const auto postA = [&] {
            for (LONG i = 0; i < c_nPosts; ++i)
            {
                ReleaseSemaphore(a, 1, nullptr);
            }
        };
        const auto postB = [&] {
            for (LONG i = 0; i < c_nPosts; ++i)
            {
                ReleaseSemaphore(b, 1, nullptr);
            }
        };
        {
            Thread poster1(postA);
            Thread poster2(postB);
        }
        while (nTaken < 2 * c_nPosts)
        {
            Sleep(1);
        }
        SetEvent(stop);
    }
    EXPECT_EQ(nTaken, 2 * c_nPosts);
    EXPECT_FALSE(IsSet(a));
    EXPECT_FALSE(IsSet(b));
}

// Waits for all and waits for any compete for the same two objects; no post is lost and no pair is torn.
TEST(WinbaseWait, WaitsForAllAndForAnyShareObjects)
{
    constexpr LONG c_nPairs = 200;
    const Handle a(CreateSemaphoreW(nullptr, 0, 4 * c_nPairs, nullptr));
    const Handle b(CreateSemaphoreW(nullptr, 0, 4 * c_nPairs, nullptr));
    const HANDLE aPair[] = {a, b};
    Thread pairs([&] {
        for (LONG i = 0; i < c_nPairs; ++i)
        {
            EXPECT_EQ(WaitForMultipleObjects(2, aPair, TRUE, INFINITE), WAIT_OBJECT_0);
        }
    });
    Thread singles([&] {
        for (LONG i = 0; i < c_nPairs; ++i)
        {
            EXPECT_EQ(WaitForSingleObject(a, INFINITE), WAIT_OBJECT_0);
            EXPECT_EQ(WaitForSingleObject(b, INFINITE), WAIT_OBJECT_0);
        }
    });
    for (LONG i = 0; i < 2 * c_nPairs; ++i)
    {
        ReleaseSemaphore(a, 1, nullptr);
        ReleaseSemaphore(b, 1, nullptr);
    }
    EXPECT_TRUE(pairs.HasEnded(c_dwLong));
    EXPECT_TRUE(singles.HasEnded(c_dwLong));
    EXPECT_FALSE(IsSet(a));
    EXPECT_FALSE(IsSet(b));
}

}  // namespace
