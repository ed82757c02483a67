#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

TEST(WinbaseEvent, AutoResetEventIsClearedByTheWaitThatItSatisfies)
{
    const Handle event(AutoResetEvent());
    EXPECT_FALSE(IsSet(event));
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(IsSet(event));
    EXPECT_FALSE(IsSet(event));
}

TEST(WinbaseEvent, ManualResetEventStaysSetUntilReset)
{
    const Handle event(ManualResetEvent());
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(IsSet(event));
    EXPECT_TRUE(IsSet(event));
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_FALSE(IsSet(event));
}

TEST(WinbaseEvent, EventStartsInTheStateAskedFor)
{
    const Handle set(AutoResetEvent(true));
    const Handle manualSet(ManualResetEvent(true));
    const Handle clear(ManualResetEvent(false));
    EXPECT_TRUE(IsSet(set));
    EXPECT_TRUE(IsSet(manualSet));
    EXPECT_FALSE(IsSet(clear));
}

TEST(WinbaseEvent, SettingASetEventAddsNothing)
{
    const Handle event(AutoResetEvent());
    SetEvent(event);
    SetEvent(event);
    EXPECT_TRUE(IsSet(event));
    EXPECT_FALSE(IsSet(event));
}

TEST(WinbaseEvent, ResettingAClearEventSucceeds)
{
    const Handle event(AutoResetEvent());
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_FALSE(IsSet(event));
}

TEST(WinbaseEvent, EachSetOfAnAutoResetEventReleasesExactlyOneWaiter)
{
    constexpr LONG c_nThreads = 4;
    const Handle event(AutoResetEvent());
    const Handle released(CreateSemaphoreW(nullptr, 0, c_nThreads, nullptr));
    const auto body = [&] {
        WaitForSingleObject(event, INFINITE);
        ReleaseSemaphore(released, 1, nullptr);
    };
    Thread t1(body);
    Thread t2(body);
    Thread t3(body);
    Thread t4(body);
    for (LONG n = 0; n < c_nThreads; ++n)
    {
        SetEvent(event);
        EXPECT_EQ(WaitForSingleObject(released, c_dwLong), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(released, 10), static_cast<DWORD>(WAIT_TIMEOUT)) << "a second one was released";
    }
    EXPECT_FALSE(IsSet(event));
}

// A writer that sets the event and resets it at once must not lose those who were waiting. Whether a thread waits
// already can't be seen from outside, so it may take a few rounds on a loaded machine, but each waits only once.
TEST(WinbaseEvent, ResettingAfterSettingTakesNothingBackFromWaiters)
{
    constexpr int c_nThreads = 8;
    const Handle event(ManualResetEvent());
    std::atomic<int> nReleased{0};
    const auto body = [&] {
        WaitForSingleObject(event, INFINITE);
        ++nReleased;
    };
    std::vector<std::unique_ptr<Thread<decltype(body)>>> vThreads;
    for (int i = 0; i < c_nThreads; ++i)
    {
        vThreads.push_back(std::make_unique<Thread<decltype(body)>>(body));
    }
    int nRounds = 0;
    while (nReleased < c_nThreads && nRounds < 5)
    {
        Sleep(50);
        SetEvent(event);
        ResetEvent(event);
        Sleep(50);
        ++nRounds;
    }
    EXPECT_EQ(nReleased, c_nThreads);
    SetEvent(event);  // for the thread that still waits
}

TEST(WinbaseEvent, TwoThreadsPassATurnBackAndForth)
{
    constexpr int c_nRounds = 2000;
    const Handle ping(AutoResetEvent());
    const Handle pong(AutoResetEvent());
    int nShared = 0;  // guarded by the turn
    Thread partner([&] {
        for (int i = 0; i < c_nRounds; ++i)
        {
            WaitForSingleObject(ping, INFINITE);
            ++nShared;
            SetEvent(pong);
        }
    });
    for (int i = 0; i < c_nRounds; ++i)
    {
        ++nShared;
        SetEvent(ping);
        ASSERT_EQ(WaitForSingleObject(pong, c_dwLong), WAIT_OBJECT_0);
        ASSERT_EQ(nShared, 2 * (i + 1));
    }
}

TEST(WinbaseEvent, NameMakesTheEventCommon)
{
    const wchar_t* const pwszName = L"winbase_event_test.common";
    const Handle first(CreateEventW(nullptr, TRUE, FALSE, pwszName));
    ASSERT_TRUE(first);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    const Handle second(CreateEventW(nullptr, FALSE, TRUE, pwszName));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    ASSERT_TRUE(second);
    EXPECT_NE(static_cast<HANDLE>(first), static_cast<HANDLE>(second));

    EXPECT_FALSE(IsSet(second)) << "the state asked for the second time doesn't count";
    SetEvent(second);
    EXPECT_TRUE(IsSet(first));
    EXPECT_TRUE(IsSet(first)) << "nor does the kind of reset";

    const Handle third(OpenEventW(EVENT_ALL_ACCESS, FALSE, pwszName));
    EXPECT_TRUE(IsSet(third));
}

TEST(WinbaseEvent, NameIsFreeWhenTheLastHandleIsClosed)
{
    const wchar_t* const pwszName = L"winbase_event_test.gone";
    Handle first(CreateEventW(nullptr, TRUE, TRUE, pwszName));
    CloseHandle(first.Detach());
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(OpenEventW(EVENT_ALL_ACCESS, FALSE, pwszName), nullptr); }),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    const Handle again(CreateEventW(nullptr, TRUE, FALSE, pwszName));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_FALSE(IsSet(again));
}

TEST(WinbaseEvent, NameOfAnotherKindOfObjectIsRefused)
{
    const wchar_t* const pwszName = L"winbase_event_test.kind";
    const Handle mutex(CreateMutexW(nullptr, FALSE, pwszName));
    ASSERT_TRUE(mutex);
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, pwszName), nullptr); }),
              static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(WinbaseEvent, WrongHandlesAreRefused)
{
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    Handle closed(ManualResetEvent());
    const HANDLE hClosed = closed.Detach();
    EXPECT_TRUE(CloseHandle(hClosed));
    for (const HANDLE h : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, static_cast<HANDLE>(mutex), hClosed})
    {
        EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(SetEvent(h)); }), static_cast<DWORD>(ERROR_INVALID_HANDLE));
        EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(ResetEvent(h)); }), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(CloseHandle(hClosed)); }), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

}  // namespace
