#include "amf/common/DataStreamMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include <windows.h>

#include <memoryapi.h>

#include "amf/common/streamcheck.h"

namespace
{

constexpr amf_size PAGE_BYTES = 4096;
// No stream is longer, so positions fit into 64 bits with a sign and sums of two into those without.
constexpr amf_size MOST_BYTES = std::numeric_limits<amf_int64>::max() - PAGE_BYTES;

}  // namespace

AMFDataStreamMemoryImpl::~AMFDataStreamMemoryImpl()
{
    AMFDataStreamMemoryImpl::Close();
}

AMF_RESULT AMFDataStreamMemoryImpl::Open(const wchar_t* /*pFilePath*/, AMF_STREAM_OPEN /*eOpenType*/,
                                         AMF_FILE_SHARE /*eShareType*/)
{
    return AMF_OK;
}

AMF_RESULT AMFDataStreamMemoryImpl::Close()
{
    if (m_pMemory != nullptr) VirtualFree(m_pMemory, 0, MEM_RELEASE);
    m_pMemory = nullptr;
    m_uiMemorySize = 0;
    m_uiAllocatedSize = 0;
    m_pos = 0;
    return AMF_OK;
}

AMF_RESULT AMFDataStreamMemoryImpl::Read(void* pData, amf_size iSize, amf_size* pRead)
{
    AMF_RETURN_UNLESS(MEMORY_STREAM_SCOPE, pData != NULL, AMF_INVALID_POINTER, L"Read() - pData==NULL");
    AMF_RETURN_UNLESS(MEMORY_STREAM_SCOPE, m_pMemory != NULL, AMF_NOT_INITIALIZED, L"Read() - Stream is not allocated");

    const amf_size uiRead = std::min(iSize, m_uiMemorySize - m_pos);
    std::memcpy(pData, static_cast<const std::uint8_t*>(m_pMemory) + m_pos, uiRead);
    m_pos += uiRead;
    if (pRead != nullptr) *pRead = uiRead;
    return AMF_OK;
}

AMF_RESULT AMFDataStreamMemoryImpl::Write(const void* pData, amf_size iSize, amf_size* pWritten)
{
    AMF_RETURN_UNLESS(MEMORY_STREAM_SCOPE, pData != NULL, AMF_INVALID_POINTER, L"Write() - pData==NULL");
    if (iSize > m_uiMemorySize - m_pos)
    {
        AMF_RETURN_UNLESS(MEMORY_STREAM_SCOPE, Realloc(m_pos + iSize), AMF_OUT_OF_MEMORY,
                          L"Write() - Stream is not allocated");
    }
    if (iSize > 0) std::memcpy(static_cast<std::uint8_t*>(m_pMemory) + m_pos, pData, iSize);
    m_pos += iSize;
    if (pWritten != nullptr) *pWritten = iSize;
    return AMF_OK;
}

// False, and nothing changed, without memory.
bool AMFDataStreamMemoryImpl::Realloc(amf_size uiSize)
{
    if (uiSize < m_pos || uiSize > MOST_BYTES) return false;  // the sum has left its 64 bits, or no stream is that long
    if (uiSize > m_uiAllocatedSize)
    {
        const amf_size uiPages = (uiSize + PAGE_BYTES - 1) / PAGE_BYTES * PAGE_BYTES;
        void* const pMemory = VirtualAlloc(nullptr, uiPages, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        if (pMemory == nullptr) return false;
        if (m_pMemory != nullptr)
        {
            std::memcpy(pMemory, m_pMemory, m_uiMemorySize);
            VirtualFree(m_pMemory, 0, MEM_RELEASE);
        }
        m_pMemory = pMemory;
        m_uiAllocatedSize = uiPages;
    }
    m_uiMemorySize = uiSize;
    m_pos = std::min(m_pos, m_uiMemorySize);
    return true;
}

AMF_RESULT AMFDataStreamMemoryImpl::Seek(AMF_SEEK_ORIGIN eOrigin, amf_int64 iOffset, amf_int64* pNewPosition)
{
    if (eOrigin < AMF_SEEK_BEGIN || eOrigin > AMF_SEEK_END) return AMF_FAIL;

    const bool bBack = (iOffset < 0) != (eOrigin == AMF_SEEK_END);
    const auto uiOffset = static_cast<amf_size>(iOffset);
    const amf_size uiDistance = iOffset < 0 ? 0 - uiOffset : uiOffset;
    const amf_size uiFrom = eOrigin == AMF_SEEK_BEGIN ? 0 : eOrigin == AMF_SEEK_CURRENT ? m_pos : m_uiMemorySize;
    if (bBack)
        m_pos = uiFrom - std::min(uiDistance, uiFrom);
    else
        m_pos = uiFrom + std::min(uiDistance, m_uiMemorySize - uiFrom);
    if (pNewPosition != nullptr) *pNewPosition = static_cast<amf_int64>(m_pos);
    return AMF_OK;
}

AMF_RESULT AMFDataStreamMemoryImpl::GetPosition(amf_int64* pPosition)
{
    AMF_RETURN_UNLESS(MEMORY_STREAM_SCOPE, pPosition != NULL, AMF_INVALID_POINTER, L"GetPosition() - pPosition==NULL");
    *pPosition = static_cast<amf_int64>(m_pos);
    return AMF_OK;
}

// The message names the other operation. That is part of the design.
AMF_RESULT AMFDataStreamMemoryImpl::GetSize(amf_int64* pSize)
{
    AMF_RETURN_UNLESS(MEMORY_STREAM_SCOPE, pSize != NULL, AMF_INVALID_POINTER, L"GetPosition() - pSize==NULL");
    *pSize = static_cast<amf_int64>(m_uiMemorySize);
    return AMF_OK;
}

bool AMFDataStreamMemoryImpl::IsSeekable()
{
    return true;
}
