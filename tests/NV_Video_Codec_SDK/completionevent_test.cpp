// The events of a session's packets.
#include <gtest/gtest.h>
#include <windows.h>

#include "NV_Video_Codec_SDK/NvEncoder/CompletionEvent.h"

TEST(CompletionEventTest, IsNotSetAtFirstAndResetByTheWaitThatItEnds)
{
    void* const hEvent = CreateCompletionEvent();
    ASSERT_TRUE(hEvent);
    EXPECT_EQ(AwaitCompletionEvent(hEvent, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(SetEvent(hEvent));
        EXPECT_EQ(AwaitCompletionEvent(hEvent, 0), static_cast<DWORD>(WAIT_OBJECT_0)) << i;
        EXPECT_EQ(AwaitCompletionEvent(hEvent, 0), static_cast<DWORD>(WAIT_TIMEOUT)) << i;
    }
    CloseCompletionEvent(hEvent);
}

TEST(CompletionEventTest, EachIsItsOwn)
{
    void* const hFirst = CreateCompletionEvent();
    void* const hSecond = CreateCompletionEvent();
    EXPECT_TRUE(SetEvent(hSecond));
    EXPECT_EQ(AwaitCompletionEvent(hFirst, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(AwaitCompletionEvent(hSecond, 0), static_cast<DWORD>(WAIT_OBJECT_0));
    CloseCompletionEvent(hFirst);
    CloseCompletionEvent(hSecond);
}

TEST(CompletionEventTest, IsGoneOnceItIsClosed)
{
    void* const hEvent = CreateCompletionEvent();
    CloseCompletionEvent(hEvent);
    EXPECT_EQ(AwaitCompletionEvent(hEvent, 0), static_cast<DWORD>(WAIT_FAILED));
}
