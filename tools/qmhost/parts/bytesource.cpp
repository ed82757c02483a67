#include "parts/bytesource.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace qmhost
{

FileBytes::FileBytes(const std::filesystem::path& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return;
    m_file.open(path, std::ios::binary);
    if (!m_file) return;
    m_file.seekg(0, std::ios::end);
    const std::streamoff nSize = m_file.tellg();
    if (nSize > 0) m_uiSize = static_cast<std::uint64_t>(nSize);
}

bool FileBytes::ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes)
{
    if (uiPosition > m_uiSize || uiBytes > m_uiSize - uiPosition) return false;
    m_file.clear();
    m_file.seekg(static_cast<std::streamoff>(uiPosition));
    m_file.read(static_cast<char*>(pBuffer), static_cast<std::streamsize>(uiBytes));
    return m_file.good();
}

bool BufferedBytes::ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes)
{
    if (uiPosition > Size() || uiBytes > Size() - uiPosition) return false;
    if (uiBytes > m_uiBlock) return m_source.ReadAt(uiPosition, pBuffer, uiBytes);
    if (uiBytes > 0) std::memcpy(pBuffer, View(uiPosition, uiBytes).data(), uiBytes);
    return true;
}

std::span<const unsigned char> BufferedBytes::View(std::uint64_t uiPosition, std::size_t uiLeast)
{
    if (uiPosition >= Size()) return {};
    const std::uint64_t uiLeft = Size() - uiPosition;
    const std::uint64_t uiEnd = uiPosition + std::min<std::uint64_t>(uiLeft, uiLeast);
    if (uiPosition < m_uiBegin || uiEnd > m_uiBegin + m_vBlock.size())
    {
        m_vBlock.resize(static_cast<std::size_t>(std::min<std::uint64_t>(uiLeft, m_uiBlock)));
        m_uiBegin = uiPosition;
        if (!m_source.ReadAt(uiPosition, m_vBlock.data(), m_vBlock.size()))
        {
            m_vBlock.clear();
            throw std::runtime_error("bytes from " + std::to_string(uiPosition) + " on can't be read");
        }
    }
    return std::span<const unsigned char>(m_vBlock).subspan(static_cast<std::size_t>(uiPosition - m_uiBegin));
}

bool ReadableBytes::ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes)
{
    constexpr std::uint64_t SECTOR = 4096;
    if (uiPosition > Size() || uiBytes > Size() - uiPosition) return false;
    if (m_source.ReadAt(uiPosition, pBuffer, uiBytes)) return true;
    auto* pBytes = static_cast<unsigned char*>(pBuffer);
    while (uiBytes > 0)
    {
        const auto uiPart = static_cast<std::size_t>(std::min<std::uint64_t>(uiBytes, SECTOR - uiPosition % SECTOR));
        if (!m_source.ReadAt(uiPosition, pBytes, uiPart))
        {
            std::memset(pBytes, 0, uiPart);
            m_uiFirst = std::min(m_uiFirst.value_or(uiPosition), uiPosition);
        }
        uiPosition += uiPart;
        pBytes += uiPart;
        uiBytes -= uiPart;
    }
    return true;
}

}  // namespace qmhost
