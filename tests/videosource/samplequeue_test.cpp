// The queue of samples that wait for a start.
#include <gtest/gtest.h>

#include "counted_item.h"
#include "support/short_memory.h"
#include "videosource/samplequeue.h"

namespace
{

IUnknown* Take(SampleQueue& queue)
{
    IUnknown* pItem = nullptr;
    EXPECT_EQ(queue.Dequeue(&pItem), S_OK);
    return pItem;
}

TEST(SampleQueue, IsEmptyAtFirst)
{
    SampleQueue queue;
    CCountedItem item;
    IUnknown* pItem = &item;
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.Dequeue(&pItem), HRESULT{E_FAIL});
    EXPECT_EQ(pItem, nullptr);
}

TEST(SampleQueue, GivesItemsInTheOrderInWhichTheyCame)
{
    SampleQueue queue;
    CCountedItem aItems[3];
    for (CCountedItem& item : aItems)
    {
        EXPECT_EQ(queue.Queue(&item), S_OK);
        EXPECT_FALSE(queue.IsEmpty());
    }
    EXPECT_EQ(Take(queue), &aItems[0]);
    EXPECT_EQ(queue.Queue(&aItems[0]), S_OK);
    EXPECT_EQ(Take(queue), &aItems[1]);
    EXPECT_EQ(Take(queue), &aItems[2]);
    EXPECT_EQ(Take(queue), &aItems[0]);
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(SampleQueue, HoldsOneReferenceAndHandsItOver)
{
    SampleQueue queue;
    CCountedItem item;
    EXPECT_EQ(queue.Queue(&item), S_OK);
    EXPECT_EQ(item.m_nCount, 1U);
    Take(queue);
    EXPECT_EQ(item.m_nCount, 1U);
}

TEST(SampleQueue, ClearReleasesAllAndTheQueueCanBeUsedAgain)
{
    SampleQueue queue;
    CCountedItem aItems[3];
    for (CCountedItem& item : aItems)
    {
        EXPECT_EQ(queue.Queue(&item), S_OK);
    }
    queue.Clear();
    EXPECT_TRUE(queue.IsEmpty());
    for (const CCountedItem& item : aItems)
    {
        EXPECT_EQ(item.m_nCount, 0U);
    }
    queue.Clear();
    EXPECT_EQ(queue.Queue(&aItems[1]), S_OK);
    EXPECT_EQ(Take(queue), &aItems[1]);
}

TEST(SampleQueue, ItsEndReleasesAll)
{
    CCountedItem item;
    {
        SampleQueue queue;
        EXPECT_EQ(queue.Queue(&item), S_OK);
        EXPECT_EQ(queue.Queue(&item), S_OK);
    }
    EXPECT_EQ(item.m_nCount, 0U);
}

TEST(SampleQueue, RefusesNullPointers)
{
    SampleQueue queue;
    CCountedItem item;
    EXPECT_EQ(queue.Queue(nullptr), HRESULT{E_POINTER});
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(queue.Dequeue(nullptr), HRESULT{E_POINTER});
    EXPECT_EQ(queue.Queue(&item), S_OK);
    EXPECT_EQ(queue.Dequeue(nullptr), HRESULT{E_POINTER});
    EXPECT_FALSE(queue.IsEmpty());
}

TEST(SampleQueue, TakesNothingWithoutMemory)
{
    SampleQueue queue;
    CCountedItem item;
    {
        const CShortMemory shortMemory(1U);
        EXPECT_EQ(queue.Queue(&item), HRESULT{E_OUTOFMEMORY});
        EXPECT_EQ(shortMemory.GetRefused(), 1U);
    }
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(item.m_nCount, 0U);
}

}  // namespace
