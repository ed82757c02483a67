#include "host/hostplatform/bufferedfile.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace
{

constexpr std::size_t WINDOW_SIZE = 64 * 1024;

// Bytes that a read far from the last one fetches. A walk that steps from box to box over the media data needs only a
// header at each step. Only a read that continues fetches a whole window.
constexpr std::size_t FIRST_FETCH = 4 * 1024;

constexpr std::uint64_t MAX_POSITION = std::numeric_limits<std::int64_t>::max();
std::atomic<std::uint32_t> g_uiLosses = 0;

static_assert(sizeof(std::size_t) == sizeof(std::uint64_t), "sizes of transfers are handed on as they are");

}  // namespace

bool CBufferedFile::Open(const wchar_t* pwszPath, EFileAccess eAccess, bool bShareRead)
{
    m_pWindow.reset(new unsigned char[WINDOW_SIZE]);
    m_bWritable = eAccess != EFileAccess::Read;
    return m_file.Open(pwszPath, eAccess, bShareRead);
}

bool CBufferedFile::Close()
{
    const bool bFlushed = Flush();
    const bool bClosed = m_file.Close();
    return bFlushed && bClosed && !m_bLostBytes;
}

bool CBufferedFile::ReadOutsideWindow(void* pBuffer, std::uint64_t uiBytes)
{
    if (uiBytes > MAX_POSITION - m_uiPosition) return false;
    if (!Flush()) return false;

    std::size_t uiRead = 0;
    if (uiBytes >= WINDOW_SIZE)
    {
        const bool bRead = m_file.ReadAt(m_uiPosition, pBuffer, static_cast<std::size_t>(uiBytes), &uiRead);
        if (!bRead || uiRead != uiBytes) return false;
    }
    else
    {
        const bool bGoesOn = m_uiPosition - m_uiWindow <= m_uiHeld;
        const std::size_t uiFetch = bGoesOn ? WINDOW_SIZE : std::max(FIRST_FETCH, static_cast<std::size_t>(uiBytes));
        m_uiHeld = 0;
        if (!m_file.ReadAt(m_uiPosition, m_pWindow.get(), uiFetch, &uiRead)) return false;
        m_uiWindow = m_uiPosition;
        m_uiHeld = uiRead;
        if (uiRead < uiBytes) return false;
        std::memcpy(pBuffer, m_pWindow.get(), static_cast<std::size_t>(uiBytes));
    }
    m_uiPosition += uiBytes;
    return true;
}

bool CBufferedFile::Write(const void* pBuffer, std::uint64_t uiBytes)
{
    if (!m_bWritable || m_bLostBytes) return false;
    if (uiBytes > MAX_POSITION - m_uiPosition) return false;
    const auto uiCount = static_cast<std::size_t>(uiBytes);
    if (uiCount == 0) return true;

    // The window takes bytes that begin in it or at its end. A gap would be bytes of unknown value.
    std::uint64_t uiOffset = m_uiPosition - m_uiWindow;
    if (uiOffset > m_uiHeld || uiCount > WINDOW_SIZE - uiOffset)
    {
        if (!Flush()) return false;
        m_uiHeld = 0;
        if (uiCount >= WINDOW_SIZE)
        {
            if (!m_file.WriteAt(m_uiPosition, pBuffer, uiCount)) return Lose();
            m_uiPosition += uiCount;
            return true;
        }
        m_uiWindow = m_uiPosition;
        uiOffset = 0;
    }

    // What was written further on goes to the system first, so that bytes at an earlier place can vouch for it.
    if (uiOffset < m_uiUnsavedEnd && !Flush()) return false;

    const auto uiBegin = static_cast<std::size_t>(uiOffset);
    const std::size_t uiEnd = uiBegin + uiCount;
    std::memcpy(m_pWindow.get() + uiBegin, pBuffer, uiCount);
    m_uiHeld = std::max(m_uiHeld, uiEnd);
    const bool bAllSaved = m_uiUnsavedBegin == m_uiUnsavedEnd;
    m_uiUnsavedBegin = bAllSaved ? uiBegin : std::min(m_uiUnsavedBegin, uiBegin);
    m_uiUnsavedEnd = bAllSaved ? uiEnd : std::max(m_uiUnsavedEnd, uiEnd);
    m_uiPosition += uiCount;
    return true;
}

bool CBufferedFile::SeekFromBegin(std::int64_t nOffset)
{
    if (nOffset < 0) return false;
    m_uiPosition = static_cast<std::uint64_t>(nOffset);
    return true;
}

bool CBufferedFile::SeekFromEnd(std::int64_t nOffset)
{
    std::uint64_t uiSize = 0;
    if (!GetSize(&uiSize)) return false;
    const std::uint64_t uiPosition = uiSize + static_cast<std::uint64_t>(nOffset);  // wraps for a position outside
    if (uiPosition > MAX_POSITION) return false;
    m_uiPosition = uiPosition;
    return true;
}

bool CBufferedFile::GetSize(std::uint64_t* puiSize)
{
    std::uint64_t uiSize = 0;
    if (!m_file.GetSize(&uiSize)) return false;
    const bool bAllSaved = m_uiUnsavedBegin == m_uiUnsavedEnd;
    *puiSize = bAllSaved ? uiSize : std::max(uiSize, m_uiWindow + m_uiUnsavedEnd);
    return true;
}

bool CBufferedFile::GetTimes(std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten)
{
    return Flush() && m_file.GetTimes(pCreated, pAccessed, pWritten);
}

// Writes the unsaved bytes to the system. The window keeps them.
bool CBufferedFile::Flush()
{
    if (m_uiUnsavedBegin == m_uiUnsavedEnd) return true;
    const std::size_t uiBegin = m_uiUnsavedBegin;
    const std::size_t uiEnd = m_uiUnsavedEnd;
    m_uiUnsavedBegin = m_uiUnsavedEnd = 0;
    if (!m_file.WriteAt(m_uiWindow + uiBegin, m_pWindow.get() + uiBegin, uiEnd - uiBegin)) return Lose();
    return true;
}

std::uint32_t CBufferedFile::LossCount()
{
    return g_uiLosses;
}

// The window may now differ from the file, and its unsaved bytes are lost.
bool CBufferedFile::Lose()
{
    if (!m_bLostBytes) ++g_uiLosses;
    m_bLostBytes = true;
    m_uiHeld = 0;
    return false;
}
