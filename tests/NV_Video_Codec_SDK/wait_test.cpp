// Waits for a completion event, with events whose end the test decides: a program of its own, since it takes the place
// of the system's events.
#include "nvenc_fixture.h"

#include "NV_Video_Codec_SDK/NvEncoder/CompletionEvent.h"

using testing::ElementsAre;

namespace
{
struct SAwaited
{
    void* m_hEvent;
    std::uint32_t m_uiMilliseconds;
};

// The events are numbers, from 1 on.
std::vector<std::unique_ptr<int>> g_vEvents;
int g_nClosed = 0;
std::vector<SAwaited> g_vAwaited;
std::uint32_t g_uiResult = WAIT_OBJECT_0;

class WaitTest : public NvencTest
{
protected:
    void SetUp() override
    {
        NvencTest::SetUp();
        g_vEvents.clear();
        g_vAwaited.clear();
        g_nClosed = 0;
        g_uiResult = WAIT_OBJECT_0;
        m_runtime.m_funcSignal = nullptr;
        m_runtime.m_nAsyncSupport = 1;
    }

    Packets m_vPacket;
};
}  // namespace

void* CreateCompletionEvent()
{
    g_vEvents.push_back(std::make_unique<int>());
    return g_vEvents.back().get();
}

void CloseCompletionEvent(void*)
{
    ++g_nClosed;
}

std::uint32_t AwaitCompletionEvent(void* hEvent, std::uint32_t uiMilliseconds)
{
    g_vAwaited.push_back({hEvent, uiMilliseconds});
    return g_uiResult;
}

TEST_F(WaitTest, EachPacketWaitsTwentySecondsForTheEventOfItsSlot)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 6; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    ASSERT_EQ(g_vAwaited.size(), 3u);
    pEncoder->EndEncode(m_vPacket);
    ASSERT_EQ(g_vAwaited.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i)
    {
        EXPECT_EQ(g_vAwaited[i].m_hEvent, g_vEvents[i % 4].get()) << i;
        EXPECT_EQ(g_vAwaited[i].m_uiMilliseconds, 20000u) << i;
    }
}

TEST_F(WaitTest, AWaitThatRunsOutIsNotReportedAndThePacketIsRead)
{
    g_uiResult = WAIT_TIMEOUT;
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 4; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(0)));
    EXPECT_EQ(g_vAwaited.size(), 1u);
}

TEST_F(WaitTest, AFailedWaitIsReportedAndNothingIsLocked)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 3; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    g_uiResult = WAIT_FAILED;
    ExpectFailure([&] { pEncoder->EncodeFrame(m_vPacket); },
                  "NvEncoder::WaitForCompletionEvent : Failed to encode frame", 20);
    EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 0);
    EXPECT_EQ(pEncoder->m_iToSend, 4);
    EXPECT_EQ(pEncoder->m_iGot, 0);

    // The packet keeps its slot, so the ring has none for another frame.
    ExpectFailure([&] { pEncoder->EncodeFrame(m_vPacket); },
                  "NvEncoder::EncodeFrame : All encoder buffers are in flight", 18);
    // Its event may still come, and is waited for again.
    g_uiResult = WAIT_OBJECT_0;
    pEncoder->EndEncode(m_vPacket);
    EXPECT_EQ(m_vPacket.size(), 4u);
    EXPECT_EQ(g_vAwaited.size(), 5u);
}

// An event is reset by the wait that it ends: waiting for it a second time would take the whole twenty seconds.
TEST_F(WaitTest, APacketWhoseEventHasComeIsReadAgainWithoutWaiting)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 3; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    m_runtime.Fail("nvEncLockBitstream", 2, NV_ENC_ERR_LOCK_BUSY);
    EXPECT_THROW(pEncoder->EndEncode(m_vPacket), NVENCException);
    EXPECT_EQ(g_vAwaited.size(), 2u);
    pEncoder->EndEncode(m_vPacket);
    EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(1), FakeRuntime::PacketOf(2)));
    ASSERT_EQ(g_vAwaited.size(), 3u);
    EXPECT_EQ(g_vAwaited[2].m_hEvent, g_vEvents[2].get());
}

TEST_F(WaitTest, WithoutEventsThereIsNoWait)
{
    m_runtime.m_nAsyncSupport = 0;
    g_uiResult = WAIT_FAILED;
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 4; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(0)));
    EXPECT_TRUE(g_vAwaited.empty());
}

TEST_F(WaitTest, EachSlotsEventIsRegisteredAndClosedOnce)
{
    const auto pEncoder = MakeEncoder();
    EXPECT_EQ(g_vEvents.size(), 4u);
    EXPECT_EQ(m_runtime.m_setEvents.size(), 4u);
    EXPECT_EQ(g_nClosed, 0);
    pEncoder->DestroyEncoder();
    EXPECT_EQ(g_nClosed, 4);
    EXPECT_TRUE(m_runtime.m_setEvents.empty());
}
