#include "parts/evenpicture.h"

#include <algorithm>

namespace qmhost
{
namespace
{

constexpr std::uint32_t Even(std::uint32_t uiSide)
{
    return uiSide + uiSide % 2;
}

}  // namespace

EvenPicture::EvenPicture(PictureSize size)
    : m_size(size),
      m_sizeEven{Even(size.m_uiWidth), Even(size.m_uiHeight)},
      m_uiWidthBytes(RowPitch(m_sizeEven.m_uiWidth)),
      m_vPixels(std::size_t{m_uiWidthBytes} * m_sizeEven.m_uiHeight)
{}

void EvenPicture::Complete()
{
    if (m_size.m_uiWidth < m_sizeEven.m_uiWidth)
    {
        for (std::size_t uiRow = 0; uiRow < m_size.m_uiHeight; ++uiRow)
        {
            unsigned char* const pEnd = Pixels() + uiRow * m_uiWidthBytes + std::size_t{3} * m_size.m_uiWidth;
            std::copy_n(pEnd - 3, 3, pEnd);
        }
    }
    if (m_size.m_uiHeight < m_sizeEven.m_uiHeight)
    {
        unsigned char* const pEnd = Pixels() + std::size_t{m_size.m_uiHeight} * m_uiWidthBytes;
        std::copy_n(pEnd - m_uiWidthBytes, m_uiWidthBytes, pEnd);
    }
}

}  // namespace qmhost
