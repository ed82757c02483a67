#include "annexb.h"

#include <stdexcept>

namespace annexb
{
namespace
{

// Bits of a NAL unit without the bytes that keep start codes out of it.
class BitReader
{
public:
    explicit BitReader(const std::vector<std::uint8_t>& unit)
    {
        int nZeros = 0;
        for (std::size_t i = 1; i < unit.size(); ++i)
        {
            if (nZeros >= 2 && unit[i] == 3)
            {
                nZeros = 0;
                continue;
            }
            nZeros = unit[i] == 0 ? nZeros + 1 : 0;
            m_bytes.push_back(unit[i]);
        }
    }

    std::uint32_t Bits(int nCount)
    {
        std::uint32_t uiValue = 0;
        while (nCount-- > 0)
        {
            if (m_uiBit / 8 >= m_bytes.size())
            {
                throw std::runtime_error("a NAL unit ends too early");
            }
            uiValue = 2 * uiValue + ((m_bytes[m_uiBit / 8] >> (7 - m_uiBit % 8)) & 1);
            ++m_uiBit;
        }
        return uiValue;
    }
    bool Flag() { return Bits(1) != 0; }
    std::uint32_t Ue()
    {
        int nZeros = 0;
        while (!Flag())
        {
            ++nZeros;
        }
        return (1u << nZeros) - 1 + Bits(nZeros);
    }

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_uiBit = 0;
};

void SkipHrd(BitReader& bits)
{
    const std::uint32_t uiCount = bits.Ue() + 1;
    bits.Bits(8);
    for (std::uint32_t i = 0; i < uiCount; ++i)
    {
        bits.Ue();
        bits.Ue();
        bits.Bits(1);
    }
    bits.Bits(20);
}

void ReadVui(BitReader& bits, SequenceHeader& header)
{
    if (bits.Flag())
    {
        constexpr std::uint32_t c_uiExtended = 255;
        if (bits.Bits(8) == c_uiExtended)
        {
            header.uiSarWidth = bits.Bits(16);
            header.uiSarHeight = bits.Bits(16);
        }
    }
    if (bits.Flag())
    {
        bits.Bits(1);
    }
    header.bSignalType = bits.Flag();
    if (header.bSignalType)
    {
        bits.Bits(3);
        header.nFullRange = static_cast<int>(bits.Bits(1));
        if (bits.Flag())
        {
            bits.Bits(16);
            header.nColourMatrix = static_cast<int>(bits.Bits(8));
        }
    }
    if (bits.Flag())
    {
        bits.Ue();
        bits.Ue();
    }
    header.bTiming = bits.Flag();
    if (header.bTiming)
    {
        header.uiUnitsInTick = bits.Bits(32);
        header.uiTimeScale = bits.Bits(32);
        bits.Bits(1);
    }
    for (int i = 0; i < 2; ++i)
    {
        if (bits.Flag())
        {
            SkipHrd(bits);
        }
    }
}

bool HasChromaFormat(int nProfile)
{
    return nProfile == 100 || nProfile == 110 || nProfile == 122 || nProfile == 244;
}

}  // namespace

std::vector<Nal> Split(std::span<const std::uint8_t> bytes)
{
    std::vector<Nal> nals;
    for (std::size_t i = 0; i + 2 < bytes.size(); ++i)
    {
        if (bytes[i] != 0 || bytes[i + 1] != 0 || bytes[i + 2] != 1)
        {
            if (nals.empty() && bytes[i] != 0)
            {
                throw std::runtime_error("bytes before the first start code");
            }
            continue;
        }
        if (!nals.empty())
        {
            Nal& last = nals.back();
            last.unit.assign(bytes.begin() + static_cast<std::ptrdiff_t>(last.uiOffset + last.uiStartCode),
                             bytes.begin() + static_cast<std::ptrdiff_t>(i));
        }
        Nal nal;
        const bool bLong = i > 0 && bytes[i - 1] == 0;
        nal.uiOffset = bLong ? i - 1 : i;
        nal.uiStartCode = bLong ? 4 : 3;
        if (bLong && !nals.empty())
        {
            nals.back().unit.pop_back();
        }
        nals.push_back(nal);
        i += 2;
    }
    if (!nals.empty())
    {
        Nal& last = nals.back();
        last.unit.assign(bytes.begin() + static_cast<std::ptrdiff_t>(last.uiOffset + last.uiStartCode), bytes.end());
    }
    for (Nal& nal : nals)
    {
        if (nal.unit.empty())
        {
            throw std::runtime_error("a start code with nothing after it");
        }
        nal.nType = nal.unit[0] & 31;
        nal.nRefIdc = (nal.unit[0] >> 5) & 3;
    }
    return nals;
}

std::string Types(const std::vector<Nal>& nals)
{
    std::string text;
    for (const Nal& nal : nals)
    {
        text += (text.empty() ? "" : " ") + std::to_string(nal.nType);
    }
    return text;
}

SequenceHeader ReadSequenceHeader(const Nal& nal)
{
    BitReader bits(nal.unit);
    SequenceHeader header;
    header.nProfile = static_cast<int>(bits.Bits(8));
    header.nConstraints = static_cast<int>(bits.Bits(6));
    bits.Bits(2);
    header.nLevel = static_cast<int>(bits.Bits(8));
    header.nId = static_cast<int>(bits.Ue());
    if (HasChromaFormat(header.nProfile))
    {
        if (bits.Ue() != 1)
        {
            throw std::runtime_error("not 4:2:0");
        }
        bits.Ue();
        bits.Ue();
        header.bLossless = bits.Flag();
        if (bits.Flag())
        {
            throw std::runtime_error("scaling matrices weren't expected");
        }
    }
    bits.Ue();
    if (bits.Ue() == 0)
    {
        bits.Ue();
    }
    header.uiReferences = bits.Ue();
    bits.Bits(1);
    header.uiWidth = 16 * (bits.Ue() + 1);
    header.uiHeight = 16 * (bits.Ue() + 1);
    if (!bits.Flag())
    {
        throw std::runtime_error("interlaced");
    }
    bits.Bits(1);
    if (bits.Flag())
    {
        const std::uint32_t uiLeft = bits.Ue();
        header.uiWidth -= 2 * (uiLeft + bits.Ue());
        const std::uint32_t uiTop = bits.Ue();
        header.uiHeight -= 2 * (uiTop + bits.Ue());
    }
    header.bVui = bits.Flag();
    if (header.bVui)
    {
        ReadVui(bits, header);
    }
    return header;
}

bool UsesCabac(const Nal& nal)
{
    BitReader bits(nal.unit);
    bits.Ue();
    bits.Ue();
    return bits.Flag();
}

SliceHeader ReadSliceHeader(const Nal& nal)
{
    BitReader bits(nal.unit);
    SliceHeader header;
    header.uiFirstMacroblock = bits.Ue();
    switch (bits.Ue() % 5)
    {
    case 0:
        header.eKind = SliceKind::P;
        break;
    case 1:
        header.eKind = SliceKind::B;
        break;
    case 2:
        header.eKind = SliceKind::I;
        break;
    default:
        throw std::runtime_error("a kind of slice that wasn't expected");
    }
    return header;
}

}  // namespace annexb
