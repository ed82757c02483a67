// What opening a file asks of the session, which is a scripted one here: this program has its own in place of the
// system's.
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>

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

    STDMETHODIMP SetTopology(DWORD, IMFTopology*) override
    {
        Note("SetTopology");
        return S_OK;
    }
    STDMETHODIMP Start(const GUID*, const PROPVARIANT*) override
    {
        Note("Start");
        g_pEvents = &m_events;
        return S_OK;
    }
    STDMETHODIMP Shutdown() override
    {
        Note("Shutdown");
        m_events.Shutdown();
        return S_OK;
    }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown*) override { return m_events.Begin(pCallback); }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent** ppEvent) override { return m_events.End(ppEvent); }

private:
    std::atomic<ULONG> m_nRefCount{1};
    CScriptedEvents m_events;
};

class Opening : public testing::Test
{
protected:
    void SetUp() override
    {
        g_vCalls.clear();
        g_pEvents = nullptr;
    }

    static std::filesystem::path CleanFile() { return MakeVideo("clean.mp4", TestPicture(100) + "-profile:v high"); }
    // Its times aren't in the movie's boxes.
    static std::filesystem::path FragmentedFile()
    {
        return MakeVideo("fragments.mp4",
                         TestPicture(60) + "-profile:v high -bf 0 -g 12 -movflags +frag_keyframe+empty_moov");
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
        using CQmMP4InputFile::m_vFrameTimesMs;
    };

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
        EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Start"));
    }
    EXPECT_THAT(g_vCalls, ElementsAre("SetTopology", "Start", "Shutdown"));
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

}  // namespace

// --- in place of the system's ---

STDAPI MFCreateMediaSession(IMFAttributes*, IMFMediaSession** ppMediaSession)
{
    *ppMediaSession = new CNotedSession;
    return S_OK;
}
