// Samples that wait for their stream to be started again.
#pragma once

#include <windows.h>

#include <unknwn.h>

// First in, first out. Owns a reference on each item. Has no lock of its own.
class SampleQueue
{
public:
    SampleQueue();
    virtual ~SampleQueue();

    SampleQueue(const SampleQueue&) = delete;
    SampleQueue& operator=(const SampleQueue&) = delete;

    // Takes a reference. E_POINTER for null, E_OUTOFMEMORY: nothing is queued then.
    HRESULT Queue(IUnknown* pItem);
    // Hands the oldest item's reference to the caller. E_POINTER for a null ppItem; E_FAIL when the queue is empty,
    // *ppItem is null then.
    HRESULT Dequeue(IUnknown** ppItem);
    // Releases all items.
    void Clear();
    bool IsEmpty() const;

private:
    // A ring of nodes. It begins and ends at m_sentinel, which has no item.
    struct SNode
    {
        SNode* m_pPrevious = nullptr;
        SNode* m_pNext = nullptr;
        IUnknown* m_pItem = nullptr;
    };
    IUnknown* Unlink(SNode* pNode);

    SNode m_sentinel;
};
