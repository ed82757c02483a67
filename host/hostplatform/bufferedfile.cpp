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
    if (!m_file.Close() && m_bWritable) Lose();
    return !m_bLostBytes;
}

bool CBufferedFile::ReadOutsideWindow(void* pBuffer, std::uint64_t uiBytes)
{
    if (uiBytes > MAX_POSITION - m_uiPosition) return false;

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

    m_uiHeld = 0;  // its bytes may be the ones that change
    if (!m_file.WriteAt(m_uiPosition, pBuffer, uiCount)) return Lose();
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
    return m_file.GetSize(puiSize);
}

bool CBufferedFile::GetTimes(std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten)
{
    return m_file.GetTimes(pCreated, pAccessed, pWritten);
}

std::uint32_t CBufferedFile::LossCount()
{
    return g_uiLosses;
}

bool CBufferedFile::Lose()
{
    if (!m_bLostBytes) ++g_uiLosses;
    m_bLostBytes = true;
    return false;
}
