#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

TEST(WinbaseInterlocked, IncrementAndDecrementGiveTheNewValue)
{
    LONG n = 5;
    EXPECT_EQ(InterlockedIncrement(&n), 6);
    EXPECT_EQ(InterlockedDecrement(&n), 5);
    LONG64 n64 = 0x1'0000'0000;
    EXPECT_EQ(InterlockedIncrement64(&n64), 0x1'0000'0001);
    EXPECT_EQ(InterlockedDecrement64(&n64), 0x1'0000'0000);
}

TEST(WinbaseInterlocked, IncrementWrapsRound)
{
    LONG n = 0x7FFFFFFF;
    EXPECT_EQ(InterlockedIncrement(&n), static_cast<LONG>(0x80000000U));
}

TEST(WinbaseInterlocked, ExchangesGiveTheOldValue)
{
    LONG n = 5;
    EXPECT_EQ(InterlockedExchange(&n, 7), 5);
    EXPECT_EQ(InterlockedExchangeAdd(&n, 3), 7);
    EXPECT_EQ(n, 10);
    EXPECT_EQ(InterlockedOr(&n, 5), 10);
    EXPECT_EQ(InterlockedAnd(&n, 12), 15);
    EXPECT_EQ(InterlockedXor(&n, 4), 12);
    EXPECT_EQ(n, 8);
    LONG64 n64 = 5;
    EXPECT_EQ(InterlockedExchange64(&n64, 7), 5);
    EXPECT_EQ(InterlockedExchangeAdd64(&n64, 3), 7);
    EXPECT_EQ(n64, 10);
}

TEST(WinbaseInterlocked, CompareExchangeStoresOnlyOnAMatch)
{
    LONG n = 5;
    EXPECT_EQ(InterlockedCompareExchange(&n, 9, 4), 5);
    EXPECT_EQ(n, 5);
    EXPECT_EQ(InterlockedCompareExchange(&n, 9, 5), 5);
    EXPECT_EQ(n, 9);
    LONG64 n64 = 5;
    EXPECT_EQ(InterlockedCompareExchange64(&n64, 9, 4), 5);
    EXPECT_EQ(InterlockedCompareExchange64(&n64, 9, 5), 5);
    EXPECT_EQ(n64, 9);
    int a = 0;
    int b = 0;
    PVOID p = &a;
    EXPECT_EQ(InterlockedCompareExchangePointer(&p, &b, nullptr), &a);
    EXPECT_EQ(InterlockedCompareExchangePointer(&p, &b, &a), &a);
    EXPECT_EQ(InterlockedExchangePointer(&p, &a), &b);
    EXPECT_EQ(p, &a);
}

TEST(WinbaseInterlocked, NoCountIsLostBetweenThreads)
{
    constexpr LONG c_nRounds = 20000;
    LONG n = 0;
    {
        const auto body = [&] {
            for (LONG i = 0; i < c_nRounds; ++i)
            {
                InterlockedIncrement(&n);
            }
        };
        Thread t1(body);
        Thread t2(body);
        Thread t3(body);
    }
    EXPECT_EQ(n, 3 * c_nRounds);
}

}  // namespace
