// Whole sessions from a source that waits for its pictures, through the encoder, into a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "platform/mediafoundation/write_script.h"
#include "support/ffmpeg.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"
#include "test_graph.h"
#include "writing_graph.h"

namespace mftest
{
namespace
{

using ::testing::ElementsAre;

struct Event
{
    MediaEventType m_type = MEUnknown;
    HRESULT m_hrStatus = S_OK;
    bool operator==(const Event&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Event& event)
{
    return out << event.m_type << " (" << std::hex << event.m_hrStatus << std::dec << ")";
}

class WritingSession : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MediaWriteScript_Reset();
        m_source = ComPtr<FedSource>::Attach(new FedSource());
        m_encoder = FindEncoder();
        ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonRateControlMode, 3), S_OK);
        ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncMPVDefaultBPictureCount, 2), S_OK);
        ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
        ASSERT_EQ(MFCreateMPEG4MediaSink(CreateFileStream(m_path).Get(), EncodedType().Get(), nullptr, m_sink.Put()),
                  S_OK);
        ASSERT_EQ(m_sink->GetStreamSinkByIndex(0, m_streamSink.Put()), S_OK);
        ASSERT_EQ(MFCreateMediaSession(nullptr, m_session.Put()), S_OK);
        BuildTopology();
    }
    void TearDown() override
    {
        MediaWriteScript_Reset();
        (void)m_source->Shutdown();
        (void)m_session->Shutdown();
        (void)m_sink->Shutdown();
    }

    static ComPtr<IMFTopologyNode> Node(MF_TOPOLOGY_TYPE type, IUnknown* pObject, IMFTopology* pTopology)
    {
        ComPtr<IMFTopologyNode> node;
        EXPECT_EQ(MFCreateTopologyNode(type, node.Put()), S_OK);
        EXPECT_EQ(node->SetObject(pObject), S_OK);
        EXPECT_EQ(pTopology->AddNode(node.Get()), S_OK);
        return node;
    }
    void BuildTopology()
    {
        ASSERT_EQ(MFCreateTopology(m_topology.Put()), S_OK);
        ComPtr<IMFPresentationDescriptor> presentation;
        ComPtr<IMFStreamDescriptor> stream;
        BOOL fSelected = FALSE;
        ASSERT_EQ(m_source->CreatePresentationDescriptor(presentation.Put()), S_OK);
        ASSERT_EQ(presentation->GetStreamDescriptorByIndex(0, &fSelected, stream.Put()), S_OK);
        const auto source = Node(MF_TOPOLOGY_SOURCESTREAM_NODE, nullptr, m_topology.Get());
        ASSERT_EQ(source->SetUnknown(MF_TOPONODE_SOURCE, m_source.Get()), S_OK);
        ASSERT_EQ(source->SetUnknown(MF_TOPONODE_PRESENTATION_DESCRIPTOR, presentation.Get()), S_OK);
        ASSERT_EQ(source->SetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, stream.Get()), S_OK);
        ASSERT_EQ(source->SetUINT32(MF_TOPONODE_WORKQUEUE_ID, 3), S_OK);
        m_encoderNode = Node(MF_TOPOLOGY_TRANSFORM_NODE, m_encoder.Get(), m_topology.Get());
        m_outputNode = Node(MF_TOPOLOGY_OUTPUT_NODE, m_streamSink.Get(), m_topology.Get());
        ASSERT_EQ(m_outputNode->SetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, 1), S_OK);
        ASSERT_EQ(source->ConnectOutput(0, m_encoderNode.Get(), 0), S_OK);
        ASSERT_EQ(m_encoderNode->ConnectOutput(0, m_outputNode.Get(), 0), S_OK);
    }

    HRESULT Start()
    {
        PROPVARIANT position;
        PropVariantInit(&position);
        return m_session->Start(&GUID_NULL, &position);
    }
    Event Next()
    {
        ComPtr<IMFMediaEvent> event;
        Event next;
        const HRESULT hr = m_session->GetEvent(0, event.Put());
        if (FAILED(hr)) return {MEUnknown, hr};
        EXPECT_EQ(event->GetType(&next.m_type), S_OK);
        EXPECT_EQ(event->GetStatus(&next.m_hrStatus), S_OK);
        return next;
    }
    std::vector<Event> NextOnes(std::size_t uiCount)
    {
        std::vector<Event> events;
        for (std::size_t i = 0; i < uiCount; ++i)
        {
            events.push_back(Next());
        }
        return events;
    }
    // Topology set, ready, started
    void StartAndAwait()
    {
        ASSERT_EQ(m_session->SetTopology(0, m_topology.Get()), S_OK);
        ASSERT_EQ(Start(), S_OK);
        ASSERT_THAT(NextOnes(3), ElementsAre(Event{101}, Event{111}, Event{103}));
    }
    std::vector<Event> RestOfSession()
    {
        std::vector<Event> events;
        do
        {
            events.push_back(Next());
        } while (events.back().m_type != MESessionEnded && events.back().m_type != MEUnknown);
        return events;
    }
    void Give(unsigned uiFrom, unsigned uiTo)
    {
        for (unsigned i = uiFrom; i < uiTo; ++i)
        {
            m_source->Give(i, DurationOf(i));
        }
    }
    static std::int64_t DurationOf(unsigned i) { return (1 + i * 37 % 113) * MS; }

    // Every picture of the file with its number and its time.
    void ExpectPictures(unsigned uiCount)
    {
        ASSERT_EQ(Finalize(m_sink.Get()), S_OK);
        const auto times = test_support::ListTimesMs(test_support::ReadBytes(m_path));
        const auto probed = ProbedTimes(m_path);
        const auto decoded = test_support::DecodePlain(m_path, WIDTH, HEIGHT);
        ASSERT_EQ(times.size(), uiCount);
        ASSERT_EQ(probed.size(), uiCount);
        ASSERT_EQ(decoded.size(), uiCount);
        std::int64_t nTime = 0;
        for (unsigned i = 0; i < uiCount; ++i)
        {
            EXPECT_EQ(times[i], static_cast<std::uint64_t>(nTime / MS)) << i;
            EXPECT_NEAR(probed[i], static_cast<double>(nTime) / 1e7, 1.0 / 30000) << i;
            EXPECT_EQ(NumberIn(decoded[i].data()), i);
            nTime += DurationOf(i);
        }
    }

    Platform m_platform;
    test_support::TemporaryFolder m_folder;
    const std::filesystem::path m_path = m_folder / "file.mp4";
    ComPtr<FedSource> m_source;
    ComPtr<IMFTransform> m_encoder;
    ComPtr<IMFMediaSink> m_sink;
    ComPtr<IMFStreamSink> m_streamSink;
    ComPtr<IMFMediaSession> m_session;
    ComPtr<IMFTopology> m_topology;
    ComPtr<IMFTopologyNode> m_encoderNode;
    ComPtr<IMFTopologyNode> m_outputNode;
};

TEST_F(WritingSession, WritesEveryPictureAndReportsTheEnd)
{
    StartAndAwait();
    Give(0, 59);
    m_source->End();
    Give(59, 60);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    EXPECT_EQ(m_source->MostRequestsAtOnce(), 1U);
    ExpectPictures(60);
}

TEST_F(WritingSession, WritesOneTwoAndThreePictures)
{
    for (const unsigned uiCount : {1U, 2U, 3U})
    {
        if (uiCount > 1)
        {
            TearDown();
            SetUp();
        }
        StartAndAwait();
        Give(0, uiCount - 1);
        m_source->End();
        Give(uiCount - 1, uiCount);
        EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
        ExpectPictures(uiCount);
    }
}

TEST_F(WritingSession, TheEndComesAfterTheLastPictureIsInTheFile)
{
    StartAndAwait();
    m_source->End();
    m_source->Give(0, MS);
    ASSERT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    EXPECT_GT(std::filesystem::file_size(m_path), 48U);
    EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::WriteSample), 1U);
}

TEST_F(WritingSession, PicturesAfterTheEndAreDropped)
{
    StartAndAwait();
    Give(0, 4);
    m_source->End();
    Give(4, 5);
    m_source->AwaitTaken(5);
    Give(5, 9);
    EXPECT_EQ(RestOfSession().back(), Event{107});
    // A picture that was given before the source looked for the end may belong to the stream.
    const unsigned uiWritten = MediaWriteScript_CallCount(MediaWriteCall::WriteSample);
    EXPECT_EQ(uiWritten, 5U);
    ExpectPictures(5);
}

TEST_F(WritingSession, AStopAndAStartLoseNothing)
{
    StartAndAwait();
    Give(0, 20);
    m_source->AwaitTaken(20);
    m_source->AwaitRequest();
    ASSERT_EQ(m_session->Stop(), S_OK);
    EXPECT_EQ(Next(), Event{105});
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Next(), Event{103});
    Give(20, 39);
    m_source->End();
    Give(39, 40);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    EXPECT_EQ(m_source->MostRequestsAtOnce(), 1U);
    EXPECT_EQ(m_source->LostPictures(), 0U);
    ExpectPictures(40);
}

// A request is under way when the stop comes. A picture that arrives then is kept for the next start.
TEST_F(WritingSession, APictureThatComesWhileTheSessionIsStoppedIsKept)
{
    StartAndAwait();
    m_source->AwaitRequest();
    ASSERT_EQ(m_session->Stop(), S_OK);
    EXPECT_EQ(Next(), Event{105});
    m_source->Give(0, DurationOf(0));
    m_source->AwaitTaken(1);
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Next(), Event{103});
    m_source->End();
    Give(1, 2);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    EXPECT_EQ(m_source->LostPictures(), 0U);
    EXPECT_EQ(m_source->MostRequestsAtOnce(), 1U);
    ExpectPictures(2);
}

TEST_F(WritingSession, ManyStopsAndStartsLoseNothing)
{
    StartAndAwait();
    std::atomic<bool> bGiven{false};
    std::thread giving([&] {
        Give(0, 119);
        m_source->End();
        Give(119, 120);
        bGiven = true;
    });
    std::vector<Event> events;
    unsigned uiStarts = 0;
    while (!bGiven || uiStarts < 20)
    {
        ASSERT_EQ(m_session->Stop(), S_OK);
        std::this_thread::yield();
        ASSERT_EQ(Start(), S_OK);
        ++uiStarts;
        if (uiStarts > 200) break;
    }
    giving.join();
    do
    {
        events.push_back(Next());
        ASSERT_EQ(events.back().m_hrStatus, S_OK) << events.back();
    } while (events.back().m_type != MESessionEnded);
    EXPECT_EQ(m_source->MostRequestsAtOnce(), 1U);
    EXPECT_EQ(m_source->LostPictures(), 0U);
    ExpectPictures(120);
}

TEST_F(WritingSession, APauseKeepsEverything)
{
    StartAndAwait();
    Give(0, 5);
    m_source->AwaitTaken(5);
    ASSERT_EQ(m_session->Pause(), S_OK);
    EXPECT_EQ(Next(), Event{104});
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Next(), Event{103});
    m_source->End();
    Give(5, 6);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    ExpectPictures(6);
}

TEST_F(WritingSession, ASourceThatNeverDeliversDoesNotKeepItFromStopping)
{
    StartAndAwait();
    m_source->AwaitRequest();
    ASSERT_EQ(m_session->Stop(), S_OK);
    EXPECT_EQ(Next(), Event{105});
    // The source is stopped once it has returned from the request.
    EXPECT_THAT(m_source->Calls(), ElementsAre("start"));
    m_source->Give(0);
    m_source->AwaitTaken(1);
    while (m_source->Calls().size() < 2)
    {
        std::this_thread::yield();
    }
    EXPECT_THAT(m_source->Calls(), ElementsAre("start", "stop"));
}

TEST_F(WritingSession, ShutsDownWhileTheSourceWaits)
{
    StartAndAwait();
    m_source->AwaitRequest();
    ASSERT_EQ(m_session->Shutdown(), S_OK);  // the source is alive, and still waits
    ASSERT_EQ(m_source->Shutdown(), S_OK);
    EXPECT_EQ(Next(), (Event{MEUnknown, MF_E_SHUTDOWN}));
}

TEST_F(WritingSession, AfterTheShutdownOfBothNoCallToTheSourceIsUnderWay)
{
    for (int i = 0; i < 20; ++i)
    {
        if (i > 0)
        {
            TearDown();
            SetUp();
        }
        StartAndAwait();
        Give(0, static_cast<unsigned>(i % 4));
        ASSERT_EQ(m_source->Shutdown(), S_OK);
        ASSERT_EQ(m_session->Shutdown(), S_OK);
        m_session = nullptr;
        m_topology = nullptr;
        m_encoderNode = nullptr;
        m_outputNode = nullptr;
        // The session and its threads have let go of the source.
        EXPECT_EQ(m_source->AddRef(), 2U);
        m_source->Release();
        ASSERT_EQ(MFCreateMediaSession(nullptr, m_session.Put()), S_OK);
    }
}

TEST_F(WritingSession, AShutDownSourceEndsIt)
{
    StartAndAwait();
    m_source->AwaitRequest();
    ASSERT_EQ(m_source->Shutdown(), S_OK);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{1, MF_E_SHUTDOWN}, Event{107, MF_E_SHUTDOWN}));
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Next(), (Event{103, MF_E_SHUTDOWN}));
}

// --- failures ---

TEST_F(WritingSession, AFailureOfTheSourcesStartIsThatOfTheSession)
{
    m_source->FailStart(E_ACCESSDENIED);
    ASSERT_EQ(m_session->SetTopology(0, m_topology.Get()), S_OK);
    ASSERT_EQ(Start(), S_OK);
    EXPECT_THAT(NextOnes(3), ElementsAre(Event{101}, Event{111}, Event{103, E_ACCESSDENIED}));
}

TEST_F(WritingSession, AnErrorOfTheSourceEndsIt)
{
    StartAndAwait();
    m_source->ReportError(E_OUTOFMEMORY);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{1, E_OUTOFMEMORY}, Event{107, E_OUTOFMEMORY}));
}

TEST_F(WritingSession, ARequestThatFailsEndsIt)
{
    StartAndAwait();
    Give(0, 3);
    m_source->AwaitTaken(3);
    m_source->FailRequest(E_OUTOFMEMORY);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{1, E_OUTOFMEMORY}, Event{107, E_OUTOFMEMORY}));
}

// A picture may be missing then, so the session doesn't go on as if nothing had happened.
TEST_F(WritingSession, ARequestThatFailsWhileStoppedFailsTheNextStart)
{
    StartAndAwait();
    m_source->AwaitRequest();
    ASSERT_EQ(m_session->Stop(), S_OK);
    EXPECT_EQ(Next(), Event{105});
    m_source->FailRequest(E_OUTOFMEMORY);
    while (m_source->Calls().size() < 2)
    {
        std::this_thread::yield();
    }
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Next(), (Event{103, E_OUTOFMEMORY}));
}

TEST_F(WritingSession, AnEncoderThatFailsEndsIt)
{
    StartAndAwait();
    MediaWriteScript_FailCall(MediaWriteCall::EncodeSample, 3, E_OUTOFMEMORY);
    Give(0, 3);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{1, E_OUTOFMEMORY}, Event{107, E_OUTOFMEMORY}));
}

TEST_F(WritingSession, ASinkThatFailsEndsItAndWhatIsWrittenCanBeFinished)
{
    StartAndAwait();
    constexpr HRESULT FULL = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    MediaWriteScript_FailCall(MediaWriteCall::WriteSample, 3, FULL);
    Give(0, 29);
    m_source->End();
    Give(29, 30);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{1, FULL}, Event{107, FULL}));
    EXPECT_EQ(Finalize(m_sink.Get()), S_OK);
    EXPECT_EQ(ProbedTimes(m_path).size(), 2U);
}

TEST_F(WritingSession, TopologiesThatItCannotPlayAreRefused)
{
    const auto result = [this] {
        EXPECT_EQ(m_session->SetTopology(0, m_topology.Get()), S_OK);
        return Next();
    };
    ASSERT_EQ(m_encoderNode->DisconnectOutput(0), S_OK);
    EXPECT_EQ(result(), (Event{101, MF_E_TOPO_UNSUPPORTED}));
    ASSERT_EQ(m_encoderNode->ConnectOutput(0, m_outputNode.Get(), 0), S_OK);
    ASSERT_EQ(m_encoderNode->SetObject(m_sink.Get()), S_OK);
    EXPECT_EQ(result(), (Event{101, MF_E_TOPO_UNSUPPORTED}));
    ASSERT_EQ(m_encoderNode->SetObject(m_encoder.Get()), S_OK);
    VideoShape other;
    other.m_unWidth = 128;
    ASSERT_EQ(m_encoder->SetOutputType(0, EncodedType(other).Get(), 0), S_OK);
    EXPECT_EQ(result(), (Event{101, MF_E_INVALIDMEDIATYPE}));
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    EXPECT_EQ(result(), Event{101});
}

// The reading side finds every picture by the time that the file's own table gives it.
TEST_F(WritingSession, WhatItWroteReadsBackByTime)
{
    StartAndAwait();
    Give(0, 59);
    m_source->End();
    Give(59, 60);
    ASSERT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    ASSERT_EQ(Finalize(m_sink.Get()), S_OK);
    const auto times = test_support::ListTimesMs(test_support::ReadBytes(m_path));
    ASSERT_EQ(times.size(), 60U);
    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path.string()), S_OK);
    for (const unsigned k : {0U, 1U, 2U, 3U, 58U, 59U, 30U, 17U, 49U, 50U, 51U, 5U})
    {
        const auto samples = graph.PlayFrom(static_cast<std::int64_t>(times[k]), 1);
        ASSERT_FALSE(samples.empty()) << k;
        std::vector<std::uint8_t> brightness;
        for (std::size_t i = 0; i < samples[0].m_bytes.size(); i += 2)
        {
            brightness.push_back(static_cast<std::uint8_t>(samples[0].m_bytes[i]));
        }
        EXPECT_EQ(NumberIn(brightness.data()), k);
    }
}

TEST_F(WritingSession, AnEndedSessionCanBeStartedAgain)
{
    StartAndAwait();
    m_source->End();
    Give(0, 1);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Next(), Event{103});
    Give(1, 2);
    EXPECT_THAT(RestOfSession(), ElementsAre(Event{211}, Event{107}));
    ExpectPictures(2);
}

TEST_F(WritingSession, ClosesAndLeavesTheSink)
{
    StartAndAwait();
    ASSERT_EQ(m_session->Close(), S_OK);
    EXPECT_EQ(Next(), Event{106});
    DWORD dwCount = 0;
    EXPECT_EQ(m_sink->GetStreamSinkCount(&dwCount), S_OK);
}

TEST_F(WritingSession, ShutsTheSinkDownWhereItIsNotAskedToLeaveIt)
{
    ASSERT_EQ(m_outputNode->SetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, 0), S_OK);
    StartAndAwait();
    ASSERT_EQ(m_session->Close(), S_OK);
    EXPECT_EQ(Next(), Event{106});
    DWORD dwCount = 0;
    EXPECT_EQ(m_sink->GetStreamSinkCount(&dwCount), MF_E_SHUTDOWN);
}

}  // namespace
}  // namespace mftest
