// The store of decoded frames by itself.
#include <algorithm>
#include <future>
#include <memory>
#include <set>

#include "e2e/peak_memory.h"
#include "grabber_fixture.h"
#include "support/moved_clock.h"
#include "support/short_memory.h"

namespace
{

using test_support::MoveClock;

TEST_F(Grabber, SetWindowReturnsWhetherTheFrameAndTheWholeWindowAreStored)
{
    Play(10);
    Deliver(5);  // 10 to 14
    const auto IsStored = [&](std::uint64_t uiFrame, std::uint64_t uiStart, std::uint64_t uiEnd) {
        return m_pStore->SetWindow(uiFrame, uiStart, uiEnd, 1000, WIDTH, HEIGHT);
    };
    EXPECT_TRUE(IsStored(12, 10, 15));
    EXPECT_FALSE(IsStored(12, 10, 16));
    EXPECT_FALSE(IsStored(12, 9, 15));
    EXPECT_FALSE(IsStored(15, 10, 15));
    EXPECT_TRUE(IsStored(12, 100, 100));  // an empty window
    EXPECT_FALSE(IsStored(12, 10, ~std::uint64_t{0}));
}

TEST_F(Grabber, SetWindowStoresItsArguments)
{
    m_pStore->SetWindow(1, 2, 3, 4, 5, 6);
    const SFrameWindow window = m_pStore->GetWindow();
    EXPECT_EQ(window.m_uiStart, 2U);
    EXPECT_EQ(window.m_uiEnd, 3U);
    EXPECT_EQ(window.m_uiLast, 4U);
    EXPECT_EQ(window.m_uiWidth, 5U);
    EXPECT_EQ(window.m_uiHeight, 6U);
}

TEST_F(Grabber, FindFrameReturnsTheRecordOrNull)
{
    EXPECT_EQ(m_pStore->FindFrame(0), nullptr);
    Play(10);
    Deliver(3);
    ASSERT_NE(m_pStore->FindFrame(11), nullptr);
    EXPECT_EQ(m_pStore->FindFrame(11)->m_uiFrameIndex, 11U);
    EXPECT_EQ(m_pStore->FindFrame(13), nullptr);
}

TEST_F(Grabber, NearTailLooksAtTheNewestFramesOnly)
{
    EXPECT_FALSE(m_pStore->IsNearTail(0, 8, 1000));  // nothing is stored
    Play(0);
    Deliver(20);
    EXPECT_TRUE(m_pStore->IsNearTail(19, 8, 1000));
    EXPECT_TRUE(m_pStore->IsNearTail(12, 8, 1000));
    EXPECT_FALSE(m_pStore->IsNearTail(11, 8, 1000));
    EXPECT_TRUE(m_pStore->IsNearTail(0, 48, 1000));
    EXPECT_FALSE(m_pStore->IsNearTail(20, 48, 1000));
    EXPECT_FALSE(m_pStore->IsNearTail(19, 0, 1000));
}

TEST_F(Grabber, NearTailIsFalseWhenTheTailHasReachedTheLastFrame)
{
    Play(0);
    Deliver(20);
    EXPECT_TRUE(m_pStore->IsNearTail(19, 8, 20));
    EXPECT_FALSE(m_pStore->IsNearTail(19, 8, 19));
}

TEST_F(Grabber, ClearFramesFreesTheOldestDownToANumber)
{
    Play(0);
    Deliver(10);
    m_pStore->ClearFrames(20);
    EXPECT_EQ(Stored(), Range(0, 9));
    m_pStore->ClearFrames(3);
    EXPECT_EQ(Stored(), Range(7, 9));
    m_pStore->ClearFrames(0);
    EXPECT_TRUE(Stored().empty());
}

// The leak detector allows the records of frames to leak, since a trim leaves them. So what a clear frees shows in the
// memory that the process takes: a record and its pixels are more than 200 bytes.
TEST_F(Grabber, ClearFramesFreesRecordsWithTheirPixels)
{
    if (QM_SANITIZED) GTEST_SKIP() << "a sanitizer keeps freed memory";
    constexpr std::uint64_t FRAMES = 1'000'000;
    Play(0, FRAMES + 1);
    Deliver(1);
    m_pStore->ClearFrames(0);
    const auto uiBefore = PeakMemory();
    if (!uiBefore) GTEST_SKIP() << "the system doesn't report the memory of a process";
    const std::vector<unsigned char> vSample = MakeNumberedSample(WIDTH, HEIGHT, 0);
    for (std::uint64_t i = 0; i < FRAMES; ++i)
    {
        Feed(vSample);
        m_pStore->ClearFrames(0);
    }
    EXPECT_LT(*PeakMemory(), *uiBefore + (16U << 20));
}

TEST_F(Grabber, TrimFramesDropsWhatIsOlderThanTheRequestedFrame)
{
    Play(0);
    Deliver(10);
    Request(4, 3);
    m_pStore->TrimFrames();
    EXPECT_EQ(Stored(), Range(4, 9));
    EXPECT_EQ(m_pStore->GetWindow().m_uiStart, 4U);
}

TEST_F(Grabber, TrimFramesDoesNothingWhenTheRequestedFrameIsNotStored)
{
    Play(5);
    Deliver(3);
    Request(20, 3);
    m_pStore->TrimFrames();
    EXPECT_EQ(Stored(), Range(5, 7));
    EXPECT_EQ(m_pStore->GetWindow().m_uiStart, 5U);
}

TEST_F(Grabber, ATrimmedRecordStaysAllocatedWithoutItsPixels)
{
    Play(0);
    Deliver(3);
    const SQmGrabbedFrame* pTrimmed = m_pStore->FindFrame(0);
    Request(1, 0);
    m_pStore->TrimFrames();
    EXPECT_EQ(m_pStore->FindFrame(0), nullptr);
    EXPECT_EQ(pTrimmed->m_uiFrameIndex, 0U);
    EXPECT_EQ(pTrimmed->m_Picture.m_pData, nullptr);
    delete pTrimmed;
}

TEST_F(Grabber, TheNextSamplesOverwriteThePixelsOfTrimmedFrames)
{
    Play(0);
    Deliver(4);
    std::set<const unsigned char*> setTrimmed;
    std::vector<std::unique_ptr<const SQmGrabbedFrame>> vRecords;
    for (std::uint64_t i = 0; i < 2; ++i)
    {
        vRecords.emplace_back(m_pStore->FindFrame(i));
        setTrimmed.insert(vRecords.back()->m_Picture.m_pData);
    }
    Request(2, 1);
    m_pStore->TrimFrames();

    Deliver(3);
    std::set<const unsigned char*> setTaken;
    for (std::uint64_t i = 4; i < 7; ++i)
    {
        ASSERT_NE(m_pStore->FindFrame(i), nullptr);
        EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(i)->m_Picture.m_pData), i);
        setTaken.insert(m_pStore->FindFrame(i)->m_Picture.m_pData);
    }
    EXPECT_EQ(setTaken.size(), 3U);
    EXPECT_TRUE(std::includes(setTaken.begin(), setTaken.end(), setTrimmed.begin(), setTrimmed.end()));
}

// The frames would show the pixels of those before them.
TEST_F(Grabber, TrimmedPixelsAreNotForSamplesThatBecomeNoPictures)
{
    Play(0);
    Deliver(3);
    m_pStore->Connect(nullptr, nullptr, true);
    Feed({});  // 3
    const std::unique_ptr<const SQmGrabbedFrame> apRecords[] = {
        std::unique_ptr<const SQmGrabbedFrame>(m_pStore->FindFrame(0)),
        std::unique_ptr<const SQmGrabbedFrame>(m_pStore->FindFrame(1))};
    Request(2, 1);
    m_pStore->TrimFrames();
    for (std::uint64_t i = 4; i < 7; ++i)
    {
        Feed({});
        const SQmPicBuf& picture = m_pStore->FindFrame(i)->m_Picture;
        EXPECT_EQ(std::count(picture.m_pData, picture.m_pData + picture.m_uiSize, 0), std::ptrdiff_t(picture.m_uiSize));
    }
}

TEST_F(Grabber, TrimmedPixelsAreNotForPicturesOfAnotherSize)
{
    Play(0);
    Deliver(2);
    const std::unique_ptr<const SQmGrabbedFrame> pRecord(m_pStore->FindFrame(0));
    Request(1, 0);
    m_pStore->TrimFrames();
    m_pStore->SetWindow(0, 2, 1000, 1000, WIDTH * 8, HEIGHT);
    EXPECT_EQ(Feed(MakeNumberedSample(WIDTH * 8, HEIGHT, 2)), S_OK);
    const SQmPicBuf& picture = m_pStore->FindFrame(2)->m_Picture;
    EXPECT_EQ(picture.m_uiWidth, WIDTH * 8);
    EXPECT_EQ(picture.m_uiSize, WIDTH * 8 * 3 * HEIGHT);
    EXPECT_EQ(NumberInPicture(picture.m_pData), 2U);
}

TEST_F(Grabber, AFrameWithoutMemoryIsANullEntryThatEverythingPasses)
{
    Play(0);
    Deliver(2);
    {
        const CShortMemory shortMemory(sizeof(SQmGrabbedFrame), sizeof(SQmGrabbedFrame));
        const std::vector<unsigned char> vSample = MakeNumberedSample(WIDTH, HEIGHT, m_uiNumber++);
        EXPECT_EQ(Feed(vSample), S_OK);
        EXPECT_EQ(shortMemory.GetRefused(), 1U);
    }
    EXPECT_EQ(m_pStore->CountFrames(), 3U);
    EXPECT_EQ(m_pStore->FindFrame(2), nullptr);
    EXPECT_FALSE(m_pStore->IsNearTail(1, 48, 1000));  // the newest has no index
    Deliver(2);                                       // 3 and 4: the numbers went on
    EXPECT_TRUE(m_pStore->IsNearTail(1, 48, 1000));
    EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(4)->m_Picture.m_pData), 4);

    Request(4, 3);
    m_pStore->TrimFrames();  // as far as the null entry
    EXPECT_EQ(m_pStore->CountFrames(), 3U);
    EXPECT_EQ(m_pStore->FindFrame(1), nullptr);
    EXPECT_NE(m_pStore->FindFrame(3), nullptr);
    m_pStore->ClearFrames(0);
    EXPECT_EQ(m_pStore->CountFrames(), 0U);
}

// The number goes on, and the pause lets the frame come again.
TEST_F(Grabber, AFrameWithoutMemoryForItsPixelsIsDroppedAndPausesThePlay)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "the pixels are a library's";
    m_pStore->Connect(nullptr, nullptr, true);
    m_pStore->BeginFirstPlay(1000, 640, 480);
    EXPECT_EQ(Feed({}), S_OK);
    {
        const CShortMemory shortMemory(640 * 480 * 3, 640 * 480 * 3 + 1000);
        EXPECT_EQ(Feed({}), S_OK);
        EXPECT_EQ(shortMemory.GetRefused(), 1U);
    }
    EXPECT_EQ(Stored(), Range(0, 0));
    EXPECT_TRUE(WantsPause());
    EXPECT_EQ(Feed({}), S_OK);
    EXPECT_EQ(m_pStore->CountFrames(), 2U);
    ASSERT_NE(m_pStore->FindFrame(2), nullptr);
    EXPECT_NE(m_pStore->FindFrame(2)->m_Picture.m_pData, nullptr);
}

// --- memory ---

// NV12 samples leave the pixels of a frame untouched, so that the memory of large ones is reserved and not taken.
class LargePictures : public Grabber
{
protected:
    // Frames that the store holds when so many of that size were delivered; the play wants its pause at the last one
    // that was stored.
    std::size_t CountAfter(std::uint32_t uiSamples, std::uint32_t uiWidth, std::uint32_t uiHeight)
    {
        m_pStore->Connect(nullptr, nullptr, true);
        m_pStore->BeginFirstPlay(1000, uiWidth, uiHeight);
        std::size_t uiPauseAt = 0;
        for (std::uint32_t i = 0; i < uiSamples; ++i)
        {
            EXPECT_EQ(Feed({}), S_OK);
            if (WantsPause()) uiPauseAt = m_pStore->CountFrames();
        }
        EXPECT_EQ(uiPauseAt, m_pStore->GetWindowSize() + 1);
        return m_pStore->CountFrames();
    }
};

TEST_F(LargePictures, Of16384x16384TwoAreStored)
{
    EXPECT_EQ(CountAfter(6, 16384, 16384), 2U);
    EXPECT_EQ(m_pStore->GetWindowSize(), 1U);
    EXPECT_NE(m_pStore->FindFrame(0), nullptr);
    EXPECT_NE(m_pStore->FindFrame(1), nullptr);
    EXPECT_NE(m_pStore->FindFrame(1)->m_Picture.m_pData, nullptr);
}

TEST_F(LargePictures, LargerThanTheLimitTwoAreStored)
{
    EXPECT_EQ(CountAfter(4, 32768, 32768), 2U);
}

// 2^31 / (3 * 8192 * 4320) is 20.2.
TEST_F(LargePictures, Of8192x4320TwentyAreStored)
{
    EXPECT_EQ(CountAfter(30, 8192, 4320), 20U);
    EXPECT_EQ(m_pStore->GetWindowSize(), 19U);
}

TEST_F(LargePictures, Of4096x2304AFullWindowIsStoredAndWhatIsOnItsWay)
{
    EXPECT_EQ(CountAfter(52, 4096, 2304), 52U);
    EXPECT_EQ(m_pStore->GetWindowSize(), 48U);
}

TEST_F(LargePictures, TheRequestedFrameTakesThePlaceOfOlderOnes)
{
    EXPECT_EQ(CountAfter(3, 16384, 16384), 2U);
    Request(4, 2);
    Feed({});  // 3 is dropped
    EXPECT_EQ(Stored(), Range(0, 1));
    Feed({});
    EXPECT_EQ(Stored(), Range(4, 4));
}

// --- requests ---

class AskedStore : public Grabber
{
protected:
    bool Ask(std::uint64_t uiIndex) { return m_pStore->AskForFrame(uiIndex, m_vPixels.data(), &m_nStatus); }

    // Waits on a thread of its own.
    std::future<QmStatus> Wait()
    {
        return std::async(std::launch::async, [this] { return m_pStore->WaitForFrame(m_vPixels.data()); });
    }

    static bool Waits(const std::future<QmStatus>& result)
    {
        return result.wait_for(std::chrono::milliseconds(30)) == std::future_status::timeout;
    }

    std::vector<unsigned char> m_vPixels = std::vector<unsigned char>(WIDTH * HEIGHT * 3);
    QmStatus m_nStatus = 1;
};

TEST_F(AskedStore, AStoredFrameIsAnsweredAtOnce)
{
    Play(0);
    Deliver(3);
    ASSERT_TRUE(Ask(2));
    EXPECT_EQ(m_nStatus, QM_OK);
    EXPECT_EQ(NumberInPicture(m_vPixels.data()), 2);
}

TEST_F(AskedStore, AStoredFrameWithoutPixelsFailsAtOnce)
{
    Play(0);
    Feed({});
    ASSERT_TRUE(Ask(0));
    EXPECT_EQ(m_nStatus, QM_ERR_FAIL);
}

TEST_F(AskedStore, TheRequestedFrameIsSignalledWhenItComes)
{
    Play(0);
    ASSERT_FALSE(Ask(2));
    std::future<QmStatus> result = Wait();
    Deliver(2);
    EXPECT_TRUE(Waits(result));
    Deliver(1);
    EXPECT_EQ(result.get(), QM_OK);
    EXPECT_EQ(NumberInPicture(m_vPixels.data()), 2);
}

// The worker's pause between two looks: none while the host waits.
TEST_F(AskedStore, ARestIsCutShortOnlyWhileARequestWaits)
{
    const auto measureRest = [this](DWORD dwMilliseconds) {
        const auto begin = std::chrono::steady_clock::now();
        m_pStore->RestUnlessHostWaits(dwMilliseconds);
        return std::chrono::steady_clock::now() - begin;
    };
    constexpr std::chrono::milliseconds REST{10};  // timers may end a little early
    Play(0);
    EXPECT_GE(measureRest(20), REST);
    ASSERT_FALSE(Ask(2));
    for (int i = 0; i < 2; ++i)
        m_pStore->RestUnlessHostWaits(INFINITE);
    Deliver(2);
    m_pStore->RestUnlessHostWaits(INFINITE);
    Deliver(1);
    EXPECT_GE(measureRest(20), REST);
    ASSERT_TRUE(Ask(1));
    EXPECT_GE(measureRest(20), REST);
    ASSERT_FALSE(Ask(5));
    m_pStore->EndPlays();
    EXPECT_GE(measureRest(20), REST);
}

TEST_F(AskedStore, NoRestFollowsTheClose)
{
    std::atomic<bool> bStop{false};
    m_pStore->Connect(nullptr, &bStop, false);
    m_pStore->Close();
    m_pStore->RestUnlessHostWaits(INFINITE);
    m_pStore->EndPlays();
    m_pStore->RestUnlessHostWaits(INFINITE);
    EXPECT_TRUE(bStop);
    m_pStore->Disconnect();
}

TEST_F(AskedStore, ASignalForAnEarlierRequestDoesNotEndTheWait)
{
    Play(0);
    ASSERT_FALSE(Ask(1));
    Deliver(2);  // signals 1, and no thread waits
    ASSERT_FALSE(Ask(3));
    std::future<QmStatus> result = Wait();
    EXPECT_TRUE(Waits(result));
    Deliver(2);
    EXPECT_EQ(result.get(), QM_OK);
    EXPECT_EQ(NumberInPicture(m_vPixels.data()), 3);
}

TEST_F(AskedStore, WhenNoPlayBeginsAnyMoreAWaitFailsAndSoDoesEveryRequestThatIsNotStored)
{
    Play(0);
    Deliver(1);
    ASSERT_FALSE(Ask(5));
    std::future<QmStatus> result = Wait();
    m_pStore->EndPlays();
    EXPECT_EQ(result.get(), QM_ERR_FAIL);
    ASSERT_TRUE(Ask(6));
    EXPECT_EQ(m_nStatus, QM_ERR_FAIL);
    ASSERT_TRUE(Ask(0));
    EXPECT_EQ(m_nStatus, QM_OK);
}

// Of a request that isn't sequential 9 frames fill the store.
TEST_F(AskedStore, ARequestThatThePlayDoesNotServeWantsThePauseAtOnce)
{
    Play(10);
    Deliver(3);
    ASSERT_FALSE(Ask(18));
    EXPECT_FALSE(WantsPause());
    ASSERT_FALSE(Ask(22));            // the store is full before
    m_pStore->WaitForPauseRequest();  // returns
    EXPECT_TRUE(WantsPause());

    Play(10);
    ASSERT_FALSE(Ask(9));  // the play began after it
    EXPECT_TRUE(WantsPause());

    Play(13, 20);
    ASSERT_FALSE(Ask(21));  // and this play ends before
    EXPECT_TRUE(WantsPause());
}

TEST_F(AskedStore, TheFrameThatComesNextWantsNoPauseHoweverFullTheStoreIs)
{
    Play(0);
    Ask(1);
    Deliver(40);
    Ask(40);
    EXPECT_FALSE(WantsPause());
    Deliver(1);
    EXPECT_NE(m_pStore->FindFrame(40), nullptr);
}

TEST_F(AskedStore, ARequestThatTheFirstPlayDoesNotServeWantsThePauseAtItsBegin)
{
    Ask(100);
    EXPECT_FALSE(WantsPause());
    m_pStore->BeginFirstPlay(47, WIDTH, HEIGHT);
    EXPECT_TRUE(WantsPause());
}

TEST_F(AskedStore, ARequestThatTheFirstPlayServesWantsNoPauseAtItsBegin)
{
    Ask(8);
    m_pStore->BeginFirstPlay(47, WIDTH, HEIGHT);
    EXPECT_FALSE(WantsPause());
}

TEST_F(AskedStore, AStoredFrameWantsNoPause)
{
    Play(0);
    Deliver(3);
    ASSERT_TRUE(Ask(0));
    EXPECT_FALSE(WantsPause());
}

// --- silence ---

TEST_F(AskedStore, TheSessionMayBeSilentFor20SecondsAnd100MillisecondsForEachFrame)
{
    Ask(0);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'000U);
    Ask(7);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'700U);
    MoveClock(20'699);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 1U);
    MoveClock(1);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 0U);
    MoveClock(5);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 0U);
}

TEST_F(AskedStore, OnlyFramesThatAPlayHasNotDeliveredCount)
{
    Play(0);
    Ask(8);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'800U);  // it may begin anywhere
    Deliver(3);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'500U);
    Ask(2);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'200U);  // the play has passed it
    Ask(11);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 21'100U);  // it fills the store before it gets there
    Ask(8);
    m_pStore->EndPlay();
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'800U);
}

TEST_F(AskedStore, ASampleAnEventAndARequestStartTheLimitAgain)
{
    Play(0);
    Ask(7);
    MoveClock(5'000);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 15'700U);
    Deliver(1);  // frame 0; 1 to 6 are left before the requested one
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'600U);
    MoveClock(5'000);
    m_pStore->NoteEvent();
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'600U);
    MoveClock(5'000);
    Ask(8);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'700U);
    m_pStore->CountSamples();
    MoveClock(5'000);
    Deliver(1);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 20'800U);
}

TEST_F(AskedStore, TheHighestIndexHasALimitToo)
{
    Ask(0xFFFFFFFF);
    EXPECT_EQ(m_pStore->GetSilenceLeft(), 0xFFFFFFFEU);  // the longest that a wait can be
}

// --- plays ---

class RestingStore : public AskedStore
{
protected:
    // Returns what the worker sees, and what it decided has been done.
    SRestingStore Decide(const SPlayDecision& decision)
    {
        SRestingStore seen = {};
        SPlayDecision made = {};
        EXPECT_TRUE(m_pStore->BeginPlay(
            [&](const SRestingStore& store) {
                seen = store;
                return decision;
            },
            1000, WIDTH, HEIGHT, &made));
        EXPECT_EQ(made.m_eKind, decision.m_eKind);
        return seen;
    }
    static SPlayDecision PlayFrom(std::uint64_t uiStart, bool bNearTail)
    {
        const EPlayStart eStart = bNearTail ? EPlayStart::Position : EPlayStart::Seek;
        return {SPlayDecision::EKind::Play, {bNearTail, eStart, uiStart, uiStart}};
    }
};

TEST_F(RestingStore, TheWorkerSeesRequestAndStore)
{
    Play(20);
    Deliver(5);
    Ask(22);
    const SRestingStore seen = Decide({SPlayDecision::EKind::Rest, {}});
    EXPECT_EQ(seen.m_uiRequested, 22U);
    EXPECT_EQ(seen.m_uiRequestNumber, 1U);
    EXPECT_TRUE(seen.m_bStored);
    EXPECT_TRUE(seen.m_bNearTail);
    EXPECT_EQ(seen.m_uiNewest, 24U);
    EXPECT_EQ(seen.m_uiNextFrame, 25U);

    Ask(7);
    const SRestingStore later = Decide({SPlayDecision::EKind::Rest, {}});
    EXPECT_EQ(later.m_uiRequestNumber, 2U);
    EXPECT_FALSE(later.m_bStored);
    EXPECT_FALSE(later.m_bNearTail);
}

TEST_F(RestingStore, ARefusedRequestFails)
{
    ASSERT_FALSE(Ask(7));
    std::future<QmStatus> result = Wait();
    Decide({SPlayDecision::EKind::Rest, {}});
    EXPECT_TRUE(Waits(result));
    Decide({SPlayDecision::EKind::Refuse, {}});
    EXPECT_EQ(result.get(), QM_ERR_FAIL);
}

TEST_F(RestingStore, APlayElsewhereEmptiesTheStoreAndNumbersFromItsStart)
{
    Play(20);
    Deliver(5);
    m_pStore->EndPlay();
    Ask(70);
    Decide(PlayFrom(70, false));
    EXPECT_TRUE(m_pStore->IsPlaying());
    EXPECT_TRUE(Stored().empty());
    const SFrameWindow window = m_pStore->GetWindow();
    EXPECT_EQ(window.m_uiStart, 70U);
    EXPECT_EQ(window.m_uiEnd, 78U);  // 8 frames ahead of a request that isn't sequential
    EXPECT_EQ(window.m_uiLast, 1000U);
    Deliver(2);
    EXPECT_EQ(Stored(), Range(70, 71));
}

TEST_F(RestingStore, APlayNearTheTailKeepsTheStoreFromTheRequestedFrameOn)
{
    Play(20);
    Deliver(5);
    Ask(22);
    Decide(PlayFrom(25, true));
    Deliver(1);
    EXPECT_EQ(Stored(), Range(22, 25));
}

// The first of them has no picture's size: it isn't looked at.
TEST_F(RestingStore, SamplesBeforeTheOneToKeepAreNumberedAndDroppedWithoutAPause)
{
    ASSERT_FALSE(Ask(500));
    Decide({SPlayDecision::EKind::Play, {false, EPlayStart::Seek, 100, 500}});
    m_uiNumber = 101;
    Feed({});
    Deliver(399);
    EXPECT_EQ(m_pStore->CountFrames(), 0U);
    EXPECT_FALSE(WantsPause());
    std::future<QmStatus> result = Wait();
    EXPECT_TRUE(Waits(result));
    Deliver(1);
    EXPECT_EQ(result.get(), QM_OK);
    EXPECT_EQ(NumberInPicture(m_vPixels.data()), 500);
    EXPECT_EQ(m_pStore->CountFrames(), 1U);
}

TEST_F(RestingStore, NothingBeginsWhenTheFileIsClosing)
{
    std::atomic<bool> bStop{false};
    m_pStore->Connect(nullptr, &bStop, false);
    m_pStore->Close();
    EXPECT_TRUE(bStop);
    SPlayDecision made = {};
    const auto NotCalled = [](const SRestingStore&) {
        ADD_FAILURE();
        return SPlayDecision{};
    };
    EXPECT_FALSE(m_pStore->BeginPlay(NotCalled, 1000, WIDTH, HEIGHT, &made));
    m_pStore->WaitForPauseRequest();  // returns
}

// --- pauses ---

TEST_F(Grabber, OnePlayIsPausedOnceUnlessThePauseIsWithdrawn)
{
    Request(100, 3);
    Play(100);
    Deliver(9);
    m_pStore->WaitForPauseRequest();  // returns
    EXPECT_TRUE(WantsPause());
    Deliver(1);
    EXPECT_FALSE(WantsPause());
    m_pStore->WithdrawPause();
    EXPECT_FALSE(WantsPause());
    Deliver(1);
    EXPECT_TRUE(WantsPause());
}

TEST_F(Grabber, APlayThatHasEndedIsNotPaused)
{
    Request(100, 3);
    Play(100);
    Deliver(9);
    m_pStore->EndPlay();
    EXPECT_FALSE(WantsPause());
}

}  // namespace
