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

    // Whether the file holds at least uiCount bytes other than zero. Reads no further than that takes, goes on next
    // time where it stopped, and gives up at a place up to which three quarters and 64 MiB of the file are zeros. Moves
    // the file's position.
    bool AreAtLeast(std::uint64_t uiCount);

private:
    QmFileHandle m_hFile;
    std::uint64_t m_uiPosition = 0;  // up to here they are counted
    std::uint64_t m_uiCounted = 0;
};
