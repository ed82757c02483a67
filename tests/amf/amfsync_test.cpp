// Events, mutexes, critical sections and semaphores with their common interface; atomic counters.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "amf/common/amfsync.h"
#include "support/short_memory.h"
#include "support/slot_of.h"

using test_support::SlotOf;

namespace
{

// Unique for the process, since a name stands for one object.
std::wstring UniqueName()
{
    static std::atomic<int> s_nNames{0};
    return L"amfsync-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++s_nNames);
}

// What another thread gets.
bool LockElsewhere(AMFSyncBase& sync)
{
    bool bLocked = false;
    std::thread([&] {
        bLocked = sync.Lock(0);
        if (bLocked) sync.Unlock();
    }).join();
    return bLocked;
}

TEST(AmfEvent, LockIsTrueOnlyWhenItIsSignalled)
{
    AMFEvent event;
    EXPECT_FALSE(event.Lock(0));
    EXPECT_FALSE(event.Lock(1));
    EXPECT_TRUE(event.SetEvent());
    EXPECT_TRUE(event.Lock());
    EXPECT_FALSE(event.Lock(0)) << "it resets itself";
}

TEST(AmfEvent, LockTimeoutIsTrueAlsoWhenTheTimeIsOver)
{
    AMFEvent event;
    EXPECT_TRUE(event.LockTimeout(0));
    EXPECT_TRUE(event.LockTimeout(1));
    EXPECT_TRUE(event.SetEvent());
    EXPECT_TRUE(event.LockTimeout(0));
    EXPECT_FALSE(event.Lock(0)) << "it has taken the signal";
}

TEST(AmfEvent, ManualResetAndInitialState)
{
    AMFEvent event(true, true);
    EXPECT_TRUE(event.Lock(0));
    EXPECT_TRUE(event.Lock(0));
    EXPECT_TRUE(event.ResetEvent());
    EXPECT_FALSE(event.Lock(0));
}

TEST(AmfEvent, UnlockDoesNothingAndGivesTrue)
{
    AMFEvent event;
    EXPECT_TRUE(event.Unlock());
    EXPECT_FALSE(event.Lock(0));
}

TEST(AmfEvent, ItsNameMeansTheSameEvent)
{
    const std::wstring strName = UniqueName();
    AMFEvent first(false, true, strName.c_str());
    AMFEvent second(false, true, strName.c_str());
    first.SetEvent();
    EXPECT_TRUE(second.Lock(0));
}

TEST(AmfEvent, WithoutAHandleEverythingIsFalse)
{
    const std::wstring strName = UniqueName();
    const AMFMutex other(false, strName.c_str());
    AMFEvent event(true, true, strName.c_str());  // the name is a mutex's
    EXPECT_FALSE(event.HasHandle());
    EXPECT_FALSE(event.SetEvent());
    EXPECT_FALSE(event.ResetEvent());
    EXPECT_FALSE(event.Lock(0));
    EXPECT_FALSE(event.Lock());
    EXPECT_FALSE(event.LockTimeout(0));
    EXPECT_TRUE(event.Unlock());
}

TEST(AmfMutex, BelongsToTheThreadThatLockedIt)
{
    AMFMutex mutex;
    EXPECT_TRUE(mutex.Lock());
    EXPECT_TRUE(mutex.Lock(0)) << "again by its owner";
    EXPECT_FALSE(LockElsewhere(mutex));
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_FALSE(mutex.Unlock()) << "it is free";
    EXPECT_TRUE(LockElsewhere(mutex));
}

TEST(AmfMutex, CanBelongToItsMakerFromTheStart)
{
    AMFMutex mutex(true);
    EXPECT_FALSE(LockElsewhere(mutex));
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_TRUE(LockElsewhere(mutex));
}

TEST(AmfMutex, ExistingOneIsOpenedByItsName)
{
    const std::wstring strName = UniqueName();
    AMFMutex first(true, strName.c_str());
    AMFMutex second(false, strName.c_str(), true);
    EXPECT_FALSE(LockElsewhere(second));
    EXPECT_TRUE(second.Unlock());
    EXPECT_TRUE(LockElsewhere(first));
}

TEST(AmfMutex, WithoutAHandleLockAndUnlockAreFalse)
{
    AMFMutex mutex(false, UniqueName().c_str(), true);
    EXPECT_FALSE(mutex.Lock(0));
    EXPECT_FALSE(mutex.Lock());
    EXPECT_FALSE(mutex.Unlock());
}

TEST(AmfMutex, OneWhoseOwnerEndedIsTakenButNotReportedAsLocked)
{
    AMFMutex mutex;
    std::thread([&] { mutex.Lock(); }).join();
    EXPECT_FALSE(mutex.Lock());
    EXPECT_FALSE(LockElsewhere(mutex));
    EXPECT_TRUE(mutex.Unlock());
}

TEST(AmfCriticalSection, AdmitsOneThreadAtATime)
{
    AMFCriticalSection section;
    int nCount = 0;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i)
    {
        vThreads.emplace_back([&] {
            for (int j = 0; j < 1000; ++j)
            {
                EXPECT_TRUE(section.Lock());
                ++nCount;
                EXPECT_TRUE(section.Unlock());
            }
        });
    }
    for (std::thread& thread : vThreads)
    {
        thread.join();
    }
    EXPECT_EQ(nCount, 4000);
}

TEST(AmfCriticalSection, ItsOwnerEntersAgainWhateverTheTimeOut)
{
    AMFCriticalSection section;
    EXPECT_TRUE(section.Lock(0));
    EXPECT_TRUE(section.Lock(0));
    EXPECT_TRUE(section.Unlock());
    EXPECT_TRUE(section.Unlock());
}

TEST(AmfCriticalSection, WithoutMemoryBothAreFalse)
{
    const CShortMemory shortage(sizeof(CRITICAL_SECTION), sizeof(CRITICAL_SECTION));
    AMFCriticalSection section;
    EXPECT_GT(shortage.GetRefused(), 0U);
    EXPECT_FALSE(section.Lock());
    EXPECT_FALSE(section.Unlock());
}

TEST(AmfSemaphore, CountsLocksAndUnlocks)
{
    AMFSemaphore semaphore(1, 2);
    EXPECT_TRUE(semaphore.Lock());
    EXPECT_FALSE(semaphore.Lock(0));
    EXPECT_FALSE(semaphore.Lock(1));
    EXPECT_TRUE(semaphore.Unlock());
    EXPECT_TRUE(semaphore.Unlock());
    EXPECT_FALSE(semaphore.Unlock()) << "past the maximum";
    EXPECT_TRUE(semaphore.Lock(0));
    EXPECT_TRUE(semaphore.Lock(0));
    EXPECT_FALSE(semaphore.Lock(0));
}

TEST(AmfSemaphore, AMaximumOfZeroHasNoHandleAndLockGivesTrue)
{
    for (const int nMaximum : {0, -1})
    {
        AMFSemaphore semaphore(0, nMaximum);
        EXPECT_TRUE(semaphore.Lock());
        EXPECT_TRUE(semaphore.Lock(0));
        EXPECT_TRUE(semaphore.Unlock());
    }
}

TEST(AmfSemaphore, CreateReplacesItAndGivesTrueInAllCases)
{
    AMFSemaphore semaphore(1, 1);
    EXPECT_TRUE(semaphore.Create(0, 3));
    EXPECT_FALSE(semaphore.Lock(0));
    EXPECT_TRUE(semaphore.Create(2, 1)) << "impossible counts";
    EXPECT_TRUE(semaphore.Lock(0)) << "no handle";
    EXPECT_TRUE(semaphore.Create(2, 2));
    EXPECT_TRUE(semaphore.Lock(0));
    EXPECT_TRUE(semaphore.Lock(0));
    EXPECT_FALSE(semaphore.Lock(0));
    EXPECT_TRUE(semaphore.Create(0, 0));
    EXPECT_TRUE(semaphore.Lock(0));
}

TEST(AmfSemaphore, ItsNameMeansTheSameSemaphore)
{
    const std::wstring strName = UniqueName();
    AMFSemaphore first(1, 1, strName.c_str());
    AMFSemaphore second(1, 1, strName.c_str());
    EXPECT_TRUE(first.Lock(0));
    EXPECT_FALSE(second.Lock(0));
}

TEST(AmfSync, OperationsHaveTheirPlaces)
{
    EXPECT_EQ(SlotOf(&AMFSyncBase::Lock), 0U);
    EXPECT_EQ(SlotOf(&AMFSyncBase::Unlock), 1U);
    EXPECT_EQ(SlotOf(&AMFEvent::LockTimeout), 4U);
    EXPECT_EQ(SlotOf(&AMFSemaphore::Create), 4U);
}

TEST(AmfSync, EveryClassIsUsedThroughItsBase)
{
    AMFEvent event(true, true);
    AMFMutex mutex;
    AMFCriticalSection section;
    AMFSemaphore semaphore(1, 1);
    AMFSyncBase* const apSyncs[] = {&event, &mutex, &section, &semaphore};
    for (AMFSyncBase* pSync : apSyncs)
    {
        EXPECT_TRUE(pSync->Lock());
        EXPECT_TRUE(pSync->Unlock());
    }
}

TEST(AmfAtomic, GivesTheNewValue)
{
    std::int32_t nCounter = 5;
    EXPECT_EQ(amf_atomic_inc(&nCounter), 6);
    EXPECT_EQ(amf_atomic_dec(&nCounter), 5);
    EXPECT_EQ(nCounter, 5);
}

TEST(AmfAtomic, LosesNothingAmongThreads)
{
    std::int32_t nCounter = 0;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i)
    {
        vThreads.emplace_back([&] {
            for (int j = 0; j < 10000; ++j)
            {
                amf_atomic_inc(&nCounter);
                amf_atomic_inc(&nCounter);
                amf_atomic_dec(&nCounter);
            }
        });
    }
    for (std::thread& thread : vThreads)
    {
        thread.join();
    }
    EXPECT_EQ(nCounter, 40000);
}

TEST(AmfSystem, LibrariesAndTheirEntriesAreFoundByName)
{
    const HMODULE hNone = amf_load_library(L"no-such-library.dll");
    EXPECT_EQ(hNone, nullptr);
    EXPECT_FALSE(amf_free_library(nullptr));
}

}  // namespace
