// What a media source reports: whole rows of events, of the source and its stream together.
#include <mferror.h>

#include "events_fixture.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using SourceEvents = SourceEventsTest;

// --- start ---

TEST_F(SourceEvents, TheFirstStartAnnouncesANewStream)
{
    Make();
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 205 stream", "source 201 at 0", "stream 202 at 0"));
}

TEST_F(SourceEvents, AStartOfAStoppedSourceReportsItsPosition)
{
    Make();
    EXPECT_EQ(StartAt(700), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 205 stream", "source 201 at 700", "stream 202 at 700"));
    ASSERT_EQ(Source().Stop(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(StartAt(-3), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at -3", "stream 202 at -3"));
}

TEST_F(SourceEvents, ASecondStartAnnouncesTheSameStreamAgain)
{
    MakeStopped();
    IMFMediaStream* const pFirst = &Stream();
    TakeEvents(Source());
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at 0", "stream 202 at 0"));
    EXPECT_EQ(CEventRecord::GetQueueCount(), 2U);  // the source's and that of its one stream
    IMFMediaEvent* pEvent = nullptr;
    ASSERT_EQ(Source().GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent), S_OK);
    PROPVARIANT varStream;
    PropVariantInit(&varStream);
    EXPECT_EQ(pEvent->GetValue(&varStream), S_OK);
    EXPECT_EQ(Query<IMFMediaStream>(varStream.punkVal, IID_IMFMediaStream).get(), pFirst);
    PropVariantClear(&varStream);
    pEvent->Release();
}

TEST_F(SourceEvents, AStartWithoutAPositionReportsTheTimeOfTheNextSample)
{
    MakeStarted();
    ASSERT_EQ(Request(1, 5.0), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 201 at 50000 actual 50000", "stream 202 at 50000"));
}

TEST_F(SourceEvents, AStoppedSourceStartsAt0WithoutAnActualStart)
{
    MakeStarted();
    ASSERT_EQ(Request(1, 5.0), S_OK);
    ASSERT_EQ(Source().Stop(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at 0", "stream 202 at 0"));
}

TEST_F(SourceEvents, AfterAPauseTheQueuedSamplesAreSentWithTheirTimes)
{
    MakePaused();
    ASSERT_EQ(Request(1, 5.0), S_OK);
    ASSERT_EQ(Request(2, 7.0), S_OK);
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 201 at 120000 actual 120000", "stream 202 at 120000",
                            "stream 213 sample 0+50000", "stream 213 sample 50000+70000"));
    EXPECT_EQ(Request(3, 1.0), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 120000+10000"));
}

TEST_F(SourceEvents, AStartAtAPositionOfAStartedSourceIsASeek)
{
    MakeStarted();
    EXPECT_EQ(StartAt(900), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 203 at 900", "stream 204 at 900"));
}

TEST_F(SourceEvents, ASeekDropsQueuedSamplesAndTimesGoOn)
{
    MakePaused();
    ASSERT_EQ(Request(1, 5.0), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(StartAt(900), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 203 at 900", "stream 204 at 900"));
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 201 at 50000 actual 50000", "stream 202 at 50000"));
    EXPECT_EQ(Request(2, 1.0), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 50000+10000"));
}

TEST_F(SourceEvents, AStartThatIsRefusedReportsNothing)
{
    Make();
    PROPVARIANT varPosition;
    PropVariantInit(&varPosition);
    EXPECT_EQ(Source().Start(nullptr, nullptr, &varPosition), HRESULT{E_INVALIDARG});
    EXPECT_EQ(Source().Start(m_pDescriptor.get(), nullptr, nullptr), HRESULT{E_INVALIDARG});
    EXPECT_EQ(Source().Start(m_pDescriptor.get(), &MFMediaType_Video, &varPosition),
              HRESULT{MF_E_UNSUPPORTED_TIME_FORMAT});
    varPosition.vt = VT_R8;
    EXPECT_EQ(Source().Start(m_pDescriptor.get(), nullptr, &varPosition), HRESULT{MF_E_UNSUPPORTED_TIME_FORMAT});
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
}

TEST_F(SourceEvents, TheOwnersEventIsSetAsLongAsTheSourceIsStarted)
{
    Make();
    HANDLE hStarted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const auto isSet = [&hStarted] { return WaitForSingleObject(hStarted, 0) == WAIT_OBJECT_0; };
    Source().ReportStarts(&hStarted);
    PROPVARIANT varPosition;
    PropVariantInit(&varPosition);
    EXPECT_EQ(Source().Start(nullptr, nullptr, &varPosition), HRESULT{E_INVALIDARG});
    EXPECT_FALSE(isSet());
    ASSERT_EQ(Start(), S_OK);
    EXPECT_TRUE(isSet());
    ASSERT_EQ(Source().Stop(), S_OK);
    EXPECT_FALSE(isSet());
    ASSERT_EQ(StartAt(40), S_OK);
    EXPECT_TRUE(isSet());
    ASSERT_EQ(Source().Pause(), S_OK);
    ResetEvent(hStarted);
    ASSERT_EQ(Start(), S_OK);
    EXPECT_TRUE(isSet());
    ResetEvent(hStarted);
    ASSERT_EQ(StartAt(80), S_OK);
    EXPECT_TRUE(isSet());
    ResetEvent(hStarted);
    Source().Shutdown();
    EXPECT_EQ(StartAt(40), HRESULT{MF_E_SHUTDOWN});
    EXPECT_FALSE(isSet());
    CloseHandle(hStarted);
}

TEST_F(SourceEvents, TheNullGuidIsATimeFormat)
{
    Make();
    PROPVARIANT varPosition;
    PropVariantInit(&varPosition);
    EXPECT_EQ(Source().Start(m_pDescriptor.get(), &GUID_NULL, &varPosition), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 205 stream", "source 201 at 0", "stream 202 at 0"));
}

// --- pause, stop, shutdown ---

TEST_F(SourceEvents, APauseIsReportedByTheStreamFirst)
{
    MakeStarted();
    EXPECT_EQ(Source().Pause(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 210", "source 209"));
}

TEST_F(SourceEvents, OnlyAStartedSourceCanBePaused)
{
    Make();
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
    ASSERT_EQ(Start(), S_OK);
    ASSERT_EQ(Source().Pause(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
    ASSERT_EQ(Source().Stop(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
}

TEST_F(SourceEvents, AStopIsReportedByTheStreamFirstInEveryState)
{
    MakeStarted();
    EXPECT_EQ(Source().Stop(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 208", "source 207"));
    EXPECT_EQ(Source().Stop(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 208", "source 207"));
    ASSERT_EQ(Start(), S_OK);
    ASSERT_EQ(Source().Pause(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Source().Stop(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 208", "source 207"));
}

TEST_F(SourceEvents, AStopDropsQueuedSamples)
{
    MakePaused();
    ASSERT_EQ(Request(1), S_OK);
    ASSERT_EQ(Source().Stop(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at 0", "stream 202 at 0"));
}

TEST_F(SourceEvents, AStopBeforeTheFirstStartIsRefused)
{
    Make();
    EXPECT_EQ(Source().Stop(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
    EXPECT_EQ(Start(), S_OK);
}

TEST_F(SourceEvents, AShutdownReportsNothingAndEndsBothQueues)
{
    for (int nState = 0; nState < 3; ++nState)
    {
        SCOPED_TRACE(nState);
        CEventRecord::Clear();
        m_pStream.reset();
        if (nState == 0) MakeStopped();
        if (nState == 1) MakePaused();
        if (nState == 2) MakeStarted();
        EXPECT_EQ(Source().Shutdown(), S_OK);
        EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream shutdown", "source shutdown"));
    }
}

TEST_F(SourceEvents, AShutdownBeforeTheFirstStartEndsTheSourcesQueue)
{
    Make();
    EXPECT_EQ(Source().Shutdown(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source shutdown"));
}

// --- the end of the stream ---

TEST_F(SourceEvents, TheLastOfCountedFramesIsFollowedByBothEnds)
{
    MakeStarted(2);
    EXPECT_EQ(Request(1), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000"));
    EXPECT_EQ(Request(2), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 10000+10000", "stream 212", "source 211"));
    EXPECT_TRUE(m_owner.IsReady());
}

TEST_F(SourceEvents, RequestsAfterTheLastFrameGiveSamplesWithBothEndsAgain)
{
    MakeStarted(1);
    EXPECT_EQ(Request(1), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Stream().RequestSample(nullptr), S_OK);  // nothing waits: the last picture is still announced
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 10000+10000", "stream 212", "source 211"));
    EXPECT_TRUE(m_owner.IsReady());
}

TEST_F(SourceEvents, TheEndOfTheInputEndsAStreamOfAnUnknownLength)
{
    MakeStarted();
    EXPECT_EQ(Request(1), S_OK);
    CEventRecord::Take();
    m_owner.m_nEndOfInput = 1;
    EXPECT_EQ(Request(2), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 10000+10000", "stream 212", "source 211"));
    EXPECT_TRUE(m_owner.IsReady());
    EXPECT_TRUE(m_owner.TakeTaken());
}

TEST_F(SourceEvents, TheEndOfTheInputComesBeforeTheExpectedNumberOfFrames)
{
    MakeStarted(10);
    m_owner.m_nEndOfInput = 1;
    EXPECT_EQ(Request(1), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000", "stream 212", "source 211"));
}

// The source reports its end at once. The stream reports its own end before the sample and after it.
TEST_F(SourceEvents, AnEndDuringAPauseIsReportedAgainByTheNextStart)
{
    MakePaused();
    m_owner.m_nEndOfInput = 1;
    EXPECT_EQ(Request(1), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 211"));
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 201 at 10000 actual 10000", "stream 202 at 10000",
                            "stream 212", "stream 213 sample 0+10000", "stream 212", "source 211"));
}

TEST_F(SourceEvents, AStartAfterTheEndReportsBothEnds)
{
    MakeStarted(1);
    ASSERT_EQ(Request(1), S_OK);
    ASSERT_EQ(Source().Stop(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 201 at 0", "stream 202 at 0", "stream 212", "source 211"));
}

TEST_F(SourceEvents, ASeekAfterTheEndReportsNoEnd)
{
    MakeStarted(1);
    ASSERT_EQ(Request(1), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(StartAt(0), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 203 at 0", "stream 204 at 0"));
}

// An owner that gives up does so without the lock, at any moment. No later request may wait for a picture.
TEST_F(SourceEvents, AnOwnerThatGivesUpDuringARequestIsSeenByTheNextOne)
{
    MakeStarted();
    CEventRecord::SetHook([this](const std::string&) {
        if (m_owner.m_nEndOfInput == 0) m_owner.GiveUp();
        return S_OK;
    });
    EXPECT_EQ(Request(1), S_OK);
    ASSERT_TRUE(m_owner.IsReady());
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000"));
    EXPECT_EQ(Stream().RequestSample(nullptr), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 10000+10000", "stream 212", "source 211"));
}

}  // namespace
