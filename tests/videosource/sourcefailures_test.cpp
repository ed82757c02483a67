// Events that can't be queued, and requests that fail.
#include <mferror.h>

#include "events_fixture.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr HRESULT g_hrRefused = E_ABORT;

using SourceFailures = SourceEventsTest;

TEST_F(SourceFailures, AStreamThatCouldNotBeAnnouncedIsAnnouncedByTheNextStart)
{
    Make();
    Refuse("source 205", g_hrRefused);
    EXPECT_EQ(Start(), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream shutdown"));  // its queue's: the stream is gone
    CEventRecord::SetHook(nullptr);
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 205 stream", "source 201 at 0", "stream 202 at 0"));
}

TEST_F(SourceFailures, ADescriptorWithoutAStreamIsRefused)
{
    Make();
    IMFPresentationDescriptor* pEmpty = nullptr;
    ASSERT_EQ(MFCreatePresentationDescriptor(0, nullptr, &pEmpty), S_OK);
    m_pDescriptor.reset(pEmpty);
    EXPECT_LT(Start(), 0);
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
}

TEST_F(SourceFailures, AStartThatTheSourceCanNotReportFails)
{
    Make();
    Refuse("source 201", g_hrRefused);
    EXPECT_EQ(Start(), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 205 stream"));
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
}

TEST_F(SourceFailures, AStartThatTheStreamCanNotReportIsAnErrorOfTheSource)
{
    Make();
    const HANDLE hStarted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    Source().ReportStarts(&hStarted);
    Refuse("stream 202", g_hrRefused);
    EXPECT_EQ(StartAt(40), g_hrRefused);
    EXPECT_EQ(WaitForSingleObject(hStarted, 0), DWORD{WAIT_TIMEOUT}) << "the owner takes it for started";
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 205 stream", "source 201 at 40", "source 1 failed 80004004 at 40"));
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});
    Source().Shutdown();
    CloseHandle(hStarted);
}

TEST_F(SourceFailures, ASeekThatTheStreamCanNotReportKeepsQueuedSamples)
{
    MakePaused();
    ASSERT_EQ(Request(1), S_OK);
    Refuse("stream 204", g_hrRefused);
    EXPECT_EQ(StartAt(40), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 203 at 40", "source 1 failed 80004004 at 40"));
    CEventRecord::SetHook(nullptr);
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at 10000 actual 10000",
                                                  "stream 202 at 10000", "stream 213 sample 0+10000"));
}

TEST_F(SourceFailures, AQueuedSampleThatCanNotBeSentEndsTheStartAndTheOnesAfterItStay)
{
    MakePaused();
    ASSERT_EQ(Request(1), S_OK);
    ASSERT_EQ(Request(2), S_OK);
    ASSERT_EQ(Request(3), S_OK);
    Refuse("stream 213 sample 10000+", g_hrRefused);
    EXPECT_EQ(Start(), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(),
                ElementsAre("source 206 stream", "source 201 at 30000 actual 30000", "stream 202 at 30000",
                            "stream 213 sample 0+10000", "source 1 failed 80004004 at 30000"));
    EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION});  // it is paused still
    CEventRecord::SetHook(nullptr);
    EXPECT_EQ(Start(), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at 30000 actual 30000",
                                                  "stream 202 at 30000", "stream 213 sample 20000+10000"));
}

TEST_F(SourceFailures, AnEndThatCanNotBeReportedEndsTheStart)
{
    MakePaused();
    m_owner.m_nEndOfInput = 1;
    Refuse("source 211", g_hrRefused);
    EXPECT_EQ(Start(), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("source 206 stream", "source 201 at 0 actual 0", "stream 202 at 0",
                                                  "stream 212", "source 1 failed 80004004 at 0"));
}

TEST_F(SourceFailures, APauseThatCanNotBeReportedIsNone)
{
    MakeStarted();
    Refuse("stream 210", g_hrRefused);
    EXPECT_EQ(Source().Pause(), g_hrRefused);
    CEventRecord::SetHook(nullptr);
    EXPECT_EQ(Request(1), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000"));
}

TEST_F(SourceFailures, AStopThatCanNotBeReportedStopsAllTheSame)
{
    MakeStarted();
    Refuse("stream 208", g_hrRefused);
    EXPECT_EQ(Source().Stop(), g_hrRefused);
    EXPECT_EQ(Request(1), HRESULT{MF_E_INVALIDREQUEST});
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
}

// --- requests ---

TEST_F(SourceFailures, ASampleThatCanNotBeSentIsCountedAndTheHostGoesOn)
{
    MakeStarted(2);
    Refuse("stream 213", g_hrRefused);
    EXPECT_EQ(Request(1), g_hrRefused);
    EXPECT_FALSE(m_owner.IsReady());
    EXPECT_TRUE(m_owner.TakeTaken());
    CEventRecord::SetHook(nullptr);
    EXPECT_EQ(Request(2), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 10000+10000", "stream 212", "source 211"));
}

TEST_F(SourceFailures, AnEndOfTheStreamThatCanNotBeReportedFailsTheRequest)
{
    MakeStarted(1);
    Refuse("stream 212", g_hrRefused);
    EXPECT_EQ(Request(1), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000"));
    EXPECT_FALSE(m_owner.IsReady());
    EXPECT_TRUE(m_owner.TakeTaken());
}

TEST_F(SourceFailures, AnEndOfThePresentationThatCanNotBeReportedFailsTheRequest)
{
    MakeStarted(1);
    Refuse("source 211", g_hrRefused);
    EXPECT_EQ(Request(1), g_hrRefused);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000", "stream 212"));
    EXPECT_TRUE(m_owner.IsReady());  // the stream has ended
    EXPECT_TRUE(m_owner.TakeTaken());
}

TEST_F(SourceFailures, ARequestOfAStoppedSourceLosesItsPictureAndIsCounted)
{
    Make(2);
    ASSERT_EQ(Start(), S_OK);
    ASSERT_EQ(Source().Stop(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Request(1), HRESULT{MF_E_INVALIDREQUEST});
    EXPECT_THAT(CEventRecord::Take(), IsEmpty());
    EXPECT_FALSE(m_owner.IsReady());
    EXPECT_TRUE(m_owner.TakeTaken());
    ASSERT_EQ(Start(), S_OK);
    CEventRecord::Take();
    EXPECT_EQ(Request(2), S_OK);
    EXPECT_THAT(CEventRecord::Take(), ElementsAre("stream 213 sample 0+10000", "stream 212", "source 211"));
}

}  // namespace
