// The reference-counted base of every object that the host reaches through an interface.
#include "hostapi/hostcore.h"

#include <cstdlib>

// The destructors are defined here so that each class's virtual table is emitted in one place.
IQmInterface::IQmInterface() = default;
IQmInterface::~IQmInterface() = default;

CQmClass::CQmClass(bool bDeleteOnRelease) : m_bDeleteOnRelease(bDeleteOnRelease), m_nRefCount(0) {}

CQmClass::~CQmClass() = default;

void* CQmClass::operator new(std::size_t uiSize, const char*, unsigned int) noexcept
{
    return std::malloc(uiSize);
}

void CQmClass::operator delete(void* pBlock) noexcept
{
    std::free(pBlock);
}

// Called when a constructor throws.
void CQmClass::operator delete(void* pBlock, const char*, unsigned int) noexcept
{
    std::free(pBlock);
}

std::int32_t CQmClass::AddRef()
{
    return m_nRefCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::int32_t CQmClass::Release()
{
    // The deleting thread must see everything that other threads did to the object before their Release.
    const std::int32_t nCount = m_nRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (nCount == 0 && m_bDeleteOnRelease) delete this;
    return nCount;
}
