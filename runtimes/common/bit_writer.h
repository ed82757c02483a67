// Bits of a NAL unit, and the unit in its byte stream: H.264, clauses 7.3 and 9.1 and Annex B.
#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <vector>

namespace runtimes
{

// Appends bits to bytes that it doesn't own.
class BitWriter
{
public:
    explicit BitWriter(std::vector<std::uint8_t>& bytes) : m_bytes(bytes) {}

    // The lowest nBits of the number, 32 at most, the highest of them first.
    void Bits(std::uint32_t uiValue, int nBits)
    {
        while (nBits-- > 0)
        {
            if (m_nFree == 0)
            {
                m_bytes.push_back(0);
                m_nFree = 8;
            }
            --m_nFree;
            m_bytes.back() = static_cast<std::uint8_t>(m_bytes.back() | (((uiValue >> nBits) & 1) << m_nFree));
        }
    }
    void Flag(bool b) { Bits(b ? 1 : 0, 1); }

    // Exponential Golomb codes of numbers below 2^32 - 1 and, in absolute value, below 2^31.
    void Ue(std::uint32_t uiValue)
    {
        const int nBits = std::bit_width(uiValue + 1);
        Bits(0, nBits - 1);
        Bits(uiValue + 1, nBits);
    }
    void Se(std::int32_t nValue)
    {
        Ue(nValue > 0 ? 2 * static_cast<std::uint32_t>(nValue) - 1 : 2 * static_cast<std::uint32_t>(-nValue));
    }

    // Zeros up to the next whole byte.
    void Align() { m_nFree = 0; }
    // The one that ends the unit, and the zeros after it.
    void End()
    {
        Flag(true);
        Align();
    }

private:
    std::vector<std::uint8_t>& m_bytes;
    int m_nFree = 0;  // bits of the last byte
};

// Appends a NAL unit: a start code of four bytes, the header byte, and the payload with bytes of 3 wherever it would
// look like a start code otherwise. The payload's last byte isn't 0.
void AppendNalUnit(std::vector<std::uint8_t>& stream, std::uint8_t uiHeader, std::span<const std::uint8_t> payload);

}  // namespace runtimes
