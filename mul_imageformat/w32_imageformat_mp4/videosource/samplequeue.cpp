#include "videosource/samplequeue.h"

#include <new>

SampleQueue::SampleQueue()
{
    m_sentinel.m_pPrevious = &m_sentinel;
    m_sentinel.m_pNext = &m_sentinel;
}

SampleQueue::~SampleQueue()
{
    Clear();
}

HRESULT SampleQueue::Queue(IUnknown* pItem)
{
    if (pItem == nullptr) return E_POINTER;
    SNode* const pNode = new (std::nothrow) SNode;
    if (pNode == nullptr) return E_OUTOFMEMORY;
    pNode->m_pItem = pItem;
    pNode->m_pItem->AddRef();
    pNode->m_pPrevious = m_sentinel.m_pPrevious;
    pNode->m_pNext = &m_sentinel;
    pNode->m_pPrevious->m_pNext = pNode;
    m_sentinel.m_pPrevious = pNode;
    return S_OK;
}

HRESULT SampleQueue::Dequeue(IUnknown** ppItem)
{
    if (ppItem == nullptr) return E_POINTER;
    *ppItem = nullptr;
    if (IsEmpty()) return E_FAIL;
    *ppItem = Unlink(m_sentinel.m_pNext);
    return S_OK;
}

void SampleQueue::Clear()
{
    while (!IsEmpty())
    {
        Unlink(m_sentinel.m_pNext)->Release();
    }
}

bool SampleQueue::IsEmpty() const
{
    return m_sentinel.m_pNext == &m_sentinel;
}

// Frees the node. The reference on its item is the caller's.
IUnknown* SampleQueue::Unlink(SNode* pNode)
{
    IUnknown* const pItem = pNode->m_pItem;
    pNode->m_pPrevious->m_pNext = pNode->m_pNext;
    pNode->m_pNext->m_pPrevious = pNode->m_pPrevious;
    delete pNode;
    return pItem;
}
