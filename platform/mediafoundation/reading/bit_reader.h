// Bits of a parameter set: fixed-length and Exp-Golomb numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mediafoundation
{

// Reading past the end gives zero bits and is remembered; a caller reads on and asks once at its end.
class BitReader
{
public:
    // The bytes of a NAL unit after its header; emulation prevention bytes are left out here.
    BitReader(const std::uint8_t* pData, std::size_t uiSize);

    bool HasOverrun() const { return m_bOverrun; }
    std::uint32_t Bit();
    std::uint32_t Bits(int nCount);  // up to 32
    std::uint32_t Ue();              // unsigned Exp-Golomb
    std::int32_t Se();               // signed Exp-Golomb

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_uiBit = 0;
    bool m_bOverrun = false;
};

}  // namespace mediafoundation
