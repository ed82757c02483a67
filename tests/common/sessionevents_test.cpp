// Events taken from a scripted session, with a clock that the test moves.
#include <future>

#include <gtest/gtest.h>

#include "common/sessionevents.h"
#include "support/idle_async_result.h"
#include "support/idle_session.h"
#include "support/moved_clock.h"
#include "support/scripted_events.h"

namespace
{

class CEventSession : public CIdleSession
{
public:
    virtual ~CEventSession() = default;
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown*) override { return m_events.Begin(pCallback); }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent** ppEvent) override { return m_events.End(ppEvent); }

    CScriptedEvents m_events;
};

class SessionEvents : public testing::Test
{
protected:
    HRESULT Take(DWORD dwLimit, HANDLE hWake = nullptr) { return m_taker.Take(dwLimit, hWake, &m_eType, &m_hrStatus); }

    std::future<HRESULT> TakeOnAThread(DWORD dwLimit, HANDLE hWake = nullptr)
    {
        return std::async(std::launch::async, [this, dwLimit, hWake] { return Take(dwLimit, hWake); });
    }

    static bool Waits(const std::future<HRESULT>& result)
    {
        return result.wait_for(std::chrono::milliseconds(20)) == std::future_status::timeout;
    }

    CEventSession m_session;
    CSessionEvents m_taker{&m_session};
    MediaEventType m_eType = MEUnknown;
    HRESULT m_hrStatus = S_OK;
};

TEST_F(SessionEvents, AreTakenInTheirOrderWithTypeAndStatus)
{
    m_session.m_events.Add(MESessionStarted, S_OK);
    m_session.m_events.Add(MESessionPaused, E_FAIL);
    EXPECT_EQ(Take(INFINITE), S_OK);
    EXPECT_EQ(m_eType, MediaEventType{MESessionStarted});
    EXPECT_EQ(m_hrStatus, S_OK);
    EXPECT_EQ(Take(INFINITE), S_OK);
    EXPECT_EQ(m_eType, MediaEventType{MESessionPaused});
    EXPECT_EQ(m_hrStatus, E_FAIL);
}

TEST_F(SessionEvents, AWaitEndsWithTheEvent)
{
    std::future<HRESULT> taken = TakeOnAThread(INFINITE);
    EXPECT_TRUE(Waits(taken));
    m_session.m_events.Add(MESessionEnded, S_OK);
    EXPECT_EQ(taken.get(), S_OK);
    EXPECT_EQ(m_eType, MediaEventType{MESessionEnded});
}

TEST_F(SessionEvents, AWaitEndsAtItsLimitAndTheNextOneTakesTheEvent)
{
    std::future<HRESULT> taken = TakeOnAThread(1000);
    test_support::WaitForLimitedWait();
    test_support::MoveClock(999);
    EXPECT_TRUE(Waits(taken));
    test_support::MoveClock(1);
    EXPECT_EQ(taken.get(), S_FALSE);
    m_session.m_events.Add(MESessionEnded, S_OK);
    EXPECT_EQ(Take(0), S_OK);
    EXPECT_EQ(m_eType, MediaEventType{MESessionEnded});
}

TEST_F(SessionEvents, AWaitCanBeWoken)
{
    const HANDLE hWake = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::future<HRESULT> taken = TakeOnAThread(INFINITE, hWake);
    EXPECT_TRUE(Waits(taken));
    SetEvent(hWake);
    EXPECT_EQ(taken.get(), S_FALSE);
    CloseHandle(hWake);
}

TEST_F(SessionEvents, AShutdownEndsTheWaitAndEveryLaterOne)
{
    std::future<HRESULT> taken = TakeOnAThread(INFINITE);
    EXPECT_TRUE(Waits(taken));
    m_session.m_events.Shutdown();
    EXPECT_EQ(taken.get(), MF_E_SHUTDOWN);
    EXPECT_EQ(Take(INFINITE), MF_E_SHUTDOWN);
}

// The session keeps the callback and invokes it when the taker is gone. The event is left for the next one.
TEST_F(SessionEvents, AnEventAfterTheTakersEndIsTheNextOnes)
{
    {
        CSessionEvents taker(&m_session);
        EXPECT_EQ(taker.Take(0, nullptr, &m_eType, &m_hrStatus), S_FALSE);
    }
    m_session.m_events.Add(MESessionEnded, S_OK);
    EXPECT_EQ(Take(0), S_OK);
    EXPECT_EQ(m_eType, MediaEventType{MESessionEnded});
}

// --- results that hold their callback, as a result may ---

// A result with a reference to its callback.
class CHoldingResult : public CIdleAsyncResult
{
public:
    explicit CHoldingResult(IMFAsyncCallback* pCallback) : m_pCallback(pCallback)
    {
        m_pCallback->AddRef();
        ++s_nLiving;
    }
    ~CHoldingResult() override
    {
        --s_nLiving;
        m_pCallback->Release();
    }

    static inline int s_nLiving = 0;

private:
    IMFAsyncCallback* m_pCallback;
};

// Keeps the callback until it is invoked, as a session does.
class CKeepingSession : public CEventSession
{
public:
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown*) override
    {
        m_pResult = new CHoldingResult(pCallback);
        m_pCallback = pCallback;
        return S_OK;
    }
    void Invoke()
    {
        m_pCallback->Invoke(m_pResult);
        m_pResult->Release();
    }

private:
    CHoldingResult* m_pResult = nullptr;
    IMFAsyncCallback* m_pCallback = nullptr;
};

TEST_F(SessionEvents, AResultThatComesAfterTheTakersEndIsNotKept)
{
    CKeepingSession session;
    {
        CSessionEvents taker(&session);
        EXPECT_EQ(taker.Take(0, nullptr, &m_eType, &m_hrStatus), S_FALSE);
    }
    EXPECT_EQ(CHoldingResult::s_nLiving, 1);
    session.Invoke();
    EXPECT_EQ(CHoldingResult::s_nLiving, 0);
}

TEST_F(SessionEvents, AResultThatWasNotTakenGoesWithTheTaker)
{
    CKeepingSession session;
    {
        CSessionEvents taker(&session);
        EXPECT_EQ(taker.Take(0, nullptr, &m_eType, &m_hrStatus), S_FALSE);
        session.Invoke();
        EXPECT_EQ(CHoldingResult::s_nLiving, 1);
    }
    EXPECT_EQ(CHoldingResult::s_nLiving, 0);
}

}  // namespace
