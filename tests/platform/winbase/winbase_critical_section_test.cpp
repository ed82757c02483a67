#include <memory>
#include <vector>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

class Section
{
public:
    Section() { InitializeCriticalSection(&m_section); }
    ~Section() { DeleteCriticalSection(&m_section); }
    CRITICAL_SECTION* operator&() { return &m_section; }

private:
    CRITICAL_SECTION m_section;
};

BOOL TryOnAnotherThread(CRITICAL_SECTION* pSection)
{
    BOOL bEntered = FALSE;
    Thread other([&] {
        bEntered = TryEnterCriticalSection(pSection);
        if (bEntered)
        {
            LeaveCriticalSection(pSection);
        }
    });
    other.Join();
    return bEntered;
}

TEST(WinbaseCriticalSection, OneThreadAtATimeIsInside)
{
    constexpr int c_nThreads = 4;
    constexpr int c_nRounds = 5000;
    Section section;
    int nShared = 0;
    const auto body = [&] {
        for (int i = 0; i < c_nRounds; ++i)
        {
            EnterCriticalSection(&section);
            ++nShared;
            LeaveCriticalSection(&section);
        }
    };
    {
        std::vector<std::unique_ptr<Thread<decltype(body)>>> vThreads;
        for (int i = 0; i < c_nThreads; ++i)
        {
            vThreads.push_back(std::make_unique<Thread<decltype(body)>>(body));
        }
    }
    EXPECT_EQ(nShared, c_nThreads * c_nRounds);
}

TEST(WinbaseCriticalSection, OwnerMayEnterAgainAndLeavesAsOften)
{
    Section section;
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    EXPECT_FALSE(TryOnAnotherThread(&section));
    LeaveCriticalSection(&section);
    LeaveCriticalSection(&section);
    EXPECT_FALSE(TryOnAnotherThread(&section));
    LeaveCriticalSection(&section);
    EXPECT_TRUE(TryOnAnotherThread(&section));
}

TEST(WinbaseCriticalSection, EveryWayOfInitialisingWorks)
{
    CRITICAL_SECTION spinning;
    CRITICAL_SECTION extended;
    EXPECT_TRUE(InitializeCriticalSectionAndSpinCount(&spinning, 4000));
    EXPECT_TRUE(InitializeCriticalSectionEx(&extended, 4000, 0));
    for (CRITICAL_SECTION* pSection : {&spinning, &extended})
    {
        EnterCriticalSection(pSection);
        EXPECT_FALSE(TryOnAnotherThread(pSection));
        LeaveCriticalSection(pSection);
        EXPECT_TRUE(TryOnAnotherThread(pSection));
        DeleteCriticalSection(pSection);
    }
}

TEST(WinbaseCriticalSection, EnteringWaitsForTheOwner)
{
    Section section;
    EnterCriticalSection(&section);
    Thread other([&] {
        EnterCriticalSection(&section);
        LeaveCriticalSection(&section);
    });
    EXPECT_FALSE(other.HasEnded(20));
    LeaveCriticalSection(&section);
    EXPECT_TRUE(other.HasEnded(c_dwLong));
}

}  // namespace
