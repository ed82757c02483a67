// What the grabber does with its samples.
#include <thread>

#include <gmock/gmock.h>

#include "grabber_fixture.h"
#include "scripted_session.h"

namespace
{

using testing::Each;
using testing::ElementsAre;

std::vector<unsigned char> PixelsOf(const SQmGrabbedFrame* pFrame)
{
    const SQmPicBuf& picture = pFrame->m_Picture;
    return {picture.m_pData, picture.m_pData + picture.m_uiSize};
}

// --- counting mode ---

class CountingGrabber : public Grabber
{
protected:
    CountingGrabber() { m_pStore->CountSamples(); }

    HRESULT Count(LONGLONG llTime, LONGLONG llDuration)
    {
        return m_pGrabber->OnProcessSample(GUID_NULL, 0, llTime, llDuration, nullptr, 0);
    }
};

// The list of the samples before was taken away, and there are no new ones.
TEST_F(CountingGrabber, WithoutSamplesTheListIsEmpty)
{
    EXPECT_EQ(Count(0, 400'000), S_OK);
    EXPECT_THAT(m_pStore->TakeSampleTimes(), ElementsAre(0, 400'000));
    EXPECT_THAT(m_pStore->TakeSampleTimes(), ElementsAre());
}

TEST_F(CountingGrabber, AWindowOfWidth0xFFFFFFFFCountsToo)
{
    Play(0);
    constexpr std::uint64_t uiAll = ~std::uint64_t{0};
    m_pStore->SetWindow(0, 0, uiAll, uiAll, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(Count(0, 5), S_OK);
    EXPECT_THAT(m_pStore->TakeSampleTimes(), ElementsAre(0, 5));
}

TEST_F(CountingGrabber, NSamplesLeaveNPlus1RunningSums)
{
    EXPECT_EQ(Count(0, 400'000), S_OK);
    EXPECT_EQ(Count(400'000, 333'667), S_OK);
    EXPECT_EQ(Count(733'667, 0), S_OK);
    EXPECT_THAT(m_pStore->TakeSampleTimes(), ElementsAre(0, 400'000, 733'667, 733'667));
}

TEST_F(CountingGrabber, TimeStampsAreNotLookedAt)
{
    EXPECT_EQ(Count(9'000'000, 100), S_OK);
    EXPECT_EQ(Count(-5, 200), S_OK);
    EXPECT_THAT(m_pStore->TakeSampleTimes(), ElementsAre(0, 100, 300));
}

TEST_F(CountingGrabber, NoFrameIsStoredAndNoPauseIsWanted)
{
    EXPECT_EQ(Count(0, 400'000), S_OK);
    EXPECT_TRUE(Stored().empty());
    m_pStore->BeginFirstPlay(0, WIDTH, HEIGHT);
    EXPECT_FALSE(WantsPause());
}

// --- frame mode: numbers and pictures ---

TEST_F(Grabber, SamplesAreNumberedFromTheStartOfThePlay)
{
    Play(70);
    Deliver(3);
    EXPECT_EQ(Stored(), Range(70, 72));
    EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(71)->m_Picture.m_pData), 71);
}

TEST_F(Grabber, ASampleWhoseIndexIsStoredIsWrittenIntoItsRecord)
{
    Play(0);
    Deliver(4);
    const SQmGrabbedFrame* pSecond = m_pStore->FindFrame(2);
    const unsigned char* pPixels = pSecond->m_Picture.m_pData;

    m_pStore->SetWindow(2, 2, 2, 1000, WIDTH, HEIGHT);
    Feed(MakeNumberedSample(WIDTH, HEIGHT, 777));
    EXPECT_EQ(Stored(), Range(0, 3));
    EXPECT_EQ(m_pStore->FindFrame(2), pSecond);
    EXPECT_EQ(pSecond->m_Picture.m_pData, pPixels);
    EXPECT_EQ(NumberInPicture(pPixels), 777);
}

TEST_F(Grabber, ARecordIsAnEightBitPictureOfThreeComponents)
{
    Play(0);
    Deliver(1);
    const SQmPicBuf& picture = m_pStore->FindFrame(0)->m_Picture;
    EXPECT_EQ(picture.m_uiWidth, WIDTH);
    EXPECT_EQ(picture.m_uiHeight, HEIGHT);
    EXPECT_EQ(picture.m_uiBits, 8);
    EXPECT_EQ(picture.m_uiComponents, 3U);
    EXPECT_EQ(picture.m_uiWidthBytes, 12U);
    EXPECT_EQ(picture.m_uiSize, 24U);
}

// Rows of a sample lie 32, 64, ... bytes apart: twice the width, rounded up. The second row shows whether the right
// distance was taken; odd widths are those where pairs of pixels reach past the picture.
TEST_F(Grabber, RowsOfASampleAreRoundedUpTo32BytesForOddWidthsToo)
{
    for (const std::uint32_t uiWidth : {1U, 2U, 3U, 5U, 15U, 16U, 17U, 31U, 32U, 33U})
    {
        m_pStore->ClearFrames(0);
        m_pStore->SetWindow(0, 0, 0, 1000, uiWidth, 2);
        const std::uint32_t uiPitch = (uiWidth * 2 + 31) / 32 * 32;
        std::vector<unsigned char> vSample(uiPitch * 2, 128);
        for (std::uint32_t x = 0; x < uiWidth; ++x)
        {
            vSample[x * 2] = static_cast<unsigned char>(20 + x);
            vSample[uiPitch + x * 2] = static_cast<unsigned char>(120 + x);
        }
        Feed(vSample);

        const SQmPicBuf& picture = m_pStore->FindFrame(0)->m_Picture;
        for (std::uint32_t x = 0; x < uiWidth; ++x)
        {
            ASSERT_EQ(picture.m_pData[3 * x], GreyOf(20 + x)) << uiWidth << " wide, pixel " << x;
            ASSERT_EQ(picture.m_pData[picture.m_uiWidthBytes + 3 * x], GreyOf(120 + x)) << uiWidth << ", " << x;
        }
    }
}

// A sample of NV12 has 12 bits per pixel and is shorter than one of YUY2, for which it would be too short.
TEST_F(Grabber, NV12SamplesCountAndLeaveThePictureAsItWasMade)
{
    const std::vector<unsigned char> vSample(WIDTH * HEIGHT * 3 / 2, 200);
    m_pStore->Connect(nullptr, nullptr, true);
    Play(0);
    EXPECT_EQ(Feed(vSample), S_OK);
    EXPECT_EQ(Feed(vSample), S_OK);
    ASSERT_EQ(Stored(), Range(0, 1));
    ASSERT_NE(m_pStore->FindFrame(1)->m_Picture.m_pData, nullptr);
    EXPECT_THAT(PixelsOf(m_pStore->FindFrame(1)), Each(0));
}

TEST_F(Grabber, ASampleThatIsTooShortLeavesAFrameWithoutPixels)
{
    Play(0);
    std::vector<unsigned char> vSample = MakeNumberedSample(WIDTH, HEIGHT, 5);
    vSample.resize(32 * (HEIGHT - 1) + 2 * WIDTH - 1);  // the last pixel's last byte is missing
    Feed(vSample);
    Deliver(1);
    EXPECT_EQ(Stored(), Range(0, 1));
    EXPECT_EQ(m_pStore->FindFrame(0)->m_Picture.m_pData, nullptr);
    EXPECT_NE(m_pStore->FindFrame(1)->m_Picture.m_pData, nullptr);
}

TEST_F(Grabber, ASampleMayEndWithTheLastPixelOfItsLastRow)
{
    Play(0);
    std::vector<unsigned char> vSample = MakeNumberedSample(WIDTH, HEIGHT, 5);
    vSample.resize(32 * (HEIGHT - 1) + 2 * WIDTH);
    Feed(vSample);
    ASSERT_NE(m_pStore->FindFrame(0)->m_Picture.m_pData, nullptr);
    EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(0)->m_Picture.m_pData), 5);
}

TEST_F(Grabber, AFrameWithoutPixelsGetsThemWhenItComesAgain)
{
    Play(0);
    std::vector<unsigned char> vSample = MakeNumberedSample(WIDTH, HEIGHT, 5);
    Feed(std::vector<unsigned char>(vSample.begin(), vSample.begin() + 4));
    ASSERT_EQ(m_pStore->FindFrame(0)->m_Picture.m_pData, nullptr);
    Play(0);
    Feed(vSample);
    ASSERT_NE(m_pStore->FindFrame(0)->m_Picture.m_pData, nullptr);
    EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(0)->m_Picture.m_pData), 5);
}

TEST_F(Grabber, ALongerSampleIsTakenFromItsBeginning)
{
    Play(0);
    std::vector<unsigned char> vSample = MakeNumberedSample(WIDTH, HEIGHT, 5);
    vSample.resize(vSample.size() + 64, 255);
    Feed(vSample);
    EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(0)->m_Picture.m_pData), 5);
}

// --- frame mode: signals ---

TEST_F(Grabber, TheFirstPlayCountsAsSequential)
{
    EXPECT_EQ(m_pStore->GetWindowSize(), 48U);
    Play(0);
    Deliver(48);
    EXPECT_FALSE(WantsPause());
}

TEST_F(Grabber, TheSameFrameAndTheNextOneAreSequentialAndNoOther)
{
    Request(7, 7);
    EXPECT_EQ(m_pStore->GetWindowSize(), 48U);
    Request(8, 7);
    EXPECT_EQ(m_pStore->GetWindowSize(), 48U);
    Request(9, 7);
    EXPECT_EQ(m_pStore->GetWindowSize(), 8U);
    Request(6, 7);
    EXPECT_EQ(m_pStore->GetWindowSize(), 8U);
}

TEST_F(Grabber, With49FramesAndTheRequestedOneTheOldestNothingIsDroppedAndAPauseIsAskedFor)
{
    Play(0);
    Deliver(48);
    EXPECT_FALSE(WantsPause());
    Deliver(1);
    EXPECT_TRUE(WantsPause());
    EXPECT_EQ(Stored(), Range(0, 48));
}

TEST_F(Grabber, ARandomRequestAsksForAPauseWith9Frames)
{
    Request(100, 3);
    Play(100);
    Deliver(8);
    EXPECT_FALSE(WantsPause());
    Deliver(1);
    EXPECT_TRUE(WantsPause());
    EXPECT_EQ(Stored(), Range(100, 108));
}

TEST_F(Grabber, SamplesStillOnTheirWayAreStoredBeyondTheLimit)
{
    Request(100, 3);
    Play(100);
    Deliver(11);
    EXPECT_EQ(Stored(), Range(100, 110));
    EXPECT_EQ(NumberInPicture(m_pStore->FindFrame(110)->m_Picture.m_pData), 110);
}

TEST_F(Grabber, WhileTheHostFollowsOlderFramesAreDroppedAndThePlayContinues)
{
    Request(1, 0);
    Play(0);
    Deliver(49);  // 0 goes, and 1 is one of the newest 48
    EXPECT_EQ(Stored(), Range(1, 48));
    EXPECT_EQ(m_pStore->GetWindow().m_uiStart, 1U);
    EXPECT_FALSE(WantsPause());
    Request(5, 4);
    Deliver(1);
    EXPECT_EQ(Stored(), Range(5, 49));
    Request(6, 5);
    Deliver(1);
    EXPECT_EQ(Stored(), Range(5, 50));  // there is room, and nothing is dropped
    EXPECT_FALSE(WantsPause());
}

TEST_F(Grabber, NearTheLastFrameOfThePlayAPauseIsAskedFor)
{
    Request(40, 39);
    Play(0, 48);
    Deliver(49);  // 48 is the last one: no frame comes after it
    EXPECT_TRUE(WantsPause());
}

// The walk back from the tail looks at the low 32 bits only, of the request and of the last frame.
TEST_F(Grabber, NearnessToTheTailIsJudgedByTheLow32Bits)
{
    constexpr std::uint64_t uiHigh = std::uint64_t{1} << 32;
    Request(uiHigh + 40, uiHigh + 40);
    Play(0, 1000);
    Deliver(49);
    EXPECT_FALSE(WantsPause());  // 40 passes for the request

    m_pStore->SetWindow(49, 49, 49, uiHigh + 10, WIDTH, HEIGHT);
    Deliver(1);
    EXPECT_TRUE(WantsPause());  // and 10 for the last frame
}

TEST_F(Grabber, AFileThatIsClosingStopsTheSessionAndTheLockIsFreeAfterwards)
{
    std::atomic<bool> bStop{false};
    CScriptedSession session(SScript(), m_pGrabber);
    m_pStore->Connect(&session, &bStop, false);
    Play(0);
    Deliver(1);
    EXPECT_THAT(session.Calls(), ElementsAre());

    bStop = true;
    Deliver(1);
    EXPECT_THAT(session.Calls(), ElementsAre("Stop"));
    EXPECT_EQ(Stored(), Range(0, 1));                                     // the sample is stored all the same
    std::thread([&] { EXPECT_EQ(m_pStore->CountFrames(), 2U); }).join();  // hangs while the lock is taken

    m_pStore->Disconnect();
    Deliver(1);
    EXPECT_THAT(session.Calls(), ElementsAre("Stop"));
    session.Shutdown();
}

// --- the object ---

TEST_F(Grabber, ItHasThreeInterfacesAndNoOther)
{
    for (const IID* pIid : {&IID_IMFSampleGrabberSinkCallback, &IID_IMFClockStateSink, &IID_IUnknown})
    {
        void* pObject = nullptr;
        EXPECT_EQ(m_pGrabber->QueryInterface(*pIid, &pObject), S_OK);
        EXPECT_EQ(pObject, static_cast<IMFSampleGrabberSinkCallback*>(m_pGrabber));
        EXPECT_EQ(m_pGrabber->Release(), 1U);
    }
    void* pObject = m_pGrabber;
    EXPECT_EQ(m_pGrabber->QueryInterface(IID_IMFMediaSession, &pObject), E_NOINTERFACE);
    EXPECT_EQ(pObject, nullptr);
}

TEST_F(Grabber, TheClockIsNotUsed)
{
    EXPECT_EQ(m_pGrabber->OnClockStart(1, 2), S_OK);
    EXPECT_EQ(m_pGrabber->OnClockStop(1), S_OK);
    EXPECT_EQ(m_pGrabber->OnClockPause(1), S_OK);
    EXPECT_EQ(m_pGrabber->OnClockRestart(1), S_OK);
    EXPECT_EQ(m_pGrabber->OnClockSetRate(1, 2.0F), S_OK);
    EXPECT_EQ(m_pGrabber->OnSetPresentationClock(nullptr), S_OK);
    EXPECT_EQ(m_pGrabber->OnShutdown(), S_OK);
}

}  // namespace
