#include "ring_client.h"

namespace
{

class Event
{
public:
    Event() : m_hEvent(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~Event() { CloseHandle(m_hEvent); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    HANDLE Handle() const { return m_hEvent; }
    bool IsSet() const { return WaitForSingleObject(m_hEvent, 0) == WAIT_OBJECT_0; }
    bool Comes() const { return WaitForSingleObject(m_hEvent, 20000) == WAIT_OBJECT_0; }

private:
    HANDLE m_hEvent;
};

NVENCSTATUS Register(const OpenSession& session, HANDLE hEvent)
{
    auto record = MakeRecord<NV_ENC_EVENT_PARAMS>(NV_ENC_EVENT_PARAMS_VER);
    record.completionEvent = hEvent;
    return Runtime::Get().api.nvEncRegisterAsyncEvent(session.Handle(), &record);
}

NVENCSTATUS Unregister(const OpenSession& session, HANDLE hEvent)
{
    auto record = MakeRecord<NV_ENC_EVENT_PARAMS>(NV_ENC_EVENT_PARAMS_VER);
    record.completionEvent = hEvent;
    return Runtime::Get().api.nvEncUnregisterAsyncEvent(session.Handle(), &record);
}

SessionSetup AsyncSetup(std::int32_t nFrameIntervalP = 1)
{
    SessionSetup setup;
    setup.params.enableEncodeAsync = 1;
    setup.config.frameIntervalP = nFrameIntervalP;
    return setup;
}

}  // namespace

TEST_F(NvencRuntime, EventsAreRegisteredOnceAndUnregisteredOnce)
{
    const Event event;
    const OpenSession session;
    EXPECT_EQ(Register(session, event.Handle()), NV_ENC_SUCCESS);
    EXPECT_EQ(Register(session, event.Handle()), NV_ENC_ERR_INVALID_EVENT);
    EXPECT_EQ(Unregister(session, event.Handle()), NV_ENC_SUCCESS);
    EXPECT_EQ(Unregister(session, event.Handle()), NV_ENC_ERR_EVENT_NOT_REGISTERD);
    EXPECT_EQ(Register(session, nullptr), NV_ENC_ERR_INVALID_EVENT);
    EXPECT_EQ(Unregister(session, nullptr), NV_ENC_ERR_INVALID_EVENT);
}

TEST_F(NvencRuntime, AnAsynchronousPictureNeedsARegisteredEvent)
{
    const Event event;
    SmallSession session(AsyncSetup());
    NV_ENC_PIC_PARAMS picture = session.Picture();
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_INVALID_EVENT);
    picture.completionEvent = event.Handle();
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_EVENT_NOT_REGISTERD);
    EXPECT_EQ(session.EndStream(event.Handle()), NV_ENC_ERR_EVENT_NOT_REGISTERD);
    EXPECT_EQ(Register(session, event.Handle()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Encode(picture), NV_ENC_SUCCESS);
    EXPECT_TRUE(event.Comes());
    EXPECT_EQ(session.Lock(session.pBuffer, nullptr, true), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, TheEventComesWithThePacketAndNotBefore)
{
    const Event event;
    SmallSession session(AsyncSetup());
    ASSERT_EQ(Register(session, event.Handle()), NV_ENC_SUCCESS);
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.completionEvent = event.Handle();
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(picture), NV_ENC_SUCCESS);
    EXPECT_FALSE(event.IsSet());
    m_script.HoldEncoders(0);
    // With nothing sent after it: a caller may wait before it sends the next picture.
    EXPECT_TRUE(event.Comes());
    // The packet is there, so that what it came from is free.
    EXPECT_EQ(m_api.nvEncUnmapInputResource(session.Handle(), session.pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer, nullptr, true), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_FALSE(event.IsSet());
}

TEST_F(NvencRuntime, WithoutAsynchronousEncodingNoEventIsSet)
{
    const Event event;
    SmallSession session;
    ASSERT_EQ(Register(session, event.Handle()), NV_ENC_SUCCESS);
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.completionEvent = event.Handle();
    ASSERT_EQ(session.Encode(picture), NV_ENC_SUCCESS);
    ASSERT_EQ(session.EndStream(event.Handle()), NV_ENC_SUCCESS);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_FALSE(event.IsSet());
}

TEST_F(NvencRuntime, EndOfStreamSetsItsEventAfterThoseOfThePackets)
{
    const Event first;
    const Event last;
    SmallSession session(AsyncSetup(2));
    ASSERT_EQ(Register(session, first.Handle()), NV_ENC_SUCCESS);
    ASSERT_EQ(Register(session, last.Handle()), NV_ENC_SUCCESS);
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.completionEvent = first.Handle();
    ASSERT_EQ(session.Encode(picture), NV_ENC_ERR_NEED_MORE_INPUT);
    EXPECT_FALSE(first.IsSet());
    ASSERT_EQ(session.EndStream(last.Handle()), NV_ENC_SUCCESS);
    EXPECT_TRUE(last.Comes());
    EXPECT_TRUE(first.IsSet());
    EXPECT_EQ(session.Lock(session.pBuffer, nullptr, true), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, AnAsynchronousEndOfStreamNeedsARegisteredEvent)
{
    const Event event;
    const SmallSession session(AsyncSetup());
    EXPECT_EQ(session.EndStream(), NV_ENC_ERR_INVALID_EVENT);
    EXPECT_EQ(session.EndStream(event.Handle()), NV_ENC_ERR_EVENT_NOT_REGISTERD);
    EXPECT_EQ(Register(session, event.Handle()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.EndStream(event.Handle()), NV_ENC_SUCCESS);
    EXPECT_TRUE(event.Comes());
}

TEST_F(NvencRuntime, AnEventThatIsUnregisteredInFlightIsReportedAndNotSet)
{
    const Event event;
    SmallSession session(AsyncSetup());
    ASSERT_EQ(Register(session, event.Handle()), NV_ENC_SUCCESS);
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.completionEvent = event.Handle();
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(picture), NV_ENC_SUCCESS);
    EXPECT_EQ(Unregister(session, event.Handle()), NV_ENC_SUCCESS);
    EXPECT_EQ(m_script.GetBreaches().uiEventsUnregisteredInFlight, 1u);
    m_script.HoldEncoders(0);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_FALSE(event.IsSet());
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, ARingThatWaitsOnEventsReadsWhatOneReadsThatLocks)
{
    for (const std::int32_t nFrameIntervalP : {1, 3})
    {
        const SessionSetup async = AsyncSetup(nFrameIntervalP);
        SessionSetup sync(async);
        sync.params.enableEncodeAsync = 0;
        EXPECT_EQ(Join(EncodeNatural(async, 20)), Join(EncodeNatural(sync, 20)));
    }
}
