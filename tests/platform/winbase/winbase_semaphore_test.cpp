#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

TEST(WinbaseSemaphore, LetsAsManyPassAsItCounts)
{
    const Handle semaphore(CreateSemaphoreW(nullptr, 2, 5, nullptr));
    EXPECT_TRUE(IsSet(semaphore));
    EXPECT_TRUE(IsSet(semaphore));
    EXPECT_FALSE(IsSet(semaphore));
    LONG nPrevious = -1;
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 3, &nPrevious));
    EXPECT_EQ(nPrevious, 0);
    EXPECT_TRUE(IsSet(semaphore));
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 1, &nPrevious));
    EXPECT_EQ(nPrevious, 2);
}

TEST(WinbaseSemaphore, ReleasePastTheMaximumChangesNothing)
{
    const Handle semaphore(CreateSemaphoreW(nullptr, 1, 2, nullptr));
    LONG nPrevious = -1;
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(ReleaseSemaphore(semaphore, 2, &nPrevious)); }),
              static_cast<DWORD>(ERROR_TOO_MANY_POSTS));
    EXPECT_EQ(nPrevious, -1);
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(ReleaseSemaphore(semaphore, 0x7FFFFFFF, nullptr)); }),
              static_cast<DWORD>(ERROR_TOO_MANY_POSTS));
    EXPECT_TRUE(IsSet(semaphore));
    EXPECT_FALSE(IsSet(semaphore));
}

TEST(WinbaseSemaphore, ImpossibleCountsAreRefused)
{
    const auto errorOf = [](LONG nInitial, LONG nMaximum) {
        return LastErrorOf([=] { EXPECT_EQ(CreateSemaphoreW(nullptr, nInitial, nMaximum, nullptr), nullptr); });
    };
    EXPECT_EQ(errorOf(0, 0), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(errorOf(-1, 1), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(errorOf(2, 1), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(errorOf(0, -1), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(WinbaseSemaphore, ReleaseOfSeveralReleasesSeveralWaiters)
{
    const Handle semaphore(CreateSemaphoreW(nullptr, 0, 3, nullptr));
    const auto body = [&] { EXPECT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_OBJECT_0); };
    Thread t1(body);
    Thread t2(body);
    Thread t3(body);
    ReleaseSemaphore(semaphore, 3, nullptr);
    EXPECT_TRUE(t1.HasEnded(c_dwLong));
    EXPECT_TRUE(t2.HasEnded(c_dwLong));
    EXPECT_TRUE(t3.HasEnded(c_dwLong));
    EXPECT_FALSE(IsSet(semaphore));
}

TEST(WinbaseSemaphore, IsOpenedByName)
{
    const wchar_t* const pwszName = L"winbase_semaphore_test.common";
    const Handle semaphore(CreateSemaphoreW(nullptr, 1, 1, pwszName));
    const Handle opened(OpenSemaphoreW(SEMAPHORE_ALL_ACCESS, FALSE, pwszName));
    EXPECT_TRUE(IsSet(opened));
    EXPECT_FALSE(IsSet(semaphore));
}

TEST(WinbaseSemaphore, WrongHandlesAreRefused)
{
    const Handle event(AutoResetEvent());
    for (const HANDLE h : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, static_cast<HANDLE>(event)})
    {
        EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(ReleaseSemaphore(h, 1, nullptr)); }),
                  static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
}

TEST(WinbaseSemaphore, ReleaseOfNegativeCountIsRefused)
{
    const Handle semaphore(CreateSemaphoreW(nullptr, 1, 2, nullptr));
    EXPECT_FALSE(ReleaseSemaphore(semaphore, -1, nullptr));
    EXPECT_TRUE(IsSet(semaphore));
    EXPECT_FALSE(IsSet(semaphore));
}

}  // namespace
