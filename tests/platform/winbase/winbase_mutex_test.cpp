#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

DWORD WaitOnAnotherThread(HANDLE h)
{
    DWORD dwResult = WAIT_FAILED;
    Thread other([&] {
        dwResult = WaitForSingleObject(h, 0);
        if (dwResult == WAIT_OBJECT_0)
        {
            ReleaseMutex(h);
        }
    });
    other.Join();
    return dwResult;
}

TEST(WinbaseMutex, OwnerMayTakeItAgainAndReleasesItAsOften)
{
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    EXPECT_TRUE(IsSet(mutex));
    EXPECT_TRUE(IsSet(mutex));
    EXPECT_EQ(WaitOnAnotherThread(mutex), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitOnAnotherThread(mutex), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitOnAnotherThread(mutex), WAIT_OBJECT_0);
}

TEST(WinbaseMutex, CreatorMayOwnItFromTheStart)
{
    const Handle mutex(CreateMutexW(nullptr, TRUE, nullptr));
    EXPECT_EQ(WaitOnAnotherThread(mutex), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitOnAnotherThread(mutex), WAIT_OBJECT_0);
}

TEST(WinbaseMutex, OnlyTheOwnerReleasesIt)
{
    const Handle mutex(CreateMutexW(nullptr, TRUE, nullptr));
    DWORD dwError = 0;
    Thread other([&] { dwError = LastErrorOf([&] { EXPECT_FALSE(ReleaseMutex(mutex)); }); });
    other.Join();
    EXPECT_EQ(dwError, static_cast<DWORD>(ERROR_NOT_OWNER));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(ReleaseMutex(mutex)); }), static_cast<DWORD>(ERROR_NOT_OWNER));
}

TEST(WinbaseMutex, ReleaseHandsItToAWaitingThread)
{
    const Handle mutex(CreateMutexW(nullptr, TRUE, nullptr));
    DWORD dwResult = WAIT_FAILED;
    BOOL bReleased = FALSE;
    Thread other([&] {
        dwResult = WaitForSingleObject(mutex, INFINITE);
        bReleased = ReleaseMutex(mutex);
    });
    EXPECT_FALSE(other.HasEnded(20));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(other.HasEnded(c_dwLong));
    EXPECT_EQ(dwResult, WAIT_OBJECT_0);
    EXPECT_TRUE(bReleased);
    EXPECT_TRUE(IsSet(mutex));
}

TEST(WinbaseMutex, EndOfItsOwnerAbandonsItOnce)
{
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    {
        Thread owner([&] {
            WaitForSingleObject(mutex, INFINITE);
            WaitForSingleObject(mutex, INFINITE);
        });
    }
    EXPECT_EQ(WaitForSingleObject(mutex, c_dwLong), WAIT_ABANDONED_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex)) << "the old owner's depth was taken over";
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST(WinbaseMutex, AbandonedOneIsReportedByItsIndex)
{
    const Handle never(AutoResetEvent());
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    {
        Thread owner([&] { WaitForSingleObject(mutex, INFINITE); });
    }
    const HANDLE aHandles[] = {never, mutex};
    EXPECT_EQ(WaitForMultipleObjects(2, aHandles, FALSE, c_dwLong), WAIT_ABANDONED_0 + 1);
    EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST(WinbaseMutex, AThreadThatWaitsLearnsOfTheOwnersEnd)
{
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    const Handle owned(AutoResetEvent());
    const Handle end(AutoResetEvent());
    Thread owner([&] {
        WaitForSingleObject(mutex, INFINITE);
        SetEvent(owned);
        WaitForSingleObject(end, INFINITE);
    });
    WaitForSingleObject(owned, INFINITE);
    DWORD dwResult = WAIT_FAILED;
    Thread waiter([&] {
        dwResult = WaitForSingleObject(mutex, INFINITE);
        ReleaseMutex(mutex);
    });
    EXPECT_FALSE(waiter.HasEnded(20));
    SetEvent(end);
    EXPECT_TRUE(waiter.HasEnded(c_dwLong));
    EXPECT_EQ(dwResult, WAIT_ABANDONED_0);
}

TEST(WinbaseMutex, IsOpenedByName)
{
    const wchar_t* const pwszName = L"winbase_mutex_test.common";
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(OpenMutexW(MUTEX_ALL_ACCESS, FALSE, pwszName), nullptr); }),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    const Handle mutex(CreateMutexW(nullptr, TRUE, pwszName));
    const Handle opened(OpenMutexW(MUTEX_ALL_ACCESS, FALSE, pwszName));
    ASSERT_TRUE(opened);
    EXPECT_TRUE(ReleaseMutex(opened));
    EXPECT_FALSE(ReleaseMutex(mutex));
}

TEST(WinbaseMutex, InitialOwnerOfAnExistingOneGetsNothing)
{
    const wchar_t* const pwszName = L"winbase_mutex_test.owned";
    const Handle mutex(CreateMutexW(nullptr, FALSE, pwszName));
    const Handle again(CreateMutexW(nullptr, TRUE, pwszName));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_FALSE(ReleaseMutex(again));
}

TEST(WinbaseMutex, WrongHandlesAreRefused)
{
    const Handle event(AutoResetEvent());
    for (const HANDLE h : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, static_cast<HANDLE>(event)})
    {
        EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(ReleaseMutex(h)); }), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
}

}  // namespace
