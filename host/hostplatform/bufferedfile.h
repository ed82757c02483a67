// A file with a current position, read through a buffer and written without one.
//
// The buffer is a window: it holds the file's bytes from some position on. A change of the position changes nothing
// else. So a walk back and forth stays inside the window.
//
// What is written is with the system when the write returns, and stays there if this process ends. Its writer gives
// whole packets, and seeks before each of the small writes that it makes: a buffer would save it few calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "host/hostplatform/nativefile.h"

class CBufferedFile
{
public:
    // Throws std::bad_alloc.
    bool Open(const wchar_t* pwszPath, EFileAccess eAccess, bool bShareRead);
    // False when bytes were lost, now or at any time since the file was opened.
    bool Close();

    // Reads all uiBytes, or fails and leaves the position. The table of a long video is read in steps of eight bytes,
    // so reads inside the window have a fast path.
    bool Read(void* pBuffer, std::uint64_t uiBytes)
    {
        const std::uint64_t uiOffset = m_uiPosition - m_uiWindow;  // wraps to a large number before the window
        if (uiOffset > m_uiHeld || uiBytes > m_uiHeld - uiOffset) return ReadOutsideWindow(pBuffer, uiBytes);
        std::memcpy(pBuffer, m_pWindow.get() + uiOffset, static_cast<std::size_t>(uiBytes));
        m_uiPosition += uiBytes;
        return true;
    }

    // True when the system has all the bytes. After a write that failed every later one fails too: the file already
    // differs from what its writer expects.
    bool Write(const void* pBuffer, std::uint64_t uiBytes);

    bool SeekFromBegin(std::int64_t nOffset);
    bool SeekFromEnd(std::int64_t nOffset);

    bool GetSize(std::uint64_t* puiSize);
    bool GetTimes(std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten);

    // Files of this process that have lost bytes so far.
    static std::uint32_t LossCount();

private:
    bool ReadOutsideWindow(void* pBuffer, std::uint64_t uiBytes);
    bool Lose();

    CNativeFile m_file;
    bool m_bWritable = false;
    bool m_bLostBytes = false;
    std::uint64_t m_uiPosition = 0;

    std::unique_ptr<unsigned char[]> m_pWindow;
    std::uint64_t m_uiWindow = 0;  // the file position of the window's first byte
    std::size_t m_uiHeld = 0;      // bytes of the file that the window holds
};
