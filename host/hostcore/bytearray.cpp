// A block of bytes that grows.
#include "hostapi/hostcore.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

CQmByteArray::CQmByteArray() : m_pBytes(nullptr), m_uiSize(0), m_uiCapacity(0) {}

CQmByteArray::CQmByteArray(const CQmByteArray& other) : CQmByteArray()
{
    CQmByteArray::SetData(other.m_pBytes, other.m_uiSize, EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default);
}

CQmByteArray::~CQmByteArray()
{
    std::free(m_pBytes);
}

CQmByteArray& CQmByteArray::operator=(const CQmByteArray& other)
{
    if (this != &other)
    {
        SetData(other.m_pBytes, other.m_uiSize, EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default);
    }
    return *this;
}

unsigned char* CQmByteArray::GetData(std::size_t uiPosition) const
{
    return m_uiSize != 0 && uiPosition <= m_uiSize ? m_pBytes + uiPosition : nullptr;
}

std::size_t CQmByteArray::GetSize() const
{
    return m_uiSize;
}

QmStatus CQmByteArray::SetSize(std::size_t uiSize)
{
    if (!Reserve(uiSize)) return QM_ERR_FAIL;
    if (uiSize > m_uiSize) std::memset(m_pBytes + m_uiSize, 0, uiSize - m_uiSize);
    m_uiSize = uiSize;
    return QM_OK;
}

QmStatus CQmByteArray::SetData(const void* pData, std::size_t uiSize, EQmByteArrayModeOp eOp, EQmByteArrayModeAlloc)
{
    const std::size_t uiKept = eOp == EQmByteArrayModeOp::Append ? m_uiSize : 0;
    if (pData == nullptr && uiSize != 0) return QM_ERR_FAIL;
    if (uiSize > SIZE_MAX - uiKept) return QM_ERR_FAIL;

    // Growing moves the block, also when the new bytes are in this very array.
    const auto* pBytes = static_cast<const unsigned char*>(pData);
    const bool bOwn =
        m_pBytes != nullptr && !std::less<>()(pBytes, m_pBytes) && std::less<>()(pBytes, m_pBytes + m_uiSize);
    const std::size_t uiOwnPosition = bOwn ? static_cast<std::size_t>(pBytes - m_pBytes) : 0;
    if (!Reserve(uiKept + uiSize)) return QM_ERR_FAIL;
    if (bOwn) pBytes = m_pBytes + uiOwnPosition;

    if (uiSize != 0) std::memmove(m_pBytes + uiKept, pBytes, uiSize);
    m_uiSize = uiKept + uiSize;
    return QM_OK;
}

// Growing by half keeps many small appends cheap.
bool CQmByteArray::Reserve(std::size_t uiCapacity)
{
    if (uiCapacity <= m_uiCapacity) return true;
    const std::size_t uiHalfMore = m_uiCapacity <= SIZE_MAX / 2 ? m_uiCapacity + m_uiCapacity / 2 : uiCapacity;
    const std::size_t uiNew = std::max({uiCapacity, uiHalfMore, std::size_t{64}});
    void* pBytes = std::realloc(m_pBytes, uiNew);
    if (pBytes == nullptr) return false;
    m_pBytes = static_cast<unsigned char*>(pBytes);
    m_uiCapacity = uiNew;
    return true;
}
