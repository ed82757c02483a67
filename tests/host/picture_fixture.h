// Pictures in blocks of exactly their size, so that the address sanitizer reports an access outside.
#pragma once

#include "hostapi/hostpicbase.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

struct STestPicture
{
    STestPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiBits, std::uint32_t uiComponents,
                 std::uint32_t uiPadding = 0)
        : m_uiWidth(uiWidth),
          m_uiHeight(uiHeight),
          m_uiBits(uiBits),
          m_uiComponents(uiComponents),
          m_uiWidthBytes(uiWidth * uiComponents * (uiBits > 8 ? 2 : 1) + uiPadding),
          // The last row has no padding: no code may access it there.
          m_vBytes(uiHeight == 0 ? 0 : std::size_t{uiHeight} * m_uiWidthBytes - uiPadding, 0xEE)
    {}

    void FillRandom(std::mt19937& random)
    {
        const std::uint32_t uiMask = (1u << m_uiBits) - 1;
        for (std::uint32_t y = 0; y < m_uiHeight; ++y)
        {
            for (std::uint32_t x = 0; x < m_uiWidth; ++x)
            {
                for (std::uint32_t c = 0; c < m_uiComponents; ++c)
                    Set(x, y, c, random() & uiMask);
            }
        }
    }

    std::uint32_t Get(std::uint32_t x, std::uint32_t y, std::uint32_t c) const
    {
        const std::size_t i = Offset(x, y, c);
        if (m_uiBits <= 8) return m_vBytes.at(i);
        std::uint16_t uiValue;
        std::memcpy(&uiValue, m_vBytes.data() + i, sizeof(uiValue));
        return uiValue;
    }

    void Set(std::uint32_t x, std::uint32_t y, std::uint32_t c, std::uint32_t uiValue)
    {
        const std::size_t i = Offset(x, y, c);
        m_vBytes.at(i) = static_cast<unsigned char>(uiValue);
        if (m_uiBits <= 8) return;
        const auto uiShort = static_cast<std::uint16_t>(uiValue);
        std::memcpy(m_vBytes.data() + i, &uiShort, sizeof(uiShort));
    }

    // A record that points to the pixels and doesn't own them.
    SQmPicBuf Record()
    {
        SQmPicBuf pic = {};
        pic.m_uiWidth = m_uiWidth;
        pic.m_uiHeight = m_uiHeight;
        pic.m_uiWidthBytes = m_uiWidthBytes;
        pic.m_uiBits = static_cast<std::uint8_t>(m_uiBits);
        pic.m_uiComponents = m_uiComponents;
        pic.m_uiSize = std::uint64_t{m_uiHeight} * m_uiWidthBytes;
        pic.m_pData = m_vBytes.data();
        return pic;
    }

    std::size_t Offset(std::uint32_t x, std::uint32_t y, std::uint32_t c) const
    {
        const std::size_t uiBytes = m_uiBits > 8 ? 2 : 1;
        return std::size_t{y} * m_uiWidthBytes + (std::size_t{x} * m_uiComponents + c) * uiBytes;
    }

    std::uint32_t m_uiWidth, m_uiHeight, m_uiBits, m_uiComponents, m_uiWidthBytes;
    std::vector<unsigned char> m_vBytes;
};
