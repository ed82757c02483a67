#include "parts/bytesource.h"

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

}  // namespace qmhost
