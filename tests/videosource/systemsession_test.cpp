// The media source in the system's own media session: which events it reports there, and which pictures arrive, at
// which times, at a sink of the test's. There is no encoder between. Pictures are handed over as the writer does it.
#include <algorithm>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "common/saferelease.h"
#include "common/sourcenode.h"
#include "mp4_outputfile/picturehandover.h"
#include "mp4_outputfile/writegraph.h"
#include "recording_sink.h"
#include "session_record.h"
#include "support/temporary_folder.h"
#include "system_session_fixture.h"
#include "videosource/videosource.h"

namespace
{

using namespace system_session;
using testing::ElementsAre;
using testing::ElementsAreArray;

// A graph without an encoder: source, session and sink, fed as the writer feeds it.
class CRawGraph
{
public:
    CRawGraph() { m_sink.reset(new CRecordingSink(MFVideoFormat_YUY2)); }

    void Make(std::uint32_t nFrameCount = UNKNOWN_FRAME_COUNT)
    {
        ASSERT_EQ(m_handover.Open(WIDTH, HEIGHT), QM_OK);
        ASSERT_EQ(MFCreateMediaSession(nullptr, &m_graph.m_pSession), S_OK);
        ASSERT_EQ(CreateVideoSource(IID_IMFMediaSource, reinterpret_cast<void**>(&m_graph.m_pSource)), S_OK);
        static_cast<VideoSource*>(m_graph.m_pSource)
            ->Configure(WIDTH, HEIGHT, &m_handover.m_hFrameReady, &m_handover.m_hFrameTaken, &m_handover.m_csPicture,
                        m_handover.m_picHandover.m_pData, &m_handover.m_nEndOfStream, nFrameCount,
                        &m_handover.m_dSampleTime);
        ASSERT_EQ(MakeTopology(), S_OK);
    }

    void Start()
    {
        m_thread = std::thread([this] {
            m_hrSession = RunSession(m_graph.m_pSession, m_graph.m_pTopology, m_handover.m_hSessionStarted);
            SetEvent(m_hEnded);
        });
    }

    // True when the source has taken the picture.
    bool Write(unsigned uiNumber, double dDuration, bool bLast = false)
    {
        Leave(uiNumber, dDuration, bLast);
        return AwaitTaken();
    }
    void Leave(unsigned uiNumber, double dDuration, bool bLast = false)
    {
        Bytes vPixels = HostPixels(uiNumber);
        SQmPicBuf picture{};
        picture.m_uiWidth = WIDTH;
        picture.m_uiHeight = HEIGHT;
        picture.m_uiWidthBytes = WIDTH * 3;
        picture.m_uiBits = 8;
        picture.m_uiComponents = 3;
        picture.m_uiSize = vPixels.size();
        picture.m_pData = vPixels.data();
        m_handover.SetPending(picture);
        m_handover.HandOver(dDuration, bLast);
    }
    bool AwaitTaken()
    {
        const bool bTaken = WaitForSingleObject(m_handover.m_hFrameTaken, LIMIT_MS) == WAIT_OBJECT_0;
        ResetEvent(m_handover.m_hFrameTaken);
        return bTaken;
    }
    // All of them, the last one as the stream's last one.
    bool WriteAll(const std::vector<double>& vTimes)
    {
        const std::vector<LONGLONG> vDurations = DurationsOf(vTimes);
        bool bTaken = true;
        for (std::size_t ui = 0; bTaken && ui < vTimes.size(); ++ui)
        {
            bTaken =
                Write(static_cast<unsigned>(ui), static_cast<double>(vDurations[ui]) / 10000, ui + 1 == vTimes.size());
        }
        m_handover.WakeSource();
        return bTaken;
    }

    // The session has ended by itself, or is shut down when it hasn't in a minute.
    void AwaitEnd()
    {
        EXPECT_EQ(WaitForSingleObject(m_hEnded, LIMIT_MS), WAIT_OBJECT_0);
        End();
    }
    void End()
    {
        ShutDownWriteGraph(m_graph, m_handover);
        if (m_thread.joinable()) m_thread.join();
        IMFMediaSource* const pSource = m_graph.m_pSource;
        if (pSource == nullptr) return;
        pSource->AddRef();
        ReleaseWriteGraph(m_graph);
        EXPECT_TRUE(ReleaseLastReference(pSource)) << "the session still holds the source";
    }
    ~CRawGraph()
    {
        End();
        CloseHandle(m_hEnded);
    }

    CPictureHandover m_handover;
    SWriteGraph m_graph;
    TOwned<CRecordingSink> m_sink;
    HRESULT m_hrSession = E_PENDING;

private:
    HRESULT MakeTopology()
    {
        IMFPresentationDescriptor* pPresentation = nullptr;
        IMFStreamDescriptor* pStream = nullptr;
        IMFTopologyNode* pSourceNode = nullptr;
        IMFTopologyNode* pSinkNode = nullptr;
        BOOL bSelected = FALSE;
        HRESULT hr = MFCreateTopology(&m_graph.m_pTopology);
        if (SUCCEEDED(hr)) hr = m_graph.m_pSource->CreatePresentationDescriptor(&pPresentation);
        if (SUCCEEDED(hr)) hr = pPresentation->GetStreamDescriptorByIndex(0, &bSelected, &pStream);
        if (SUCCEEDED(hr))
            hr = AddSourceNode(m_graph.m_pTopology, m_graph.m_pSource, pPresentation, pStream, &pSourceNode);
        if (SUCCEEDED(hr)) hr = MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &pSinkNode);
        if (SUCCEEDED(hr)) hr = pSinkNode->SetObject(static_cast<IMFStreamSink*>(m_sink.get()));
        if (SUCCEEDED(hr)) hr = m_graph.m_pTopology->AddNode(pSinkNode);
        if (SUCCEEDED(hr)) hr = pSinkNode->SetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, 1);
        if (SUCCEEDED(hr)) hr = pSourceNode->ConnectOutput(0, pSinkNode, 0);
        SafeRelease(&pSinkNode);
        SafeRelease(&pSourceNode);
        SafeRelease(&pStream);
        SafeRelease(&pPresentation);
        return hr;
    }

    const HANDLE m_hEnded = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread m_thread;
};

TEST_F(SystemSession, RawPicturesArriveOnceInOrderAndAtTheirTimes)
{
    CRawGraph graph;
    graph.Make();
    graph.Start();
    EXPECT_TRUE(graph.WriteAll(g_vTimes));
    graph.AwaitEnd();

    EXPECT_EQ(graph.m_hrSession, S_OK);
    EXPECT_THAT(SinkSamples(), ElementsAreArray(SampleTexts(g_vTimes)));
    EXPECT_THAT(NumbersOf(graph.m_sink->GetSamples()), ElementsAreArray(NumbersUpTo(g_vTimes.size())));
}

// What the source reports, up to its end, in one row.
TEST_F(SystemSession, TheSourceReportsItsStreamItsStartEachPictureAndItsEnd)
{
    CRawGraph graph;
    graph.Make();
    graph.Start();
    EXPECT_TRUE(graph.WriteAll(g_vTimes));
    graph.AwaitEnd();

    Texts vExpected{"source 205 stream", "source 201 at 0", "stream 202 at 0"};
    for (const std::string& text : SampleTexts(g_vTimes))
        vExpected.push_back("stream 213 " + text);
    vExpected.insert(vExpected.end(), {"stream 212", "source 211"});
    Texts vReported = SourceEvents();
    ASSERT_GE(vReported.size(), vExpected.size());
    vReported.resize(vExpected.size());
    EXPECT_THAT(vReported, ElementsAreArray(vExpected));
}

// Each for the first time: topology set and its status, started, end of the presentation, ended. A session may report
// more in between, such as what it can do.
TEST_F(SystemSession, TheSessionReportsInThePublishedOrder)
{
    CRawGraph graph;
    graph.Make();
    graph.Start();
    EXPECT_TRUE(graph.WriteAll({0, 10, 30}));
    graph.AwaitEnd();

    const Texts vExpected{"101", "111", "103", "211", "107"};
    Texts vReported;
    for (const std::string& text : CSessionRecord::Get("session"))
    {
        const std::string number = text.substr(0, text.find(' '));
        const bool bNew = std::find(vReported.begin(), vReported.end(), number) == vReported.end();
        const bool bExpected = std::find(vExpected.begin(), vExpected.end(), number) != vExpected.end();
        if (bNew && bExpected) vReported.push_back(number);
    }
    EXPECT_EQ(vReported, vExpected);
}

TEST_F(SystemSession, TheSinkIsStartedBeforeTheFirstPictureAndGetsAMarkerAfterTheLastOne)
{
    CRawGraph graph;
    graph.Make();
    graph.Start();
    EXPECT_TRUE(graph.WriteAll({0, 10, 30}));
    graph.AwaitEnd();

    Texts vAsked = CSessionRecord::Get("sink");
    std::erase(vAsked, "flush");  // a sink may be asked at any time to drop what it has, which is nothing
    for (const char* const pszEnd : {"stop", "shutdown"})
        std::erase(vAsked, pszEnd);  // at the end or not at all
    EXPECT_THAT(vAsked,
                ElementsAre("start", "sample 0+100000", "sample 100000+200000", "sample 300000+200000", "marker 1"));
}

TEST_F(SystemSession, AStreamOfAKnownLengthEndsTheSessionByItself)
{
    CRawGraph graph;
    graph.Make(3);
    graph.Start();
    for (unsigned ui = 0; ui < 3; ++ui)
        ASSERT_TRUE(graph.Write(ui, 2.5));
    graph.AwaitEnd();

    EXPECT_EQ(graph.m_hrSession, S_OK);
    EXPECT_THAT(SinkSamples(), ElementsAre("sample 0+25000", "sample 25000+25000", "sample 50000+25000"));
}

TEST_F(SystemSession, NothingIsHeldAfterTheEnd)
{
    TOwned<CRecordingSink> pSink;
    {
        CRawGraph graph;
        graph.Make();
        graph.m_sink->AddRef();
        pSink.reset(graph.m_sink.get());
        graph.Start();
        EXPECT_TRUE(graph.WriteAll({0, 10, 30}));
        graph.AwaitEnd();  // expects that the source is gone
    }
    pSink->Shutdown();
    EXPECT_TRUE(FallsTo(1, [&] { return pSink->CountReferences(); }));
}

// --- gaps of Wine ---

bool IsWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// When this fails, the gap is closed: then the whole graph, with the system's own sink, can be tested under Wine.
TEST_F(SystemSession, WinesMpeg4SinkCantBeUsedInASession)
{
    if (!IsWine()) GTEST_SKIP() << "Windows has no such gap";
    const test_support::TemporaryFolder folder;
    IMFByteStream* pFile = nullptr;
    IMFMediaType* pType = nullptr;
    IMFMediaSink* pSink = nullptr;
    ASSERT_EQ(MFCreateFile(MF_ACCESSMODE_READWRITE, MF_OPENMODE_DELETE_IF_EXIST, MF_FILEFLAGS_NONE,
                           (folder / "x.mp4").wstring().c_str(), &pFile),
              S_OK);
    ASSERT_EQ(MFCreateMediaType(&pType), S_OK);
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, WIDTH, HEIGHT);
    MFSetAttributeRatio(pType, MF_MT_FRAME_RATE, 25, 1);
    ASSERT_EQ(MakeSystemMpeg4Sink(pFile, pType, &pSink), S_OK);
    DWORD dwCharacteristics = 0;
    EXPECT_EQ(pSink->GetCharacteristics(&dwCharacteristics), E_NOTIMPL);
    EXPECT_EQ(pSink->SetPresentationClock(nullptr), E_NOTIMPL);
    pSink->Shutdown();
    SafeRelease(&pSink);
    SafeRelease(&pType);
    SafeRelease(&pFile);
}

}  // namespace
