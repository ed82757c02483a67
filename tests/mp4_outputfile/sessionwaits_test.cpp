// The waits of a thread that writes, as they are outside of tests.
#include "mp4_outputfile/sessionwaits.h"

#include <thread>

#include <gtest/gtest.h>

namespace
{
class SessionWaitsTest : public testing::Test
{
protected:
    ~SessionWaitsTest() override
    {
        CloseHandle(m_hTaken);
        CloseHandle(m_hThread);
    }

    HANDLE m_hTaken = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE m_hThread = CreateEventW(nullptr, TRUE, FALSE, nullptr);  // in the place of a thread that ends
};
}  // namespace

TEST_F(SessionWaitsTest, EitherOfTwoEndsTheWaitForAFrameAndTheFrameComesFirst)
{
    EXPECT_EQ(AwaitFrameTaken(m_hTaken, m_hThread, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(m_hThread);
    EXPECT_EQ(AwaitFrameTaken(m_hTaken, m_hThread, INFINITE), WAIT_OBJECT_0 + 1);
    SetEvent(m_hTaken);
    EXPECT_EQ(AwaitFrameTaken(m_hTaken, m_hThread, INFINITE), WAIT_OBJECT_0);
    ResetEvent(m_hThread);
    EXPECT_EQ(AwaitFrameTaken(m_hTaken, m_hThread, INFINITE), WAIT_OBJECT_0);
}

TEST_F(SessionWaitsTest, TheWaitForAFrameLastsAsLongAsItsLimit)
{
    std::thread session([this] {
        Sleep(5);
        SetEvent(m_hTaken);
    });
    EXPECT_EQ(AwaitFrameTaken(m_hTaken, m_hThread, 60000), WAIT_OBJECT_0);
    session.join();
}

TEST_F(SessionWaitsTest, TheWaitForTheThreadHasALimit)
{
    EXPECT_EQ(AwaitThreadEnd(m_hThread, 1), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(m_hThread);
    EXPECT_EQ(AwaitThreadEnd(m_hThread, INFINITE), WAIT_OBJECT_0);
}

TEST_F(SessionWaitsTest, ARestTakesItsTime)
{
    const auto begin = GetTickCount64();
    RestBeforeRestart(50);
    EXPECT_GE(GetTickCount64() - begin, 30U);  // the clock's own steps may be 16 ms
}
