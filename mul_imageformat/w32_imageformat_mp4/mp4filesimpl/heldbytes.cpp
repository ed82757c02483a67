#include "mp4filesimpl/heldbytes.h"

#include <algorithm>
#include <array>

namespace
{

constexpr std::size_t STEP_BYTES = 64 * 1024;

// A file may begin with space that was set aside, and silent sound consists of zeros. Without a limit, a sparse file of
// many terabytes would be read for hours.
constexpr std::uint64_t ZEROS_ALLOWED = std::uint64_t{64} << 20;
constexpr std::uint64_t BYTES_PER_HELD_BYTE = 64;

}  // namespace

std::uint64_t CHeldBytes::CountUpTo(std::uint64_t uiCount)
{
    std::uint64_t uiFileSize = 0;
    if (QM_GetFileSize(m_hFile, &uiFileSize) != QM_OK) return m_uiCounted;
    if (QM_SeekFile(m_hFile, static_cast<std::int64_t>(m_uiPosition), QM_SEEK_BEGIN) != QM_OK) return m_uiCounted;

    std::array<unsigned char, STEP_BYTES> aBytes;
    while (m_uiCounted < uiCount && m_uiPosition <= ZEROS_ALLOWED + BYTES_PER_HELD_BYTE * m_uiCounted)
    {
        const std::uint64_t uiStep = std::min<std::uint64_t>(STEP_BYTES, uiFileSize - m_uiPosition);
        if (uiStep == 0 || QM_ReadFile(m_hFile, aBytes.data(), uiStep, nullptr, nullptr) != QM_OK) break;
        const auto itEnd = aBytes.begin() + static_cast<std::ptrdiff_t>(uiStep);
        m_uiCounted += uiStep - static_cast<std::uint64_t>(std::count(aBytes.begin(), itEnd, 0));
        m_uiPosition += uiStep;
    }
    return m_uiCounted;
}
