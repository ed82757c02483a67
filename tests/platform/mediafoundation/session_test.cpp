// What a session reports by events, and what it does on calls at unusual moments.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "event_callback.h"
#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

using ::testing::ElementsAre;

constexpr Size SIZE = {96, 64};
constexpr int FRAMES = 60;
constexpr int MS_PER_FRAME = 40;

class Session : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pDirectory = new TemporaryFolder();
        Recipe recipe;
        recipe.m_nFrames = FRAMES;
        recipe.m_encoder += " -bf 2 -g 12";
        MakeVideo(Path(), recipe);
    }
    static void TearDownTestSuite() { delete s_pDirectory; }
    static std::string Path() { return *s_pDirectory / "video.mp4"; }

    std::vector<std::string> Pictures() const
    {
        std::vector<std::string> pictures;
        for (const std::string& picture : PlainDecode(Path(), SIZE))
        {
            pictures.push_back(ToYuy2(picture, SIZE));
        }
        return pictures;
    }

    // Lets the session play into a callback that asks for a pause at its n-th sample, and waits for the pause.
    void PlayUntilPaused(std::size_t uiSamples, const std::function<HRESULT()>& start)
    {
        const std::size_t uiBefore = m_graph.Grabber().Count();
        IMFMediaSession* pSession = &m_graph.Session();
        m_graph.Grabber().SetHook([=](std::size_t uiCount) {
            if (uiCount == uiBefore + uiSamples) pSession->Pause();
        });
        ASSERT_EQ(start(), S_OK);
        ASSERT_EQ(m_graph.WaitFor(MESessionPaused), S_OK);
        m_graph.Grabber().SetHook(nullptr);
    }

    static TemporaryFolder* s_pDirectory;
    TestGraph m_graph;
};

TemporaryFolder* Session::s_pDirectory = nullptr;

using Event = TestGraph::Event;

TEST_F(Session, ReportsItsTopologyAndThenPlayingToTheEnd)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 101, S_OK}));
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 111, S_OK}));
    ASSERT_EQ(m_graph.Start(), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 103, S_OK}));
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 211, S_OK}));
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 107, S_OK}));
    EXPECT_EQ(m_graph.Grabber().Count(), std::size_t{FRAMES});
}

// Without an index the whole file is read before the first sample. Every event counts as a sign of life.
TEST_F(Session, ReportsThatItBuffersUntilAFileWithoutAnIndexIsKnown)
{
    const std::string path = *s_pDirectory / "fragments.mp4";
    Recipe recipe;
    recipe.m_nWidth = 16;
    recipe.m_nHeight = 16;
    recipe.m_nFrames = 1000;  // many steps
    recipe.m_output = "-movflags frag_keyframe+empty_moov";
    MakeVideo(path, recipe);
    std::size_t uiMost = 0;
    // One start after the other: an event is added when those before it were taken, which a busy machine may delay.
    for (int i = 0; i < 50 && uiMost < 2; ++i)
    {
        TestGraph graph;
        ASSERT_EQ(graph.Open(path), S_OK);
        ASSERT_EQ(graph.WaitFor(MESessionTopologyStatus), S_OK);
        graph.Grabber().SetHook([&](std::size_t uiCount) {
            if (uiCount == 1) graph.Session().Pause();
        });
        ASSERT_EQ(graph.Start(), S_OK);
        EXPECT_EQ(graph.NextEvent(), (Event{S_OK, 103, S_OK}));
        Event event = graph.NextEvent();
        std::size_t uiReported = 0;
        for (; event == (Event{S_OK, 122, S_OK}); event = graph.NextEvent())
            ++uiReported;
        ASSERT_GT(uiReported, 0U);
        EXPECT_EQ(event, (Event{S_OK, 123, S_OK}));
        EXPECT_EQ(graph.NextEvent(), (Event{S_OK, 104, S_OK}));
        uiMost = std::max(uiMost, uiReported);
    }
    EXPECT_GE(uiMost, 2U);
}

TEST_F(Session, SaysThatTheTopologyIsReady)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologySet), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(m_graph.Session().GetEvent(0, event.Put()), S_OK);
    UINT32 unStatus = 0;
    ASSERT_EQ(event->GetUINT32(MF_EVENT_TOPOLOGY_STATUS, &unStatus), S_OK);
    EXPECT_EQ(unStatus, 100U);
}

TEST_F(Session, PausesStopsAndCloses)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    PlayUntilPaused(1, [this] { return m_graph.Start(); });
    ASSERT_EQ(m_graph.Session().Stop(), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 105, S_OK}));
    ASSERT_EQ(m_graph.Session().Close(), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 106, S_OK}));
}

TEST_F(Session, NoSampleComesAfterThePause)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    PlayUntilPaused(5, [this] { return m_graph.Start(); });
    const std::size_t uiAtPause = m_graph.Grabber().Count();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(m_graph.Grabber().Count(), uiAtPause);
    // Asked for from the callback of the fifth, the pause comes before a sixth.
    EXPECT_EQ(uiAtPause, 5U);
}

// From another thread, as a caller asks that has waited for the sample. A busy machine may let the thread wait too
// long, so there are several jumps.
TEST_F(Session, APauseSoonAfterAJumpsFirstSampleComesBeforeTheSecond)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    std::size_t uiDelivered = 0;
    for (int i = 0; i < 10 && uiDelivered != 1; ++i)
    {
        std::promise<void> first;
        const std::size_t uiBefore = m_graph.Grabber().Count();
        m_graph.Grabber().SetHook([&](std::size_t uiCount) {
            if (uiCount == uiBefore + 1) first.set_value();
        });
        ASSERT_EQ(m_graph.StartAt((i % 2 == 0 ? 30 : 10) * MS_PER_FRAME), S_OK);
        first.get_future().wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        (void)m_graph.Session().Pause();
        // The short rest of the file may have been played to its end by then.
        TestGraph::Event event;
        do
        {
            event = m_graph.NextEvent();
        } while (event.m_type != MESessionPaused);
        uiDelivered = m_graph.Grabber().Count() - uiBefore;
    }
    EXPECT_EQ(uiDelivered, 1U);
}

TEST_F(Session, ASampleThatTheCallbackRefusesEndsThePlay)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologyStatus), S_OK);
    m_graph.Grabber().SetHook([this](std::size_t uiCount) {
        if (uiCount == 3) m_graph.Grabber().SetAnswer(E_OUTOFMEMORY);
    });
    ASSERT_EQ(m_graph.Start(), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 103, S_OK}));
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 1, E_OUTOFMEMORY}));
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 107, E_OUTOFMEMORY}));
    EXPECT_EQ(m_graph.Grabber().Count(), 3U);
}

TEST_F(Session, ContinuesAfterAPauseWithoutLosingOrRepeatingAPicture)
{
    const std::vector<std::string> pictures = Pictures();
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    PlayUntilPaused(7, [this] { return m_graph.Start(); });
    PlayUntilPaused(9, [this] { return m_graph.Start(); });
    ASSERT_EQ(m_graph.Start(), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionEnded), S_OK);
    const std::vector<GrabbedSample> samples = m_graph.Grabber().TakeSamples();
    ASSERT_EQ(samples.size(), pictures.size());
    for (std::size_t i = 0; i < samples.size(); ++i)
    {
        EXPECT_TRUE(samples[i].m_bytes == pictures[i]) << i;
    }
    EXPECT_THAT(m_graph.Grabber().Calls(), ElementsAre("start", "pause", "restart", "pause", "restart", "stop"));
}

TEST_F(Session, PlaysOnWindowAfterWindow)
{
    const std::vector<std::string> pictures = Pictures();
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    std::size_t uiNext = 0;
    while (uiNext < pictures.size())
    {
        const auto samples = m_graph.PlayFrom(static_cast<std::int64_t>(uiNext) * MS_PER_FRAME, 8);
        ASSERT_FALSE(samples.empty());
        for (const GrabbedSample& sample : samples)
        {
            EXPECT_TRUE(sample.m_bytes == pictures[uiNext]) << uiNext;
            ++uiNext;
        }
    }
}

TEST_F(Session, StartsAnewFromEveryState)
{
    const std::vector<std::string> pictures = Pictures();
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    // New, stopped, ended, and ended by a position after the last picture
    EXPECT_TRUE(m_graph.PlayFrom(30 * MS_PER_FRAME, 1).front().m_bytes == pictures[30]);
    ASSERT_EQ(m_graph.Session().Stop(), S_OK);
    EXPECT_TRUE(m_graph.PlayFrom(10 * MS_PER_FRAME, 1).front().m_bytes == pictures[10]);
    EXPECT_EQ(m_graph.PlayFrom(58 * MS_PER_FRAME, 10).size(), 2U);
    EXPECT_TRUE(m_graph.PlayFrom(5 * MS_PER_FRAME, 1).front().m_bytes == pictures[5]);
    EXPECT_TRUE(m_graph.PlayFrom(60 * MS_PER_FRAME, 1).empty());
    EXPECT_TRUE(m_graph.PlayFrom(59 * MS_PER_FRAME, 1).front().m_bytes == pictures[59]);
    EXPECT_TRUE(m_graph.PlayFrom(-1, 1).front().m_bytes == pictures[0]);
}

TEST_F(Session, BeginsAgainWithoutAPositionOnceItHasEnded)
{
    const std::vector<std::string> pictures = Pictures();
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    EXPECT_EQ(m_graph.PlayFrom(58 * MS_PER_FRAME, 10).size(), 2U);
    PlayUntilPaused(1, [this] { return m_graph.Start(); });
    EXPECT_TRUE(m_graph.Grabber().TakeSamples().front().m_bytes == pictures[0]);
}

TEST_F(Session, AStartWhileItPlaysGoesToTheNewPlace)
{
    const std::vector<std::string> pictures = Pictures();
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    TestGraph* pGraph = &m_graph;
    m_graph.Grabber().SetHook([=](std::size_t uiCount) {
        if (uiCount == 3) pGraph->StartAt(40 * MS_PER_FRAME);
        if (uiCount == 5) pGraph->Session().Pause();
    });
    ASSERT_EQ(m_graph.Start(), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionPaused), S_OK);
    const std::vector<GrabbedSample> samples = m_graph.Grabber().TakeSamples();
    ASSERT_EQ(samples.size(), 5U);
    EXPECT_TRUE(samples[2].m_bytes == pictures[2]);
    EXPECT_TRUE(samples[3].m_bytes == pictures[40]);
    EXPECT_TRUE(samples[4].m_bytes == pictures[41]);
}

TEST_F(Session, TimesAreThoseOfTheContainer)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.Start(), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionEnded), S_OK);
    const std::vector<GrabbedSample> samples = m_graph.Grabber().TakeSamples();
    for (std::size_t i = 0; i < samples.size(); ++i)
    {
        EXPECT_EQ(samples[i].m_nTime, static_cast<std::int64_t>(i) * MS_PER_FRAME * 10000);
        EXPECT_EQ(samples[i].m_nDuration, MS_PER_FRAME * 10000);
    }
}

TEST_F(Session, AStartWithoutATopologyFailsByItsEvent)
{
    ASSERT_EQ(m_graph.OpenSource(Path()), S_OK);
    ComPtr<IMFMediaSession> session;
    ASSERT_EQ(MFCreateMediaSession(nullptr, session.Put()), S_OK);
    PROPVARIANT position;
    PropVariantInit(&position);
    ASSERT_EQ(session->Start(&GUID_NULL, &position), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(session->GetEvent(0, event.Put()), S_OK);
    MediaEventType type = MEUnknown;
    HRESULT hrStatus = S_OK;
    event->GetType(&type);
    event->GetStatus(&hrStatus);
    EXPECT_EQ(type, 103U);
    EXPECT_LT(hrStatus, 0);
    session->Shutdown();
}

TEST_F(Session, ATypeThatNothingCanMakeFailsByEvents)
{
    ASSERT_EQ(m_graph.Open(Path(), MFVideoFormat_WVC1), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 101, MF_E_INVALIDMEDIATYPE}));
    ASSERT_EQ(m_graph.Start(), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 103, MF_E_INVALIDMEDIATYPE}));
    EXPECT_EQ(m_graph.Grabber().Count(), 0U);
}

TEST_F(Session, AnEmptyTopologyFailsByEvents)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologyStatus), S_OK);
    ComPtr<IMFTopology> empty;
    ASSERT_EQ(MFCreateTopology(empty.Put()), S_OK);
    ASSERT_EQ(m_graph.Session().SetTopology(0, empty.Get()), S_OK);
    EXPECT_LT(m_graph.WaitFor(MESessionTopologySet), 0);
    ASSERT_EQ(m_graph.Start(), S_OK);
    EXPECT_LT(m_graph.WaitFor(MESessionStarted), 0);
}

TEST_F(Session, APauseOfAStoppedSessionFails)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.Session().Pause(), S_OK);
    EXPECT_EQ(m_graph.WaitFor(MESessionPaused), MF_E_SESSION_PAUSEWHILESTOPPED);
}

// A good status would be taken for the pause of the start that follows.
TEST_F(Session, ASecondPauseIsNotTakenForThePauseOfTheNextStart)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    PlayUntilPaused(3, [this] { return m_graph.Start(); });
    ASSERT_EQ(m_graph.Session().Pause(), S_OK);
    EXPECT_LT(m_graph.WaitFor(MESessionPaused), 0);
}

TEST_F(Session, ReportsItsRate)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologyStatus), S_OK);
    ASSERT_EQ(m_graph.SetRate(0), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(m_graph.Session().GetEvent(0, event.Put()), S_OK);
    MediaEventType type = MEUnknown;
    event->GetType(&type);
    EXPECT_EQ(type, 108U);
    PROPVARIANT value;
    ASSERT_EQ(event->GetValue(&value), S_OK);
    EXPECT_EQ(value.vt, VT_R4);
    EXPECT_EQ(value.fltVal, 0.0F);

    ComPtr<IMFRateControl> rate;
    ASSERT_EQ(MFGetService(&m_graph.Session(), MF_RATE_CONTROL_SERVICE, IID_IMFRateControl, rate.PutVoid()), S_OK);
    BOOL fThin = TRUE;
    float fRate = 1;
    EXPECT_EQ(rate->GetRate(&fThin, &fRate), S_OK);
    EXPECT_EQ(fThin, FALSE);
    EXPECT_EQ(fRate, 0.0F);
    EXPECT_EQ(rate->SetRate(TRUE, 1), MF_E_THINNING_UNSUPPORTED);
    EXPECT_EQ(rate->SetRate(FALSE, -1), MF_E_REVERSE_UNSUPPORTED);
}

TEST_F(Session, WithoutWaitingThereMayBeNoEvent)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologyStatus), S_OK);
    EXPECT_EQ(m_graph.NextEvent(MF_EVENT_FLAG_NO_WAIT).m_hrGet, MF_E_NO_EVENTS_AVAILABLE);
}

TEST_F(Session, ShutdownEndsAWaitForEvents)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologyStatus), S_OK);
    auto waiting = std::async(std::launch::async, [this] { return m_graph.NextEvent().m_hrGet; });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    ASSERT_EQ(m_graph.Session().Shutdown(), S_OK);
    EXPECT_EQ(waiting.get(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_graph.NextEvent().m_hrGet, MF_E_SHUTDOWN);
    EXPECT_EQ(m_graph.Start(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_graph.Session().Pause(), MF_E_SHUTDOWN);
}

TEST_F(Session, ShutdownWhileItPlaysReturnsAndNoSampleFollows)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    std::promise<void> playing;
    m_graph.Grabber().SetHook([&](std::size_t uiCount) {
        if (uiCount == 2) playing.set_value();
    });
    ASSERT_EQ(m_graph.Start(), S_OK);
    playing.get_future().wait();
    ASSERT_EQ(m_graph.Session().Shutdown(), S_OK);
    const std::size_t uiThen = m_graph.Grabber().Count();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(m_graph.Grabber().Count(), uiThen);
    EXPECT_EQ(m_graph.Grabber().Calls().back(), "shutdown");
}

TEST_F(Session, TheSourceMayBeShutDownFirst)
{
    for (const int nSamples : {0, 1, 20})
    {
        TestGraph graph;
        ASSERT_EQ(graph.Open(Path()), S_OK);
        std::promise<void> playing;
        graph.Grabber().SetHook([&](std::size_t uiCount) {
            if (uiCount == static_cast<std::size_t>(nSamples)) playing.set_value();
        });
        if (nSamples > 0)
        {
            ASSERT_EQ(graph.Start(), S_OK);
            playing.get_future().wait();
        }
        EXPECT_EQ(graph.Source().Shutdown(), S_OK);
        EXPECT_EQ(graph.Session().Shutdown(), S_OK);
    }
}

TEST_F(Session, AStartAfterTheSourcesShutdownFails)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologyStatus), S_OK);
    ASSERT_EQ(m_graph.Source().Shutdown(), S_OK);
    ASSERT_EQ(m_graph.Start(), S_OK);
    EXPECT_EQ(m_graph.NextEvent(), (Event{S_OK, 103, MF_E_SHUTDOWN}));
}

// A callback runs on the session's own thread.
TEST_F(Session, StopAndPauseInsideTheCallbackDoNotWaitForThemselves)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    IMFMediaSession* pSession = &m_graph.Session();
    m_graph.Grabber().SetHook([=](std::size_t) {
        pSession->Pause();
        pSession->Stop();
    });
    ASSERT_EQ(m_graph.Start(), S_OK);
    EXPECT_EQ(m_graph.WaitFor(MESessionPaused), S_OK);
    EXPECT_EQ(m_graph.WaitFor(MESessionStopped), S_OK);
    EXPECT_EQ(m_graph.Grabber().Count(), 1U);
}

TEST_F(Session, ShutdownInsideTheCallbackReturns)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    IMFMediaSession* pSession = &m_graph.Session();
    m_graph.Grabber().SetHook([=](std::size_t) { pSession->Shutdown(); });
    ASSERT_EQ(m_graph.Start(), S_OK);
    while (SUCCEEDED(m_graph.NextEvent().m_hrGet))
    {}
    EXPECT_EQ(m_graph.NextEvent().m_hrGet, MF_E_SHUTDOWN);
    EXPECT_EQ(m_graph.Grabber().Count(), 1U);
    // The session's thread lets go of the callback when it ends.
    while (m_graph.Grabber().Calls().back() != "shutdown")
    {
        std::this_thread::yield();
    }
}

TEST_F(Session, ReleasedWithoutShutdownItEndsAllTheSame)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    std::promise<void> playing;
    m_graph.Grabber().SetHook([&](std::size_t uiCount) {
        if (uiCount == 1) playing.set_value();
    });
    ASSERT_EQ(m_graph.Start(), S_OK);
    playing.get_future().wait();
    const ComPtr<TestGrabber> grabber(&m_graph.Grabber());
    m_graph.ReleaseAll();
    EXPECT_EQ(grabber->Calls().back(), "shutdown");
}

TEST_F(Session, DoesNotShutTheSinkDownIfTheNodeForbidsIt)
{
    ASSERT_EQ(m_graph.OpenSource(Path()), S_OK);
    ASSERT_EQ(m_graph.BuildTopology(MFVideoFormat_YUY2, true), S_OK);
    ComPtr<IMFMediaSession> session;
    ASSERT_EQ(MFCreateMediaSession(nullptr, session.Put()), S_OK);
    ASSERT_EQ(session->SetTopology(0, &m_graph.Topology()), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(session->GetEvent(0, event.Put()), S_OK);
    ASSERT_EQ(session->Shutdown(), S_OK);
    EXPECT_TRUE(m_graph.Grabber().Calls().empty());
}

TEST_F(Session, ASourceServesOneSessionAtATime)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    ASSERT_EQ(m_graph.WaitFor(MESessionTopologySet), S_OK);
    ComPtr<IMFMediaSession> second;
    ASSERT_EQ(MFCreateMediaSession(nullptr, second.Put()), S_OK);
    ASSERT_EQ(second->SetTopology(0, &m_graph.Topology()), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(second->GetEvent(0, event.Put()), S_OK);
    HRESULT hrStatus = S_OK;
    event->GetStatus(&hrStatus);
    EXPECT_EQ(hrStatus, MF_E_MEDIA_SOURCE_WRONGSTATE);
    second->Shutdown();
}

// --- events by callback ---

TEST_F(Session, InvokesACallbackOnceOnAnotherThreadWhenThereIsAnEvent)
{
    ComPtr<IMFMediaSession> session;
    ASSERT_EQ(MFCreateMediaSession(nullptr, session.Put()), S_OK);
    for (const bool bEventFirst : {true, false})
    {
        const auto callback = ComPtr<EventCallback>::Attach(new EventCallback());
        const auto state = ComPtr<EventCallback>::Attach(new EventCallback());
        auto invoked = callback->m_invoked.get_future();
        const auto AddEvent = [&] { return session->QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr); };
        if (bEventFirst)
        {
            EXPECT_EQ(AddEvent(), S_OK);
        }
        ASSERT_EQ(session->BeginGetEvent(callback.Get(), state.Get()), S_OK);
        if (!bEventFirst)
        {
            EXPECT_EQ(invoked.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
            EXPECT_EQ(AddEvent(), S_OK);
        }
        const EventCallback::Invocation invocation = invoked.get();
        EXPECT_NE(invocation.m_thread, std::this_thread::get_id());
        EXPECT_EQ(invocation.m_result->GetStateNoAddRef(), state.Get());
        EXPECT_EQ(invocation.m_result->GetStatus(), S_OK);

        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(session->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.Put()), MF_E_MULTIPLE_SUBSCRIBERS);
        ASSERT_EQ(session->EndGetEvent(invocation.m_result.Get(), event.Put()), S_OK);
        MediaEventType type = MEUnknown;
        EXPECT_EQ(event->GetType(&type), S_OK);
        EXPECT_EQ(type, MEError);
        EXPECT_EQ(session->EndGetEvent(invocation.m_result.Get(), event.Put()), E_INVALIDARG);
        EXPECT_EQ(session->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.Put()), MF_E_NO_EVENTS_AVAILABLE);
    }
    session->Shutdown();
}

TEST_F(Session, HasOneCallbackAtATime)
{
    ComPtr<IMFMediaSession> session;
    ASSERT_EQ(MFCreateMediaSession(nullptr, session.Put()), S_OK);
    const auto first = ComPtr<EventCallback>::Attach(new EventCallback());
    const auto second = ComPtr<EventCallback>::Attach(new EventCallback());
    EXPECT_EQ(session->BeginGetEvent(nullptr, nullptr), E_POINTER);
    ASSERT_EQ(session->BeginGetEvent(first.Get(), nullptr), S_OK);
    EXPECT_EQ(session->BeginGetEvent(first.Get(), nullptr), MF_S_MULTIPLE_BEGIN);
    EXPECT_EQ(session->BeginGetEvent(second.Get(), nullptr), MF_E_MULTIPLE_BEGIN);
    session->Shutdown();
}

TEST_F(Session, ItsShutdownInvokesACallbackThatWaits)
{
    ComPtr<IMFMediaSession> session;
    ASSERT_EQ(MFCreateMediaSession(nullptr, session.Put()), S_OK);
    const auto callback = ComPtr<EventCallback>::Attach(new EventCallback());
    auto invoked = callback->m_invoked.get_future();
    ASSERT_EQ(session->BeginGetEvent(callback.Get(), nullptr), S_OK);
    ASSERT_EQ(session->Shutdown(), S_OK);
    ASSERT_EQ(invoked.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(session->EndGetEvent(invoked.get().m_result.Get(), event.Put()), MF_E_SHUTDOWN);
    EXPECT_EQ(session->BeginGetEvent(callback.Get(), nullptr), MF_E_SHUTDOWN);
}

// The callback holds the last reference to the session, and gives it back when it is invoked.
TEST_F(Session, MayEndInItsOwnCallback)
{
    class Last final : public platform::ComObject<platform::Implements<IMFAsyncCallback>>
    {
    public:
        HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override
        {
            m_session = nullptr;
            m_done.set_value();
            return S_OK;
        }
        ComPtr<IMFMediaSession> m_session;
        std::promise<void> m_done;
    };
    const auto callback = ComPtr<Last>::Attach(new Last());
    ASSERT_EQ(MFCreateMediaSession(nullptr, callback->m_session.Put()), S_OK);
    ASSERT_EQ(callback->m_session->BeginGetEvent(callback.Get(), nullptr), S_OK);
    ASSERT_EQ(callback->m_session->QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr), S_OK);
    callback->m_done.get_future().get();
}

TEST_F(Session, RefusesPositionsItDoesNotKnow)
{
    ASSERT_EQ(m_graph.Open(Path()), S_OK);
    PROPVARIANT position;
    PropVariantInit(&position);
    position.vt = VT_R8;
    position.dblVal = 1;
    EXPECT_EQ(m_graph.Session().Start(&GUID_NULL, &position), MF_E_UNSUPPORTED_TIME_FORMAT);
    PropVariantInit(&position);
    EXPECT_EQ(m_graph.Session().Start(&MFMediaType_Video, &position), MF_E_UNSUPPORTED_TIME_FORMAT);
    EXPECT_EQ(m_graph.Session().Start(&GUID_NULL, nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace mftest
