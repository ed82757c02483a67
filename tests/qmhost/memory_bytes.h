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

// A start and an end with a hole between them, of which nothing is in memory: zeros.
class BytesWithHole : public qmhost::ByteSource
{
public:
    BytesWithHole(std::string strStart, std::uint64_t uiEnd, std::string strEnd)
        : m_strStart(std::move(strStart)), m_uiEnd(uiEnd), m_strEnd(std::move(strEnd))
    {}
    std::uint64_t Size() const override { return m_uiEnd + m_strEnd.size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override
    {
        if (uiPosition > Size() || uiBytes > Size() - uiPosition) return false;
        auto* const pBytes = static_cast<char*>(pBuffer);
        for (std::size_t i = 0; i < uiBytes; ++i)
        {
            const std::uint64_t ui = uiPosition + i;
            pBytes[i] = '\0';
            if (ui < m_strStart.size()) pBytes[i] = m_strStart[static_cast<std::size_t>(ui)];
            if (ui >= m_uiEnd) pBytes[i] = m_strEnd[static_cast<std::size_t>(ui - m_uiEnd)];
        }
        return true;
    }

private:
    std::string m_strStart;
    std::uint64_t m_uiEnd;  // where the end begins
    std::string m_strEnd;
};
