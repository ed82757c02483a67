#include "parts/sequenceset.h"

#include <cstddef>
#include <vector>

#include "parts/nalwalk.h"

namespace qmhost
{
namespace
{

constexpr std::uint32_t MACROBLOCK = 16;        // pixels in width and height
constexpr std::uint32_t LARGEST_SIDE = 0xFFFF;  // that a sample entry can state
constexpr std::uint32_t MOST_CYCLE_OFFSETS = 255;
constexpr std::uint32_t MOST_EXTRA_BITS = 6;  // of a sample, above 8

// The bits of a NAL. Reading past the end gives zeros and is remembered.
class Bits
{
public:
    explicit Bits(std::span<const unsigned char> nal)
    {
        // In a row of 00 00 03 the last byte only keeps a start code from appearing.
        unsigned uiZeros = 0;
        for (const unsigned char uiByte : nal)
        {
            const bool bStuffing = uiZeros >= 2 && uiByte == 3;
            uiZeros = uiByte == 0 ? uiZeros + 1 : 0;
            if (!bStuffing) m_vBytes.push_back(uiByte);
        }
    }

    std::uint32_t Read(unsigned uiBits)
    {
        std::uint32_t uiValue = 0;
        for (; uiBits > 0; --uiBits)
            uiValue = (uiValue << 1) | (Bit() ? 1U : 0U);
        return uiValue;
    }
    bool Bit()
    {
        const std::size_t uiByte = m_uiNext / 8;
        if (uiByte >= m_vBytes.size())
        {
            m_bFailed = true;
            return false;
        }
        return ((m_vBytes[uiByte] >> (7 - m_uiNext++ % 8)) & 1) != 0;
    }
    // A number of any length: as many zeros as it has bits after its first 1. Longer ones than 32 bits are wrong here.
    std::uint32_t Number()
    {
        unsigned uiZeros = 0;
        while (!Bit() && !m_bFailed)
            ++uiZeros;
        if (uiZeros > 31) m_bFailed = true;
        return m_bFailed ? 0 : (1U << uiZeros) - 1 + Read(uiZeros);
    }
    void SkipScalingList(unsigned uiEntries)
    {
        std::int64_t nLast = 8;
        std::int64_t nNext = 8;
        for (unsigned i = 0; i < uiEntries && !m_bFailed; ++i)
        {
            if (nNext != 0)
            {
                const std::int64_t nCode = Number();  // 0, 1, -1, 2, -2 and so on
                const std::int64_t nDelta = nCode % 2 != 0 ? (nCode + 1) / 2 : -(nCode / 2);
                nNext = ((nLast + nDelta) % 256 + 256) % 256;
            }
            nLast = nNext == 0 ? nLast : nNext;
        }
    }
    bool Failed() const { return m_bFailed; }

private:
    std::vector<unsigned char> m_vBytes;
    std::size_t m_uiNext = 0;  // in bits
    bool m_bFailed = false;
};

// What only the profiles from High on state.
void ReadSampleForm(Bits& bits, SequenceSet& set)
{
    const std::uint32_t uiFormat = bits.Number();
    if (uiFormat == 3) bits.Bit();  // colours in planes of their own
    const std::uint32_t uiLuma = bits.Number();
    const std::uint32_t uiChroma = bits.Number();
    set.m_uiChromaFormat = static_cast<std::uint8_t>(uiFormat & 3U);
    set.m_uiLumaBits = static_cast<std::uint8_t>(uiLuma <= MOST_EXTRA_BITS ? 8 + uiLuma : 8);
    set.m_uiChromaBits = static_cast<std::uint8_t>(uiChroma <= MOST_EXTRA_BITS ? 8 + uiChroma : 8);
    bits.Bit();               // lossless coding
    if (!bits.Bit()) return;  // no scaling matrices
    const unsigned uiLists = uiFormat == 3 ? 12 : 8;
    for (unsigned i = 0; i < uiLists; ++i)
        if (bits.Bit()) bits.SkipScalingList(i < 6 ? 16 : 64);
}

void SkipPictureOrder(Bits& bits)
{
    const std::uint32_t uiKind = bits.Number();
    if (uiKind == 0) bits.Number();
    if (uiKind != 1) return;
    bits.Bit();
    bits.Number();
    bits.Number();
    const std::uint32_t uiOffsets = bits.Number();
    for (std::uint32_t i = 0; i < uiOffsets && i < MOST_CYCLE_OFFSETS; ++i)
        bits.Number();
}

// Pixels of a side that are shown. Nothing when they can't be.
std::optional<std::uint32_t> ShownSide(std::uint64_t uiCoded, std::uint64_t uiCropped)
{
    if (uiCropped >= uiCoded || uiCoded - uiCropped > LARGEST_SIDE) return std::nullopt;
    return static_cast<std::uint32_t>(uiCoded - uiCropped);
}

}  // namespace

bool SequenceSet::HasSampleForm() const
{
    return m_uiProfile == 100 || m_uiProfile == 110 || m_uiProfile == 122 || m_uiProfile == 244;
}

std::optional<SequenceSet> ReadSequenceSet(std::span<const unsigned char> nal)
{
    if (nal.size() < 4 || (nal[0] & 0x1FU) != NAL_SEQUENCE_SET) return std::nullopt;
    SequenceSet set{0, 0, nal[1], 1, 8, 8};
    Bits bits(nal.subspan(4));  // after the header, profile, compatibility and level
    bits.Number();              // of the set
    if (set.HasSampleForm() || set.m_uiProfile == 44) ReadSampleForm(bits, set);
    bits.Number();  // bits of a picture's number
    SkipPictureOrder(bits);
    bits.Number();  // reference pictures
    bits.Bit();     // gaps in their numbers
    const std::uint64_t uiColumns = std::uint64_t{bits.Number()} + 1;
    const std::uint64_t uiRows = std::uint64_t{bits.Number()} + 1;
    const bool bFramesOnly = bits.Bit();
    if (!bFramesOnly) bits.Bit();
    bits.Bit();
    std::uint64_t auCrop[4] = {};  // left, right, top, bottom
    if (bits.Bit())
        for (std::uint64_t& uiCrop : auCrop)
            uiCrop = bits.Number();
    if (bits.Failed()) return std::nullopt;

    // Sides are cropped in steps of a chroma sample, and of a row of each field.
    const std::uint64_t uiStepX = set.m_uiChromaFormat == 1 || set.m_uiChromaFormat == 2 ? 2 : 1;
    const std::uint64_t uiFields = bFramesOnly ? 1 : 2;
    const std::uint64_t uiStepY = (set.m_uiChromaFormat == 1 ? 2 : 1) * uiFields;
    const auto uiWidth = ShownSide(uiColumns * MACROBLOCK, (auCrop[0] + auCrop[1]) * uiStepX);
    const auto uiHeight = ShownSide(uiRows * MACROBLOCK * uiFields, (auCrop[2] + auCrop[3]) * uiStepY);
    if (!uiWidth || !uiHeight) return std::nullopt;
    set.m_uiWidth = *uiWidth;
    set.m_uiHeight = *uiHeight;
    return set;
}

}  // namespace qmhost
