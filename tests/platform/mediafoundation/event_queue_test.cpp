// The queue from which a source's callers take its events.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <mutex>

#include "event_callback.h"
#include "mfapi.h"
#include "mferror.h"
#include "support/short_memory.h"

namespace mftest
{
namespace
{

constexpr GUID EXTENDED_TYPE = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

MediaEventType TypeOf(IMFMediaEvent* pEvent)
{
    MediaEventType type = MEUnknown;
    EXPECT_EQ(pEvent->GetType(&type), S_OK);
    return type;
}

class MediaEventQueue : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(MFCreateEventQueue(m_queue.Put()), S_OK); }
    void TearDown() override { EXPECT_EQ(m_queue->Shutdown(), S_OK); }

    ComPtr<IMFMediaEvent> Take()
    {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(m_queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.Put()), S_OK);
        return event;
    }
    bool IsEmpty()
    {
        ComPtr<IMFMediaEvent> event;
        return m_queue->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.Put()) == MF_E_NO_EVENTS_AVAILABLE;
    }

    ComPtr<IMFMediaEventQueue> m_queue;
};

TEST_F(MediaEventQueue, GivesEventsInTheirOrder)
{
    ComPtr<IMFMediaEvent> own;
    ASSERT_EQ(MFCreateMediaEvent(MESourceStarted, EXTENDED_TYPE, S_FALSE, nullptr, own.Put()), S_OK);
    PROPVARIANT varTime;
    PropVariantInit(&varTime);
    varTime.vt = VT_I8;
    varTime.hVal.QuadPart = 42;
    EXPECT_EQ(m_queue->QueueEvent(own.Get()), S_OK);
    EXPECT_EQ(m_queue->QueueEventParamVar(MEStreamStarted, GUID_NULL, S_OK, &varTime), S_OK);
    EXPECT_EQ(m_queue->QueueEventParamUnk(MENewStream, GUID_NULL, S_OK, own.Get()), S_OK);

    EXPECT_EQ(Take().Get(), own.Get());

    const ComPtr<IMFMediaEvent> second = Take();
    EXPECT_EQ(TypeOf(second.Get()), MEStreamStarted);
    PROPVARIANT varValue;
    EXPECT_EQ(second->GetValue(&varValue), S_OK);
    EXPECT_EQ(varValue.vt, VT_I8);
    EXPECT_EQ(varValue.hVal.QuadPart, 42);

    const ComPtr<IMFMediaEvent> third = Take();
    EXPECT_EQ(TypeOf(third.Get()), MENewStream);
    EXPECT_EQ(third->GetValue(&varValue), S_OK);
    EXPECT_EQ(varValue.vt, VT_UNKNOWN);
    EXPECT_EQ(varValue.punkVal, own.Get());
    EXPECT_EQ(PropVariantClear(&varValue), S_OK);
    EXPECT_TRUE(IsEmpty());
}

TEST_F(MediaEventQueue, AnEventHasWhatItWasMadeOf)
{
    PROPVARIANT varObject;
    PropVariantInit(&varObject);
    varObject.vt = VT_UNKNOWN;
    varObject.punkVal = m_queue.Get();
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateMediaEvent(MEMediaSample, EXTENDED_TYPE, E_FAIL, &varObject, event.Put()), S_OK);
    GUID type = GUID_NULL;
    HRESULT hrStatus = S_OK;
    PROPVARIANT varValue;
    EXPECT_EQ(TypeOf(event.Get()), MEMediaSample);
    EXPECT_EQ(event->GetExtendedType(&type), S_OK);
    EXPECT_TRUE(type == EXTENDED_TYPE);
    EXPECT_EQ(event->GetStatus(&hrStatus), S_OK);
    EXPECT_EQ(hrStatus, E_FAIL);
    EXPECT_EQ(event->GetValue(&varValue), S_OK);
    EXPECT_EQ(varValue.punkVal, m_queue.Get());
    EXPECT_EQ(PropVariantClear(&varValue), S_OK);
    EXPECT_EQ(event->SetUINT64(MF_EVENT_SOURCE_ACTUAL_START, 7), S_OK);
    UINT64 ullStart = 0;
    EXPECT_EQ(event->GetUINT64(MF_EVENT_SOURCE_ACTUAL_START, &ullStart), S_OK);
    EXPECT_EQ(ullStart, 7U);
}

TEST_F(MediaEventQueue, GetEventWaitsForAnEvent)
{
    auto taken = std::async(std::launch::async, [this] {
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(m_queue->GetEvent(0, event.Put()), S_OK);
        return TypeOf(event.Get());
    });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_EQ(m_queue->QueueEventParamVar(MESourceStopped, GUID_NULL, S_OK, nullptr), S_OK);
    EXPECT_EQ(taken.get(), MESourceStopped);
}

TEST_F(MediaEventQueue, ShutdownEndsAWaitAndEveryLaterCall)
{
    const auto take = [this] {
        ComPtr<IMFMediaEvent> event;
        return m_queue->GetEvent(0, event.Put());
    };
    auto taken = std::async(std::launch::async, take);
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_EQ(m_queue->Shutdown(), S_OK);
    EXPECT_EQ(taken.get(), MF_E_SHUTDOWN);
    EXPECT_EQ(take(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_queue->QueueEventParamVar(MESourceStopped, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_queue->QueueEventParamUnk(MENewStream, GUID_NULL, S_OK, nullptr), MF_E_SHUTDOWN);
    const auto callback = ComPtr<EventCallback>::Attach(new EventCallback());
    EXPECT_EQ(m_queue->BeginGetEvent(callback.Get(), nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_queue->Shutdown(), S_OK);
}

TEST_F(MediaEventQueue, ShutdownDropsWhatWasNotTaken)
{
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(MFCreateMediaEvent(MESourceStarted, GUID_NULL, S_OK, nullptr, event.Put()), S_OK);
    ASSERT_EQ(m_queue->QueueEvent(event.Get()), S_OK);
    EXPECT_EQ(m_queue->Shutdown(), S_OK);
    IMFMediaEvent* const pEvent = event.Detach();
    EXPECT_EQ(pEvent->Release(), 0U);
}

TEST_F(MediaEventQueue, InvokesACallbackThatTakesTheEvent)
{
    const auto callback = ComPtr<EventCallback>::Attach(new EventCallback());
    auto invoked = callback->m_invoked.get_future();
    ASSERT_EQ(m_queue->BeginGetEvent(callback.Get(), m_queue.Get()), S_OK);
    ASSERT_EQ(m_queue->QueueEventParamVar(MESourcePaused, GUID_NULL, S_OK, nullptr), S_OK);
    const EventCallback::Invocation invocation = invoked.get();
    EXPECT_NE(invocation.m_thread, std::this_thread::get_id());
    EXPECT_EQ(invocation.m_result->GetStateNoAddRef(), m_queue.Get());
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(m_queue->EndGetEvent(invocation.m_result.Get(), event.Put()), S_OK);
    EXPECT_EQ(TypeOf(event.Get()), MESourcePaused);
}

// A generator shuts its queue down with its own lock held. The callback calls the generator, which takes that lock.
TEST_F(MediaEventQueue, ShutdownDoesNotWaitForACallback)
{
    class Locking final : public platform::ComObject<platform::Implements<IMFAsyncCallback>>
    {
    public:
        explicit Locking(std::mutex& mutex) : m_mutex(mutex) {}
        HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override
        {
            m_entered.set_value();
            {
                const std::lock_guard lock(m_mutex);
            }
            m_done.set_value();  // the mutex may go from here on
            return S_OK;
        }
        std::mutex& m_mutex;
        std::promise<void> m_entered;
        std::promise<void> m_done;
    };
    std::mutex generator;
    const auto callback = ComPtr<Locking>::Attach(new Locking(generator));
    auto done = callback->m_done.get_future();
    ASSERT_EQ(m_queue->BeginGetEvent(callback.Get(), nullptr), S_OK);
    {
        const std::lock_guard lock(generator);
        EXPECT_EQ(m_queue->Shutdown(), S_OK);
        callback->m_entered.get_future().get();
        EXPECT_EQ(done.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    }
    done.get();
}

TEST_F(MediaEventQueue, ReleasedWithoutAShutdownItInvokesACallbackThatWaits)
{
    ComPtr<IMFMediaEventQueue> queue;
    ASSERT_EQ(MFCreateEventQueue(queue.Put()), S_OK);
    const auto callback = ComPtr<EventCallback>::Attach(new EventCallback());
    auto invoked = callback->m_invoked.get_future();
    ASSERT_EQ(queue->BeginGetEvent(callback.Get(), nullptr), S_OK);
    queue = nullptr;
    EXPECT_TRUE(invoked.get().m_result);
}

TEST_F(MediaEventQueue, RefusesNullPointers)
{
    EXPECT_EQ(MFCreateEventQueue(nullptr), E_POINTER);
    EXPECT_EQ(MFCreateMediaEvent(MEError, GUID_NULL, S_OK, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_queue->GetEvent(0, nullptr), E_POINTER);
    EXPECT_EQ(m_queue->BeginGetEvent(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_queue->EndGetEvent(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(m_queue->QueueEvent(nullptr), E_INVALIDARG);
}

TEST_F(MediaEventQueue, AnEventThatFindsNoMemoryIsNotQueued)
{
    {
        const CShortMemory shortMemory(1, 1 << 20);
        ComPtr<IMFMediaEventQueue> queue;
        ComPtr<IMFMediaEvent> event;
        EXPECT_EQ(MFCreateEventQueue(queue.Put()), E_OUTOFMEMORY);
        EXPECT_EQ(MFCreateMediaEvent(MESourceStarted, GUID_NULL, S_OK, nullptr, event.Put()), E_OUTOFMEMORY);
        EXPECT_EQ(m_queue->QueueEventParamVar(MESourceStarted, GUID_NULL, S_OK, nullptr), E_OUTOFMEMORY);
    }
    EXPECT_TRUE(IsEmpty());
}

}  // namespace
}  // namespace mftest
