// A block of bytes at any alignment, with guards that show writes outside of it. A read outside isn't seen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

#include "support/bytes.h"

class CGuardedBlock
{
public:
    // The block begins uiShift bytes after the start of an allocation. Guards and contents are random.
    CGuardedBlock(std::size_t uiSize, std::size_t uiShift, std::mt19937& random)
        : m_uiFront(uiShift + g_uiGuard), m_uiSize(uiSize), m_vBytes(uiShift + uiSize + 2 * g_uiGuard)
    {
        for (std::uint8_t& b : m_vBytes)
        {
            b = static_cast<std::uint8_t>(random());
        }
        m_vBefore = m_vBytes;
    }

    std::uint8_t* Data() { return m_vBytes.data() + m_uiFront; }
    std::vector<std::uint8_t> Contents() const
    {
        const auto first = m_vBytes.begin() + static_cast<std::ptrdiff_t>(m_uiFront);
        return {first, first + static_cast<std::ptrdiff_t>(m_uiSize)};
    }

    bool GuardsAreUnchanged() const
    {
        for (std::size_t ui = 0; ui < m_vBytes.size(); ++ui)
        {
            const bool bInside = ui >= m_uiFront && ui < m_uiFront + m_uiSize;
            if (!bInside && m_vBytes[ui] != m_vBefore[ui]) return false;
        }
        return true;
    }

private:
    static constexpr std::size_t g_uiGuard = 64;
    std::size_t m_uiFront;
    std::size_t m_uiSize;
    std::vector<std::uint8_t> m_vBytes;
    std::vector<std::uint8_t> m_vBefore;
};
