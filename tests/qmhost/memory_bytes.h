// Bytes in memory, which also counts how often it is asked.
#pragma once

#include <cstring>
#include <string>

#include "parts/bytesource.h"

class MemoryBytes : public qmhost::ByteSource
{
public:
    explicit MemoryBytes(std::string bytes) : m_strBytes(std::move(bytes)) {}
    std::uint64_t Size() const override { return m_strBytes.size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override
    {
        ++m_uiReads;
        m_uiBytesRead += uiBytes;
        if (uiPosition > m_strBytes.size() || uiBytes > m_strBytes.size() - uiPosition) return false;
        std::memcpy(pBuffer, m_strBytes.data() + uiPosition, uiBytes);
        return true;
    }
    unsigned Reads() const { return m_uiReads; }
    std::uint64_t BytesRead() const { return m_uiBytesRead; }

private:
    std::string m_strBytes;
    unsigned m_uiReads = 0;
    std::uint64_t m_uiBytesRead = 0;
};
