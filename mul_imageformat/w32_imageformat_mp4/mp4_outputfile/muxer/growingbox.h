// An MP4 box that grows in memory, with boxes in it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hostapi/hostcore.h"

class CGrowingBox
{
public:
    void Append(const void* pBytes, std::size_t uiSize);
    // Appends the contents of another one, and its failure.
    void Append(const CGrowingBox& contents);
    void Append8(std::uint8_t uiValue);
    void Append16(std::uint16_t uiValue);
    void Append32(std::uint32_t uiValue);
    void AppendZeros(std::size_t uiSize);

    // The head of a box whose size is known. pszType: four characters.
    void AppendHead(std::uint32_t uiSize, const char* pszType);
    // The head of a box whose size isn't known yet; returns its place, for Close when its last byte is there.
    std::size_t Open(const char* pszType);
    void Close(std::size_t uiBox);

    // All bytes so far; null before the first.
    const std::uint8_t* Data() const { return m_baBytes.GetData(0); }
    std::size_t Size() const { return m_baBytes.GetSize(); }
    // True when memory ran out at some append. The bytes so far are no box then.
    bool Failed() const { return m_bFailed; }

private:
    CQmByteArray m_baBytes;
    bool m_bFailed = false;
};
