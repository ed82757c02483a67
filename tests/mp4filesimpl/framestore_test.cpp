// The store of decoded frames by itself.
#include "grabber_fixture.h"

namespace
{

TEST_F(Grabber, SetWindowTellsWhetherTheFrameAndTheWholeWindowAreStored)
{
    Play(10);
    Deliver(5);  // 10 to 14
    const auto IsStored = [&](std::uint64_t uiFrame, std::uint64_t uiStart, std::uint64_t uiEnd) {
        return m_pGrabber->SetWindow(uiFrame, uiStart, uiEnd, 1000, WIDTH, HEIGHT);
    };
    EXPECT_TRUE(IsStored(12, 10, 15));
    EXPECT_FALSE(IsStored(12, 10, 16));
    EXPECT_FALSE(IsStored(12, 9, 15));
    EXPECT_FALSE(IsStored(15, 10, 15));
    EXPECT_TRUE(IsStored(12, 100, 100));  // an empty window
    EXPECT_FALSE(IsStored(12, 10, ~std::uint64_t{0}));
}

TEST_F(Grabber, SetWindowTakesOverWhatItIsGiven)
{
    m_pGrabber->SetWindow(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(m_pGrabber->m_uiWindowStart, 2U);
    EXPECT_EQ(m_pGrabber->m_uiNextFrame, 2U);
    EXPECT_EQ(m_pGrabber->m_uiWindowEnd, 3U);
    EXPECT_EQ(m_pGrabber->m_uiLastFrame, 4U);
    EXPECT_EQ(m_pGrabber->m_uiWidth, 5U);
    EXPECT_EQ(m_pGrabber->m_uiHeight, 6U);
}

TEST_F(Grabber, FindFrameGivesTheRecordOrNull)
{
    EXPECT_EQ(m_pGrabber->FindFrame(0), nullptr);
    Play(10);
    Deliver(3);
    ASSERT_NE(m_pGrabber->FindFrame(11), nullptr);
    EXPECT_EQ(m_pGrabber->FindFrame(11)->m_uiFrameIndex, 11U);
    EXPECT_EQ(m_pGrabber->FindFrame(13), nullptr);
}

TEST_F(Grabber, NearTailLooksAtTheNewestFramesOnly)
{
    EXPECT_FALSE(m_pGrabber->IsNearTail(0, 8, 1000));  // nothing is stored
    Play(0);
    Deliver(20);
    EXPECT_TRUE(m_pGrabber->IsNearTail(19, 8, 1000));
    EXPECT_TRUE(m_pGrabber->IsNearTail(12, 8, 1000));
    EXPECT_FALSE(m_pGrabber->IsNearTail(11, 8, 1000));
    EXPECT_TRUE(m_pGrabber->IsNearTail(0, 48, 1000));
    EXPECT_FALSE(m_pGrabber->IsNearTail(20, 48, 1000));
    EXPECT_FALSE(m_pGrabber->IsNearTail(19, 0, 1000));
}

TEST_F(Grabber, NearTailIsFalseWhenTheTailHasReachedTheLastFrame)
{
    Play(0);
    Deliver(20);
    EXPECT_TRUE(m_pGrabber->IsNearTail(19, 8, 20));
    EXPECT_FALSE(m_pGrabber->IsNearTail(19, 8, 19));
}

TEST_F(Grabber, ClearFramesFreesTheOldestDownToANumber)
{
    Play(0);
    Deliver(10);
    m_pGrabber->ClearFrames(20);
    EXPECT_EQ(Stored(), Range(0, 9));
    m_pGrabber->ClearFrames(3);
    EXPECT_EQ(Stored(), Range(7, 9));
    m_pGrabber->ClearFrames(0);
    EXPECT_TRUE(Stored().empty());
}

// Records that the grabber makes are allowed to leak, since a trim leaves them. This one is the test's own: if clearing
// left it or its pixels, the leak detector would say so.
TEST_F(Grabber, ClearFramesFreesRecordsWithTheirPixels)
{
    auto* pFrame = new SQmGrabbedFrame{};
    ASSERT_EQ(SQmPicBufAPI_Base::Reinit(&pFrame->m_Picture, WIDTH, HEIGHT, 0, 8, 3, false), QM_OK);
    m_pGrabber->m_lstFrames.push_back(pFrame);
    m_pGrabber->ClearFrames(0);
    EXPECT_TRUE(m_pGrabber->m_lstFrames.empty());
}

TEST_F(Grabber, TrimFramesDropsWhatIsOlderThanTheRequestedFrame)
{
    Play(0);
    Deliver(10);
    Request(4, 3);
    m_pGrabber->TrimFrames();
    EXPECT_EQ(Stored(), Range(4, 9));
    EXPECT_EQ(m_pGrabber->m_uiWindowStart, 4U);
}

TEST_F(Grabber, TrimFramesDoesNothingWhenTheRequestedFrameIsNotStored)
{
    Play(5);
    Deliver(3);
    Request(20, 3);
    m_pGrabber->TrimFrames();
    EXPECT_EQ(Stored(), Range(5, 7));
    EXPECT_EQ(m_pGrabber->m_uiWindowStart, 5U);
}

TEST_F(Grabber, ATrimmedRecordStaysAllocatedWithoutItsPixels)
{
    Play(0);
    Deliver(3);
    SQmGrabbedFrame* pTrimmed = m_pGrabber->FindFrame(0);
    Request(1, 0);
    m_pGrabber->TrimFrames();
    EXPECT_EQ(m_pGrabber->FindFrame(0), nullptr);
    EXPECT_EQ(pTrimmed->m_uiFrameIndex, 0U);
    EXPECT_EQ(pTrimmed->m_Picture.m_pData, nullptr);
    delete pTrimmed;
}

TEST_F(Grabber, AFrameWithoutMemoryIsANullEntryThatEverythingPasses)
{
    Play(0);
    Deliver(2);
    m_pGrabber->m_lstFrames.push_back(nullptr);
    EXPECT_EQ(m_pGrabber->FindFrame(7), nullptr);
    EXPECT_FALSE(m_pGrabber->IsNearTail(1, 48, 1000));  // the newest tells no index
    Deliver(2);                                         // 2 and 3
    EXPECT_TRUE(m_pGrabber->IsNearTail(1, 48, 1000));

    Request(3, 2);
    m_pGrabber->TrimFrames();  // as far as the null entry
    EXPECT_EQ(m_pGrabber->m_lstFrames.size(), 3U);
    EXPECT_EQ(m_pGrabber->m_lstFrames.front(), nullptr);
    m_pGrabber->ClearFrames(0);
    EXPECT_TRUE(m_pGrabber->m_lstFrames.empty());
}

}  // namespace
