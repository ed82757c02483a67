#include "parts/boxwriter.h"

#include <stdexcept>

namespace qmhost
{

void BoxWriter::Begin(std::string_view type)
{
    m_vOpen.push_back(m_vBytes.size());
    Zeros(4);
    Text(type);
}

void BoxWriter::End()
{
    const std::size_t uiBegin = m_vOpen.back();
    m_vOpen.pop_back();
    const std::uint64_t uiSize = m_vBytes.size() - uiBegin;
    if (uiSize > 0xFFFFFFFFU) throw std::runtime_error("the index would have more than 4 GiB");
    for (std::size_t i = 0; i < 4; ++i)
        m_vBytes[uiBegin + i] = static_cast<unsigned char>(uiSize >> (24 - 8 * i));
}

void BoxWriter::Text(std::string_view text)
{
    m_vBytes.insert(m_vBytes.end(), text.begin(), text.end());
}

void BoxWriter::Bytes(std::span<const unsigned char> bytes)
{
    m_vBytes.insert(m_vBytes.end(), bytes.begin(), bytes.end());
}

void BoxWriter::Zeros(std::size_t uiCount)
{
    m_vBytes.resize(m_vBytes.size() + uiCount);
}

void BoxWriter::Number(std::uint64_t uiValue, unsigned uiBytes)
{
    for (unsigned uiByte = uiBytes; uiByte > 0; --uiByte)
        m_vBytes.push_back(static_cast<unsigned char>(uiValue >> (8 * (uiByte - 1))));
}

}  // namespace qmhost
