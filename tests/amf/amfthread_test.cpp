// The thread and its stop: the sense of the event, the order of the last steps, and owners that are quick.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "amf/common/amfthreadobj.h"
#include "support/repetitions.h"
#include "support/short_memory.h"
#include "support/slot_of.h"

using test_support::SlotOf;

namespace
{

// Waits for what another thread is about to do.
template <typename TCondition>
void AwaitTrue(TCondition condition)
{
    while (!condition())
    {
        std::this_thread::yield();
    }
}

// Runs until it is let go, and records what was called.
class GatedThread : public AMFThread
{
public:
    ~GatedThread() override
    {
        LetGo();
        RequestStop();
        WaitForStop();
    }

    void LetGo() { m_gate.SetEvent(); }
    void AwaitRun()
    {
        AwaitTrue([this] { return m_nRuns > 0; });
    }

    bool Init() override
    {
        ++m_nInits;
        return m_bInitResult;
    }
    void Run() override
    {
        if (m_bStopsItself) RequestStop();
        ++m_nRuns;
        m_gate.Lock();
    }
    bool Terminate() override
    {
        ++m_nTerminates;
        m_bStopRequestedAtEnd = StopRequested();
        return true;
    }

    bool m_bInitResult = true;
    bool m_bStopsItself = false;
    std::atomic<int> m_nInits{0};
    std::atomic<int> m_nRuns{0};
    std::atomic<int> m_nTerminates{0};
    std::atomic<bool> m_bStopRequestedAtEnd{false};

private:
    AMFEvent m_gate{false, true};
};

TEST(AmfThread, OperationsHaveTheirPlaces)
{
    EXPECT_EQ(SlotOf(&AMFThread::Start), 2U);
    EXPECT_EQ(SlotOf(&AMFThread::RequestStop), 3U);
    EXPECT_EQ(SlotOf(&AMFThread::WaitForStop), 4U);
    EXPECT_EQ(SlotOf(&AMFThread::StopRequested), 5U);
    EXPECT_EQ(SlotOf(&AMFThread::IsRunning), 6U);
    EXPECT_EQ(SlotOf(&AMFThread::Run), 7U);
    EXPECT_EQ(SlotOf(&AMFThread::Init), 8U);
    EXPECT_EQ(SlotOf(&AMFThread::Terminate), 9U);
}

TEST(AmfThreadObj, OperationsHaveTheirPlaces)
{
    EXPECT_EQ(SlotOf(&AMFThreadObj::Start), 2U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::RequestStop), 3U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::WaitForStop), 4U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::StopRequested), 5U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::IsRunning), 6U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::Run), 7U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::Init), 8U);
    EXPECT_EQ(SlotOf(&AMFThreadObj::Terminate), 9U);
}

TEST(AmfThread, RequestStopBeforeStartGivesTrueAndNoStopIsRequested)
{
    GatedThread thread;
    EXPECT_TRUE(thread.RequestStop());
    EXPECT_FALSE(thread.StopRequested());
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_TRUE(thread.WaitForStop());
}

TEST(AmfThread, RunsInitThenRunThenTerminate)
{
    GatedThread thread;
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.IsRunning());
    thread.AwaitRun();
    EXPECT_EQ(thread.m_nInits, 1);
    EXPECT_EQ(thread.m_nTerminates, 0);
    EXPECT_FALSE(thread.StopRequested());

    EXPECT_TRUE(thread.RequestStop());
    EXPECT_TRUE(thread.StopRequested());
    thread.LetGo();
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_EQ(thread.m_nTerminates, 1);
    EXPECT_TRUE(thread.m_bStopRequestedAtEnd);
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_FALSE(thread.StopRequested()) << "the event is signalled again";
}

TEST(AmfThread, WaitForStopOnAThreadThatHasEndedGivesTrueAtOnce)
{
    GatedThread thread;
    thread.LetGo();
    EXPECT_TRUE(thread.Start());
    AwaitTrue([&] { return !thread.IsRunning(); });
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_TRUE(thread.RequestStop());
    EXPECT_FALSE(thread.StopRequested());
    EXPECT_TRUE(thread.WaitForStop());
}

TEST(AmfThread, WaitForStopWithoutARequestReturnsWhileItRuns)
{
    GatedThread thread;
    EXPECT_TRUE(thread.Start());
    thread.AwaitRun();
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_TRUE(thread.IsRunning());
}

TEST(AmfThread, WaitForStopWaitsForARunThatRequestedItItself)
{
    GatedThread thread;
    thread.m_bStopsItself = true;
    EXPECT_TRUE(thread.Start());
    thread.AwaitRun();
    std::atomic<bool> bReturned{false};
    std::thread waiter([&] {
        EXPECT_TRUE(thread.WaitForStop());
        bReturned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // a wait that doesn't wait has returned by then
    EXPECT_FALSE(bReturned);
    EXPECT_EQ(thread.m_nTerminates, 0);
    thread.LetGo();
    waiter.join();
    EXPECT_EQ(thread.m_nTerminates, 1);
}

TEST(AmfThread, TheSecondStartOfARunningThreadGivesTrueAndStartsNothing)
{
    GatedThread thread;
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Start());
    thread.AwaitRun();
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.RequestStop());
    thread.LetGo();
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_EQ(thread.m_nInits, 1);
    EXPECT_EQ(thread.m_nRuns, 1);
}

TEST(AmfThread, ItCanBeStartedAgainAfterItsEnd)
{
    GatedThread thread;
    thread.LetGo();
    for (int i = 1; i <= 3; ++i)
    {
        EXPECT_TRUE(thread.Start());
        EXPECT_TRUE(thread.RequestStop());
        EXPECT_TRUE(thread.WaitForStop());
        EXPECT_EQ(thread.m_nRuns, i);
        EXPECT_FALSE(thread.StopRequested());
    }
}

// It keeps its handle, so nothing would end a wait for it. The wait is refused.
TEST(AmfThread, OneWhoseInitFailedStaysRunningAndItsWaitFails)
{
    GatedThread thread;
    thread.m_bInitResult = false;
    EXPECT_TRUE(thread.Start());
    AwaitTrue([&] { return thread.m_nInits > 0; });
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_TRUE(thread.RequestStop());
    EXPECT_FALSE(thread.WaitForStop());
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_TRUE(thread.Start()) << "starts nothing";
    EXPECT_FALSE(thread.WaitForStop());
    EXPECT_EQ(thread.m_nInits, 1);
    EXPECT_EQ(thread.m_nRuns, 0);
    EXPECT_EQ(thread.m_nTerminates, 0);
}

// An Init that fails while its owner waits already.
class LateFailure : public AMFThread
{
public:
    bool Init() override
    {
        m_gate.Lock();
        return false;
    }
    void Run() override {}
    AMFEvent m_gate{false, true};
};

TEST(AmfThread, AWaitEndsWhenInitFails)
{
    LateFailure thread;
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.RequestStop());
    bool bResult = true;
    std::thread waiter([&] { bResult = thread.WaitForStop(); });
    thread.m_gate.SetEvent();
    waiter.join();
    EXPECT_FALSE(bResult);
}

// --- quick owners and quick threads

class ShortThread : public AMFThread
{
public:
    explicit ShortThread(std::atomic<int>& nRuns) : m_nRuns(nRuns) {}
    void Run() override { ++m_nRuns; }

private:
    std::atomic<int>& m_nRuns;
};

// A thread that touched its object after the owner was released would do it in freed memory.
TEST(AmfThread, AnOwnerMayDeleteItRightAfterWaitForStop)
{
    const int nRounds = test_support::Repetitions(4000);
    std::atomic<int> nRuns{0};
    for (int i = 0; i < nRounds; ++i)
    {
        auto pThread = std::make_unique<ShortThread>(nRuns);
        ASSERT_TRUE(pThread->Start());
        ASSERT_TRUE(pThread->RequestStop());
        ASSERT_TRUE(pThread->WaitForStop());
        pThread.reset();
    }
    EXPECT_EQ(nRuns, nRounds);
}

class SelfStopping : public AMFThread
{
public:
    explicit SelfStopping(AMFEvent& armed) : m_armed(armed) {}
    void Run() override
    {
        RequestStop();
        m_armed.SetEvent();
    }

private:
    AMFEvent& m_armed;
};

TEST(AmfThread, AnOwnerMayDeleteOneThatRequestedItsStopItself)
{
    const int nRounds = test_support::Repetitions(4000);
    AMFEvent armed;
    for (int i = 0; i < nRounds; ++i)
    {
        auto pThread = std::make_unique<SelfStopping>(armed);
        ASSERT_TRUE(pThread->Start());
        ASSERT_TRUE(armed.Lock());
        ASSERT_TRUE(pThread->WaitForStop());
        pThread.reset();
    }
}

// The handle is stored after the thread may have ended; a thread that has ended must not look like a running one.
TEST(AmfThread, OneThatEndsBeforeStartHasReturnedIsNotTakenForARunningOne)
{
    const int nRounds = test_support::Repetitions(4000);
    std::atomic<int> nRuns{0};
    ShortThread thread(nRuns);
    for (int i = 1; i <= nRounds; ++i)
    {
        ASSERT_TRUE(thread.Start());
        AwaitTrue([&] { return nRuns == i && !thread.IsRunning(); });
    }
    EXPECT_EQ(nRuns, nRounds);
}

// Run's own request comes while Start is still under way, and counts all the same.
TEST(AmfThread, AStopThatRunRequestsAtOnceIsNotLost)
{
    const int nRounds = test_support::Repetitions(1000);
    for (int i = 0; i < nRounds; ++i)
    {
        GatedThread thread;
        thread.m_bStopsItself = true;
        ASSERT_TRUE(thread.Start());
        thread.AwaitRun();
        ASSERT_TRUE(thread.StopRequested());
    }
}

TEST(AmfThread, StopRequestsFromManyThreadsDoNotKeepItsEndFromBeingSeen)
{
    const int nRounds = test_support::Repetitions(300);
    for (int i = 0; i < nRounds; ++i)
    {
        GatedThread thread;
        thread.LetGo();
        ASSERT_TRUE(thread.Start());
        std::vector<std::thread> vOthers;
        for (int j = 0; j < 3; ++j)
        {
            vOthers.emplace_back([&] { thread.RequestStop(); });
        }
        for (std::thread& other : vOthers)
        {
            other.join();
        }
        ASSERT_TRUE(thread.WaitForStop());
        AwaitTrue([&] { return !thread.IsRunning(); });
        ASSERT_FALSE(thread.StopRequested());
    }
}

// --- without memory

TEST(AmfThread, WithoutMemoryItDoesNotStart)
{
    std::atomic<int> nRuns{0};
    std::unique_ptr<ShortThread> pThread;
    for (unsigned uiRequest = 1; uiRequest <= 2; ++uiRequest)
    {
        alignas(ShortThread) unsigned char auchPlace[sizeof(ShortThread)];
        ShortThread* pPlaced = nullptr;
        {
            const CShortMemory shortage(uiRequest);
            pPlaced = new (auchPlace) ShortThread(nRuns);
            EXPECT_EQ(shortage.GetRefused(), 1U);
        }
        EXPECT_FALSE(pPlaced->Start());
        EXPECT_FALSE(pPlaced->IsRunning());
        EXPECT_FALSE(pPlaced->StopRequested());
        EXPECT_TRUE(pPlaced->RequestStop());
        EXPECT_TRUE(pPlaced->WaitForStop());
        pPlaced->~ShortThread();
    }
    EXPECT_EQ(nRuns, 0);
}

TEST(AmfThread, WithoutMemoryForTheSystemsThreadStartGivesFalse)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "the system's memory can't be made short here";
    std::atomic<int> nRuns{0};
    ShortThread thread(nRuns);
    {
        const CShortMemory shortage(1U);
        EXPECT_FALSE(thread.Start());
        EXPECT_EQ(shortage.GetRefused(), 1U);
    }
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_TRUE(thread.Start()) << "with memory again";
    EXPECT_TRUE(thread.RequestStop());
    EXPECT_TRUE(thread.WaitForStop());
}

}  // namespace
