// The reference-counted base of every object that the host reaches through an interface.
#include "hostapi/hostcore.h"

#include <cstdlib>

// The destructors stand here so that the classes' tables of operations have one home.
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

// The one that a throwing constructor ends in.
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
    // Everything that other threads did to the object before their Release must be seen by the one that deletes it.
    const std::int32_t nCount = m_nRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (nCount == 0 && m_bDeleteOnRelease) delete this;
    return nCount;
}
