// What opening a file asks of the session, which is a scripted one here: this program has its own in place of the
// system's, and notes what the sink is asked for. The times of a file are its own as well.
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include <dlfcn.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "common/modulestate.h"
#include "hostapi/hostplatform.h"
#include "mp4filesimpl/mp4inputfile.h"
#include "sample_video.h"
#include "scripted_file.h"
#include "support/idle_session.h"
#include "support/moved_clock.h"
#include "support/scripted_events.h"

namespace
{

using test_support::MoveClock;
using testing::ElementsAre;

std::mutex g_mtxCalls;
std::vector<std::string> g_vCalls;     // of all sessions
CScriptedEvents* g_pEvents = nullptr;  // of the newest session that was started

using Grabber = IMFSampleGrabberSinkCallback;
Grabber* g_pGrabber = nullptr;        // of the newest sink; not counted
std::vector<GUID> g_vSubtypes;        // that the sinks were asked for
std::vector<UINT32> g_vWorkQueues;    // of the source nodes in the topologies
std::size_t g_uiSessions = 0;         // that were asked for
std::size_t g_uiMostSessions = 1000;  // the next one can't be made
std::size_t g_uiStarts = 0;
// What the n-th start returns, from 0.
std::function<HRESULT(std::size_t)> g_fnStart;

// The settings of a sink's node and of the sink, and whether they are there.
struct SSinkNode
{
    HRESULT m_hrStream = E_FAIL;
    UINT32 m_uiStream = 77;
    HRESULT m_hrNoShutdown = E_FAIL;
    UINT32 m_uiNoShutdown = 77;
    HRESULT m_hrIgnoreClock = E_FAIL;
    UINT32 m_uiIgnoreClock = 77;
};
std::vector<SSinkNode> g_vSinkNodes;     // in the topologies
std::vector<HRESULT> g_vSourceStatuses;  // what a call to the source returned when its session was shut down
// What the n-th question for the times of a file returns, from 0.
std::function<QmStatus(std::size_t)> g_fnFileTimes;
std::size_t g_uiFileTimes = 0;

void Note(const char* pszCall)
{
    const std::lock_guard lock(g_mtxCalls);
    g_vCalls.emplace_back(pszCall);
}

// Reports what a test has it report, and delivers nothing.
class CNotedSession : public CIdleSession
{
public:
    virtual ~CNotedSession() = default;

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }

    STDMETHODIMP SetTopology(DWORD, IMFTopology* pTopology) override
    {
        Note("SetTopology");
        WORD wCount = 0;
        EXPECT_EQ(pTopology->GetNodeCount(&wCount), S_OK);
        for (WORD i = 0; i < wCount; ++i)
        {
            IMFTopologyNode* pNode = nullptr;
            UINT32 uiWorkQueue = 0;
            EXPECT_EQ(pTopology->GetNode(i, &pNode), S_OK);
            if (SUCCEEDED(pNode->GetUINT32(MF_TOPONODE_WORKQUEUE_ID, &uiWorkQueue)))
                g_vWorkQueues.push_back(uiWorkQueue);
            NoteSinkNode(pNode);
            if (SUCCEEDED(
                    pNode->GetUnknown(MF_TOPONODE_SOURCE, IID_IMFMediaSource, reinterpret_cast<void**>(&m_pSource))))
            {
                m_pSource->Release();  // the graph's own lives longer
            }
            pNode->Release();
        }
        return S_OK;
    }
    STDMETHODIMP Start(const GUID*, const PROPVARIANT*) override
    {
        Note("Start");
        g_pEvents = &m_events;
        return g_fnStart(g_uiStarts++);
    }
    STDMETHODIMP Stop() override
    {
        Note("Stop");
        return S_OK;
    }
    STDMETHODIMP Shutdown() override
    {
        DWORD dwCharacteristics = 0;
        if (m_pSource != nullptr) g_vSourceStatuses.push_back(m_pSource->GetCharacteristics(&dwCharacteristics));
        Note("Shutdown");
        m_events.Shutdown();
        return S_OK;
    }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown*) override { return m_events.Begin(pCallback); }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent** ppEvent) override { return m_events.End(ppEvent); }

private:
    static void NoteSinkNode(IMFTopologyNode* pNode)
    {
        MF_TOPOLOGY_TYPE eType = MF_TOPOLOGY_MAX;
        EXPECT_EQ(pNode->GetNodeType(&eType), S_OK);
        if (eType != MF_TOPOLOGY_OUTPUT_NODE) return;
        SSinkNode node;
        node.m_hrStream = pNode->GetUINT32(MF_TOPONODE_STREAMID, &node.m_uiStream);
        node.m_hrNoShutdown = pNode->GetUINT32(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, &node.m_uiNoShutdown);
        IUnknown* pObject = nullptr;
        IMFActivate* pActivate = nullptr;
        EXPECT_EQ(pNode->GetObject(&pObject), S_OK);
        EXPECT_EQ(pObject->QueryInterface(IID_IMFActivate, reinterpret_cast<void**>(&pActivate)), S_OK);
        node.m_hrIgnoreClock = pActivate->GetUINT32(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, &node.m_uiIgnoreClock);
        pActivate->Release();
        pObject->Release();
        g_vSinkNodes.push_back(node);
    }

    std::atomic<ULONG> m_nRefCount{1};
    CScriptedEvents m_events;
    IMFMediaSource* m_pSource = nullptr;  // of the topology; not counted
};

class Opening : public testing::Test
{
protected:
    void SetUp() override
    {
        g_vCalls.clear();
        g_pEvents = nullptr;
        g_vSubtypes.clear();
        g_vWorkQueues.clear();
        g_uiSessions = 0;
        g_uiMostSessions = 1000;
        g_uiStarts = 0;
        g_fnStart = [](std::size_t) { return S_OK; };
        g_vSinkNodes.clear();
        g_vSourceStatuses.clear();
        g_fnFileTimes = [](std::size_t) { return QM_OK; };
        g_uiFileTimes = 0;
    }

    static std::filesystem::path CleanFile() { return MakeVideo("clean.mp4", TestPicture(100) + "-profile:v high"); }
    // Its times aren't in the movie's boxes.
    static std::filesystem::path FragmentedFile()
    {
        return MakeVideo("fragments.mp4",
                         TestPicture(60) + "-profile:v high -bf 0 -g 12 -movflags +frag_keyframe+empty_moov");
    }

    // The clean file with a timescale of zero. The walk fails with the times in ticks.
    static std::filesystem::path FileInTicks()
    {
        constexpr std::size_t TIMESCALE_AT = 16;  // after the type of the box
        std::string strBytes = test_support::ReadText(CleanFile());
        SetWordAt(strBytes, strBytes.find("mdhd") + TIMESCALE_AT, 0);
        return WriteBeside(CleanFile(), ".ticks.mp4", strBytes);
    }

    // The session plays samples of these durations in 100 ns, and ends.
    static HRESULT Play(std::initializer_list<LONGLONG> durations)
    {
        for (const LONGLONG llDuration : durations)
            EXPECT_EQ(g_pGrabber->OnProcessSample(MFMediaType_Video, 0, 0, llDuration, nullptr, 0), S_OK);
        g_pEvents->Add(MESessionEnded, S_OK);
        return S_OK;
    }
    static HRESULT Refuse()
    {
        g_pEvents->Add(MESessionTopologySet, E_FAIL);
        return S_OK;
    }

    class CFile : public CQmMP4InputFile
    {
    public:
        CFile(CQmImageFormatMP4* pFormat, const std::filesystem::path& path)
            : CQmMP4InputFile(pFormat, CQmStringW(path.wstring().c_str()), false, nullptr)
        {}
        QmStatus Open()
        {
            SQmImageAttributes attributes;
            return GetImageAttributes(&attributes);
        }
        using CQmMP4InputFile::m_Attributes;
        using CQmMP4InputFile::m_dJulianDay;
        using CQmMP4InputFile::m_vFrameTimesMs;
    };

    // No list, and no number of frames.
    static void ExpectNoTimes(CFile& file)
    {
        CQmByteArray data;
        EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
        EXPECT_EQ(data.GetSize(), 0U);
        EXPECT_EQ(file.m_Attributes.m_uiSequenceCount, 0U);
    }

    static bool Waits(const std::future<QmStatus>& result)
    {
        return result.wait_for(std::chrono::milliseconds(30)) == std::future_status::timeout;
    }

    CFormatReference m_format;
};

TEST_F(Opening, ACleanFileIsReadForItsBoxesOnlyAndNoSessionStarts)
{
    {
        CFile file(m_format.Get(), CleanFile());
        ASSERT_EQ(file.Open(), QM_OK);
        EXPECT_EQ(file.m_vFrameTimesMs, EvenTimes(100, 40));
        EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Shutdown"));  // of the session for counting
    }
    EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Shutdown", "Shutdown"));
}

TEST_F(Opening, CountingFailsAfter20SecondsOfSilence)
{
    {
        CFile file(m_format.Get(), FragmentedFile());
        auto open = std::async(std::launch::async, [&] { return file.Open(); });
        test_support::WaitForLimitedWait();
        MoveClock(19'999);
        EXPECT_TRUE(Waits(open));
        MoveClock(1);
        EXPECT_EQ(open.get(), QM_ERR_FAIL);
        EXPECT_EQ(file.Open(), QM_ERR_FAIL);  // at once
        EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Start", "Stop"));
    }
    EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Start", "Stop", "Shutdown"));
}

TEST_F(Opening, AnEventStartsTheLimitOfCountingAgain)
{
    CFile file(m_format.Get(), FragmentedFile());
    auto open = std::async(std::launch::async, [&] { return file.Open(); });
    test_support::WaitForLimitedWait();
    MoveClock(19'000);
    g_pEvents->Add(MESessionStarted, S_OK);
    while (!g_pEvents->AreTaken())
        Sleep(1);
    MoveClock(19'999);
    EXPECT_TRUE(Waits(open));
    MoveClock(1);
    EXPECT_EQ(open.get(), QM_ERR_FAIL);
}

// --- the formats that counting asks for ---

TEST_F(Opening, CountingAsksForOneFormatAfterTheOtherUntilTheSessionPlaysOne)
{
    g_fnStart = [](std::size_t uiStart) { return uiStart < 6 ? Refuse() : Play({400'000, 400'000, 200'000}); };
    CFile file(m_format.Get(), FragmentedFile());
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.m_vFrameTimesMs, (std::vector<std::uint64_t>{0, 40, 80}));
    EXPECT_THAT(g_vSubtypes, ElementsAre(MFVideoFormat_H264, MFVideoFormat_MP4S, MFVideoFormat_M4S2, MFVideoFormat_MP4V,
                                         MFVideoFormat_WVC1, MFVideoFormat_YUY2, MFVideoFormat_RGB32,
                                         MFVideoFormat_YUY2));  // the last is for the frames
    EXPECT_EQ(g_uiStarts, 7U);
}

TEST_F(Opening, ARefusedFormatsGraphIsShutDownBeforeTheNextIsTried)
{
    g_fnStart = [](std::size_t uiStart) { return uiStart < 1 ? Refuse() : Play({400'000}); };
    CFile file(m_format.Get(), FragmentedFile());
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Start", "Shutdown", "SetTopology", "Start", "Shutdown"));
}

TEST_F(Opening, AFileWhoseEveryFormatIsRefusedFails)
{
    g_fnStart = [](std::size_t) { return Refuse(); };
    CFile file(m_format.Get(), FragmentedFile());
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_EQ(g_uiStarts, 7U);
    EXPECT_EQ(g_vSubtypes.size(), 7U);
    ExpectNoTimes(file);
}

// The file becomes whole while it is opened. The walk reads it again for every format.
TEST_F(Opening, AListThatIsFoundLaterHasNothingOfTheOnesBefore)
{
    const auto path = FileInTicks();
    g_fnStart = [&](std::size_t) {
        std::filesystem::copy_file(CleanFile(), path, std::filesystem::copy_options::overwrite_existing);
        return Refuse();
    };
    CFile file(m_format.Get(), path);
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.m_vFrameTimesMs, EvenTimes(100, 40));
    EXPECT_EQ(g_uiStarts, 1U);
}

// --- what a failed open leaves ---

TEST_F(Opening, AFailedCountingLeavesNoTimes)
{
    g_fnStart = [](std::size_t) { return E_FAIL; };
    CFile file(m_format.Get(), FileInTicks());
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_EQ(g_uiStarts, 1U);
    ExpectNoTimes(file);
}

TEST_F(Opening, AFailedGraphForFramesLeavesNoTimes)
{
    g_uiMostSessions = 1;
    CFile file(m_format.Get(), CleanFile());
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_EQ(g_uiSessions, 2U);
    ExpectNoTimes(file);
}

// --- the graphs ---

TEST_F(Opening, TheSinkIsOfStreamZeroIsShutDownWithItsNodeAndIgnoresTheClock)
{
    g_fnStart = [](std::size_t) { return Play({400'000}); };
    CFile file(m_format.Get(), FragmentedFile());
    ASSERT_EQ(file.Open(), QM_OK);
    std::vector<unsigned char> vPixels(std::size_t{file.m_Attributes.m_uiWidthBytes} * file.m_Attributes.m_uiHeight);
    // The session for frames gets its topology with the first request. It fails to start, so no frame comes.
    g_fnStart = [](std::size_t) { return E_FAIL; };
    EXPECT_EQ(file.ReadFrame(0, vPixels.data(), nullptr, nullptr), QM_ERR_FAIL);
    ASSERT_EQ(g_vSinkNodes.size(), 2U);
    for (const SSinkNode& node : g_vSinkNodes)
    {
        EXPECT_EQ(node.m_hrStream, S_OK);
        EXPECT_EQ(node.m_uiStream, 0U);
        EXPECT_EQ(node.m_hrNoShutdown, S_OK);
        EXPECT_EQ(node.m_uiNoShutdown, 0U);
        EXPECT_EQ(node.m_hrIgnoreClock, S_OK);
        EXPECT_EQ(node.m_uiIgnoreClock, 1U);
    }
}

TEST_F(Opening, TheSourceIsShutDownBeforeItsSession)
{
    {
        CFile file(m_format.Get(), CleanFile());
        ASSERT_EQ(file.Open(), QM_OK);
        std::vector<unsigned char> vPixels(std::size_t{file.m_Attributes.m_uiWidthBytes} *
                                           file.m_Attributes.m_uiHeight);
        g_fnStart = [](std::size_t) { return E_FAIL; };
        EXPECT_EQ(file.ReadFrame(0, vPixels.data(), nullptr, nullptr), QM_ERR_FAIL);
    }
    EXPECT_THAT(g_vSourceStatuses, ElementsAre(MF_E_SHUTDOWN, MF_E_SHUTDOWN));
}

// --- the date ---

TEST_F(Opening, ADateThatCouldNotBeFoundIsAskedForAgainWithTheNextFrame)
{
    CFile file(m_format.Get(), CleanFile());
    SQmPictureMetadata metadata;
    g_fnFileTimes = [](std::size_t uiCall) { return uiCall == 0 ? QM_ERR_FAIL : QM_OK; };
    EXPECT_EQ(file.GetPictureMetadata(0, metadata, 0), QM_OK);
    EXPECT_EQ(file.m_dJulianDay, -1.0);
    EXPECT_EQ(file.GetPictureMetadata(1, metadata, 0), QM_OK);
    EXPECT_EQ(file.m_dJulianDay, 2458849.5);  // the first of January 2020
    EXPECT_EQ(file.GetPictureMetadata(2, metadata, 0), QM_OK);
    EXPECT_EQ(g_uiFileTimes, 2U);
}

// --- work queues ---

TEST_F(Opening, EveryFormOfAnInputFileCountsAndTheNumberIsTheWorkQueueOfTheSource)
{
    const std::uint32_t uiBefore = g_uiInputFileCount;
    CQmByteArray data;
    const CQmMP4InputFile array(m_format.Get(), &data);
    EXPECT_EQ(g_uiInputFileCount, uiBefore + 1);
    const CQmMP4InputFile memory(m_format.Get(), nullptr, 0);
    EXPECT_EQ(g_uiInputFileCount, uiBefore + 2);
    CFile first(m_format.Get(), CleanFile());
    ASSERT_EQ(first.Open(), QM_OK);
    CFile second(m_format.Get(), CleanFile());
    ASSERT_EQ(second.Open(), QM_OK);
    EXPECT_THAT(g_vWorkQueues, ElementsAre(uiBefore + 3, uiBefore + 4));
}

}  // namespace

// --- in place of the system's ---

STDAPI MFCreateMediaSession(IMFAttributes*, IMFMediaSession** ppMediaSession)
{
    if (g_uiSessions++ >= g_uiMostSessions) return E_FAIL;
    *ppMediaSession = new CNotedSession;
    return S_OK;
}

STDAPI MFCreateSampleGrabberSinkActivate(IMFMediaType* pMediaType, IMFSampleGrabberSinkCallback* pCallback,
                                         IMFActivate** ppActivate)
{
    GUID guidSubtype = GUID_NULL;
    pMediaType->GetGUID(MF_MT_SUBTYPE, &guidSubtype);
    g_vSubtypes.push_back(guidSubtype);
    g_pGrabber = pCallback;
    static const auto pfnSystem = reinterpret_cast<decltype(&MFCreateSampleGrabberSinkActivate)>(
        dlsym(RTLD_NEXT, "MFCreateSampleGrabberSinkActivate"));
    return pfnSystem(pMediaType, pCallback, ppActivate);
}

QmStatus QM_GetFileTimes(QmFileHandle, std::tm*, std::tm*, std::tm* pWritten)
{
    const QmStatus nStatus = g_fnFileTimes(g_uiFileTimes++);
    if (nStatus != QM_OK) return nStatus;
    *pWritten = {};
    pWritten->tm_mday = 1;
    pWritten->tm_year = 120;
    return QM_OK;
}
