#include "platform/mediafoundation/reading/bit_reader.h"

namespace mediafoundation
{

BitReader::BitReader(const std::uint8_t* pData, std::size_t uiSize)
{
    m_bytes.reserve(uiSize);
    int nZeros = 0;
    for (std::size_t i = 0; i < uiSize; ++i)
    {
        if (nZeros >= 2 && pData[i] == 3)
        {
            nZeros = 0;
            continue;
        }
        nZeros = pData[i] == 0 ? nZeros + 1 : 0;
        m_bytes.push_back(pData[i]);
    }
}

std::uint32_t BitReader::Bit()
{
    const std::size_t uiByte = m_uiBit / 8;
    if (uiByte >= m_bytes.size())
    {
        m_bOverrun = true;
        return 0;
    }
    const std::uint32_t uiBit = (m_bytes[uiByte] >> (7 - m_uiBit % 8)) & 1U;
    ++m_uiBit;
    return uiBit;
}

std::uint32_t BitReader::Bits(int nCount)
{
    std::uint32_t uiValue = 0;
    for (int i = 0; i < nCount; ++i)
    {
        uiValue = (uiValue << 1) | Bit();
    }
    return uiValue;
}

std::uint32_t BitReader::Ue()
{
    int nZeros = 0;
    while (Bit() == 0)
    {
        if (++nZeros > 31 || m_bOverrun)
        {
            m_bOverrun = true;
            return 0;
        }
    }
    return (std::uint32_t{1} << nZeros) - 1 + Bits(nZeros);
}

std::int32_t BitReader::Se()
{
    const std::uint32_t uiCode = Ue();
    const auto nMagnitude = static_cast<std::int32_t>((uiCode >> 1) + (uiCode & 1U));
    return (uiCode & 1U) != 0 ? nMagnitude : -nMagnitude;
}

}  // namespace mediafoundation
