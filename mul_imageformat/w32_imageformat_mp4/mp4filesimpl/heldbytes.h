// What a file really holds.
#pragma once

#include <cstdint>

#include "hostapi/hostplatform.h"

// Counts the bytes of a file that aren't zero. Its size proves nothing: a sparse file has any size and holds next to
// nothing, and all that it doesn't hold reads as zeros.
class CHeldBytes
{
public:
    // hFile stays the caller's and outlives this object.
    explicit CHeldBytes(QmFileHandle hFile) : m_hFile(hFile) {}

    // Returns the number of bytes other than zero that were counted so far, after reading on until it is at least
    // uiCount or the file ends. Gives up where it has read 64 MiB and 64 bytes more for each one that isn't zero. Moves
    // the file's position.
    std::uint64_t CountUpTo(std::uint64_t uiCount);

private:
    QmFileHandle m_hFile;
    std::uint64_t m_uiPosition = 0;  // up to here they are counted
    std::uint64_t m_uiCounted = 0;
};
