// Requests and the samples that they give.
#include <limits>

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "counted_item.h"
#include "source_fixture.h"
#include "videosource/videostream.h"

namespace
{

class MediaStream : public VideoSourceTest
{
protected:
    void MakeStarted(std::uint32_t nFrameCount = UNKNOWN_FRAME_COUNT)
    {
        Make(nFrameCount);
        ASSERT_EQ(Start(), S_OK);
        TakeEvents(Source());
        TakeEvents(Stream());
    }
    void ExpectRefused(double dDuration)
    {
        EXPECT_LT(Request(9, dDuration), 0) << dDuration;
        EXPECT_TRUE(TakeEvents(Stream()).empty());
        EXPECT_FALSE(m_owner.IsReady());
        EXPECT_TRUE(m_owner.TakeTaken());
    }
};

TEST_F(MediaStream, ASampleIsACopyOfThePicture)
{
    MakeStarted();
    EXPECT_EQ(Request(7), S_OK);
    EXPECT_FALSE(m_owner.IsReady());
    EXPECT_TRUE(m_owner.TakeTaken());
    m_owner.HandOver(8);
    const SSampleView sample = TakeSample();
    EXPECT_EQ(sample.m_vBytes, CPictureOwner::PictureOf(7));
    EXPECT_FALSE(sample.m_bDiscontinuity);
    EXPECT_FALSE(sample.m_pToken);
}

TEST_F(MediaStream, RowsComeInTheirOrder)
{
    MakeStarted();
    for (std::uint8_t ui = 0; ui < CPictureOwner::PICTURE_BYTES; ++ui)
    {
        m_owner.m_vPicture[ui] = ui;
    }
    SetEvent(m_owner.m_hFrameReady);
    EXPECT_EQ(Stream().RequestSample(nullptr), S_OK);
    EXPECT_EQ(TakeSample().m_vBytes, m_owner.m_vPicture);
}

TEST_F(MediaStream, TimesAreTheSumsOfTruncatedDurations)
{
    MakeStarted();
    const struct
    {
        double m_dDuration;
        LONGLONG m_hnsDuration;
    } aFrames[] = {{33.33339, 333333}, {40.0, 400000}, {0.00019, 1}, {1.0, 10000}, {250000.5, 2500005000}};
    LONGLONG hnsTime = 0;
    for (const auto& frame : aFrames)
    {
        EXPECT_EQ(Request(1, frame.m_dDuration), S_OK);
        const SSampleView sample = TakeSample();
        EXPECT_EQ(sample.m_hnsTime, hnsTime);
        EXPECT_EQ(sample.m_hnsDuration, frame.m_hnsDuration);
        hnsTime += frame.m_hnsDuration;
    }
}

TEST_F(MediaStream, ADurationBelow0IsTruncatedTowards0Too)
{
    MakeStarted();
    EXPECT_EQ(Request(1, -0.00019), S_OK);
    EXPECT_EQ(TakeSample().m_hnsDuration, -1);
    EXPECT_EQ(Request(2), S_OK);
    EXPECT_EQ(TakeSample().m_hnsTime, -1);
}

TEST_F(MediaStream, APictureOfNoDurationAndTheNextOneHaveTheSameTime)
{
    MakeStarted();
    EXPECT_EQ(Request(1, 0.0), S_OK);
    EXPECT_EQ(Request(2, 5.0), S_OK);
    EXPECT_EQ(Request(3, 5.0), S_OK);
    const SSampleView first = TakeSample();
    const SSampleView second = TakeSample();
    EXPECT_EQ(first.m_hnsTime, 0);
    EXPECT_EQ(first.m_hnsDuration, 0);
    EXPECT_EQ(second.m_hnsTime, 0);
    EXPECT_EQ(second.m_hnsDuration, 50000);
    EXPECT_EQ(TakeSample().m_hnsTime, 50000);
}

TEST_F(MediaStream, ADurationThatIsNo64BitNumberFailsAndLeavesTheTimeAsItIs)
{
    MakeStarted();
    EXPECT_EQ(Request(1, 5.0), S_OK);
    EXPECT_EQ(TakeSample().m_hnsTime, 0);
    m_owner.TakeTaken();
    ExpectRefused(1e300);
    ExpectRefused(-1e300);
    ExpectRefused(std::numeric_limits<double>::quiet_NaN());
    ExpectRefused(std::numeric_limits<double>::infinity());
    ExpectRefused(922337203685477.5);  // fits, but not with the time before it
    EXPECT_EQ(Request(2, 5.0), S_OK);
    EXPECT_EQ(TakeSample().m_hnsTime, 50000);
}

TEST_F(MediaStream, ASampleHasTheTokenOfItsRequest)
{
    MakeStarted();
    CCountedItem token;
    EXPECT_EQ(Request(1, 1.0, &token), S_OK);
    EXPECT_EQ(token.m_nCount, 1U);
    {
        const SSampleView sample = TakeSample();
        EXPECT_EQ(sample.m_pToken.get(), &token);
    }
    EXPECT_EQ(token.m_nCount, 0U);
}

TEST_F(MediaStream, AGapIsMarkedOnTheSample)
{
    struct SOpenStream : VideoStream
    {
        static bool VideoStream::*Gap() { return &SOpenStream::m_bDiscontinuity; }
    };
    MakeStarted();
    static_cast<VideoStream&>(Stream()).*SOpenStream::Gap() = true;
    EXPECT_EQ(Request(1), S_OK);
    EXPECT_TRUE(TakeSample().m_bDiscontinuity);
}

TEST_F(MediaStream, SamplesOfAPauseComeInOrderWithTheNextStart)
{
    MakeStarted();
    EXPECT_EQ(Request(1, 5.0), S_OK);
    EXPECT_EQ(Source().Pause(), S_OK);
    EXPECT_EQ(Request(2, 6.0), S_OK);
    EXPECT_EQ(Request(3, 7.0), S_OK);
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(1));
    EXPECT_EQ(TakeEvents(Stream()), std::vector<std::string>{"210"});
    EXPECT_EQ(Start(), S_OK);
    IMFMediaEvent* pStarted = nullptr;
    ASSERT_EQ(Stream().GetEvent(MF_EVENT_FLAG_NO_WAIT, &pStarted), S_OK);
    EXPECT_EQ(Describe(pStarted), "202 at 180000");
    pStarted->Release();
    const SSampleView second = TakeSample();
    EXPECT_EQ(second.m_vBytes, CPictureOwner::PictureOf(2));
    EXPECT_EQ(second.m_hnsTime, 50000);
    const SSampleView third = TakeSample();
    EXPECT_EQ(third.m_vBytes, CPictureOwner::PictureOf(3));
    EXPECT_EQ(third.m_hnsTime, 110000);
}

TEST_F(MediaStream, SamplesThatAreDroppedAreReleased)
{
    MakeStarted();
    ASSERT_EQ(Source().Pause(), S_OK);
    CCountedItem token;
    EXPECT_EQ(Request(1, 1.0, &token), S_OK);
    EXPECT_EQ(token.m_nCount, 1U);
    EXPECT_EQ(StartAt(0), S_OK);
    EXPECT_EQ(token.m_nCount, 0U);
    ASSERT_EQ(Source().Pause(), S_OK);
    EXPECT_EQ(Request(1, 1.0, &token), S_OK);
    EXPECT_EQ(Source().Stop(), S_OK);
    EXPECT_EQ(token.m_nCount, 0U);
    ASSERT_EQ(Start(), S_OK);
    ASSERT_EQ(Source().Pause(), S_OK);
    EXPECT_EQ(Request(1, 1.0, &token), S_OK);
    EXPECT_EQ(Source().Shutdown(), S_OK);
    EXPECT_EQ(token.m_nCount, 0U);
}

TEST_F(MediaStream, AWaitThatCanNotBeDoneIsNoPicture)
{
    MakeStarted();
    CPictureOwner closed;
    HANDLE hNoEvent = nullptr;
    ASSERT_EQ(Source().Configure(CPictureOwner::WIDTH, CPictureOwner::HEIGHT, &hNoEvent, &m_owner.m_hFrameTaken,
                                 &m_owner.m_csPicture, m_owner.m_vPicture.data(), &m_owner.m_nEndOfInput,
                                 UNKNOWN_FRAME_COUNT, &m_owner.m_dDuration),
              0);
    EXPECT_EQ(Stream().RequestSample(nullptr), HRESULT{E_UNEXPECTED});
    EXPECT_TRUE(TakeEvents(Stream()).empty());
    EXPECT_FALSE(m_owner.TakeTaken());
}

TEST_F(MediaStream, ARequestAfterTheShutdownLeavesTheEventsAsTheyAre)
{
    MakeStarted();
    EXPECT_EQ(Source().Shutdown(), S_OK);
    EXPECT_EQ(Request(1), HRESULT{E_UNEXPECTED});
    EXPECT_TRUE(m_owner.IsReady());
    EXPECT_FALSE(m_owner.TakeTaken());
}

}  // namespace
