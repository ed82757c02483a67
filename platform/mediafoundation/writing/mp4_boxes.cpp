#include "platform/mediafoundation/writing/mp4_boxes.h"

namespace mediafoundation
{

void BoxWriter::Begin(std::string_view type)
{
    m_open.push_back(m_bytes.size());
    Word(0);
    Text(type);
}

void BoxWriter::BeginFull(std::string_view type, std::uint8_t uiVersion, std::uint32_t uiFlags)
{
    Begin(type);
    Word(std::uint32_t{uiVersion} << 24 | uiFlags);
}

void BoxWriter::End()
{
    const std::size_t uiBegin = m_open.back();
    m_open.pop_back();
    const std::size_t uiSize = m_bytes.size() - uiBegin;
    for (std::size_t i = 0; i < 4; ++i)
    {
        m_bytes[uiBegin + i] = static_cast<std::uint8_t>(uiSize >> (24 - 8 * i));
    }
}

void BoxWriter::Text(std::string_view text)
{
    m_bytes.insert(m_bytes.end(), text.begin(), text.end());
}

void BoxWriter::Bytes(const std::vector<std::uint8_t>& bytes)
{
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
}

void BoxWriter::Zeros(std::size_t uiCount)
{
    m_bytes.resize(m_bytes.size() + uiCount);
}

void BoxWriter::Number(std::uint64_t uiValue, unsigned uiBytes)
{
    for (unsigned i = uiBytes; i > 0; --i)
    {
        m_bytes.push_back(static_cast<std::uint8_t>(uiValue >> (8 * (i - 1))));
    }
}

}  // namespace mediafoundation
