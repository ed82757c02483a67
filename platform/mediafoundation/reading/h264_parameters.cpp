#include "platform/mediafoundation/reading/h264_parameters.h"

#include <algorithm>

#include "platform/mediafoundation/reading/bit_reader.h"

namespace mediafoundation
{
namespace
{

constexpr int NAL_SPS = 7;
constexpr std::uint32_t MAX_MACROBLOCKS = 16384 / 16;  // per side
constexpr int MAX_DECODED_PICTURES = 16;

bool HasChromaFormat(std::uint32_t uiProfile)
{
    constexpr std::uint32_t PROFILES[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
    return std::find(std::begin(PROFILES), std::end(PROFILES), uiProfile) != std::end(PROFILES);
}

void SkipScalingList(BitReader& bits, int nEntries)
{
    std::uint32_t uiLast = 8;
    std::uint32_t uiNext = 8;
    for (int i = 0; i < nEntries && !bits.HasOverrun(); ++i)
    {
        if (uiNext != 0)
        {
            uiNext = (uiLast + static_cast<std::uint32_t>(bits.Se())) & 0xff;  // wraps, also for deltas out of range
        }
        uiLast = uiNext == 0 ? uiLast : uiNext;
    }
}

void SkipHrd(BitReader& bits)
{
    const std::uint32_t uiCount = bits.Ue() + 1;
    bits.Bits(8);
    for (std::uint32_t i = 0; i < uiCount && i < 32 && !bits.HasOverrun(); ++i)
    {
        bits.Ue();
        bits.Ue();
        bits.Bit();
    }
    bits.Bits(20);
}

// max_num_reorder_frames of the usability information, if it is there.
std::optional<int> ReadReorderFrames(BitReader& bits)
{
    if (bits.Bit() != 0 && bits.Bits(8) == 255)  // aspect ratio
    {
        bits.Bits(32);
    }
    if (bits.Bit() != 0)  // overscan
    {
        bits.Bit();
    }
    if (bits.Bit() != 0)  // video signal type
    {
        bits.Bits(4);
        if (bits.Bit() != 0)
        {
            bits.Bits(24);
        }
    }
    if (bits.Bit() != 0)  // chroma location
    {
        bits.Ue();
        bits.Ue();
    }
    if (bits.Bit() != 0)  // timing
    {
        bits.Bits(32);
        bits.Bits(32);
        bits.Bit();
    }
    const bool bNalHrd = bits.Bit() != 0;
    if (bNalHrd)
    {
        SkipHrd(bits);
    }
    const bool bVclHrd = bits.Bit() != 0;
    if (bVclHrd)
    {
        SkipHrd(bits);
    }
    if (bNalHrd || bVclHrd)
    {
        bits.Bit();
    }
    bits.Bit();           // pic_struct_present_flag
    if (bits.Bit() == 0)  // bitstream_restriction_flag
    {
        return std::nullopt;
    }
    bits.Bit();
    bits.Ue();
    bits.Ue();
    bits.Ue();
    bits.Ue();
    const std::uint32_t uiReorder = bits.Ue();
    if (bits.HasOverrun() || uiReorder > MAX_DECODED_PICTURES)
    {
        return std::nullopt;
    }
    return static_cast<int>(uiReorder);
}

// What the level's decoded picture buffer holds, in pictures of this many macroblocks.
int DecodedPictures(std::uint32_t uiLevel, std::uint32_t uiMacroblocks)
{
    struct Limit
    {
        std::uint32_t m_uiLevel;
        std::uint32_t m_uiMacroblocks;
    };
    constexpr Limit LIMITS[] = {{10, 396},    {11, 900},    {12, 2376},   {13, 2376},   {20, 2376},
                                {21, 4752},   {22, 8100},   {30, 8100},   {31, 18000},  {32, 20480},
                                {40, 32768},  {41, 32768},  {42, 34816},  {50, 110400}, {51, 184320},
                                {52, 184320}, {60, 696320}, {61, 696320}, {62, 696320}};
    for (const Limit& limit : LIMITS)
    {
        if (limit.m_uiLevel == uiLevel)
        {
            const auto nPictures = static_cast<int>(limit.m_uiMacroblocks / uiMacroblocks);
            return std::clamp(nPictures, 1, MAX_DECODED_PICTURES);
        }
    }
    return MAX_DECODED_PICTURES;
}

}  // namespace

std::optional<H264Parameters> ParseSequenceParameterSet(const std::uint8_t* pData, std::size_t uiSize)
{
    if (uiSize < 4 || (pData[0] & 0x1f) != NAL_SPS)
    {
        return std::nullopt;
    }
    BitReader bits(pData + 1, uiSize - 1);
    H264Parameters parameters;
    parameters.m_uiProfile = bits.Bits(8);
    bits.Bits(8);  // constraint flags
    parameters.m_uiLevel = bits.Bits(8);
    bits.Ue();  // seq_parameter_set_id

    std::uint32_t uiChromaFormat = 1;
    bool bSeparatePlanes = false;
    if (HasChromaFormat(parameters.m_uiProfile))
    {
        uiChromaFormat = bits.Ue();
        bSeparatePlanes = uiChromaFormat == 3 && bits.Bit() != 0;
        bits.Ue();
        bits.Ue();
        bits.Bit();
        if (bits.Bit() != 0)  // scaling matrix
        {
            const int nLists = uiChromaFormat == 3 ? 12 : 8;
            for (int i = 0; i < nLists; ++i)
            {
                if (bits.Bit() != 0)
                {
                    SkipScalingList(bits, i < 6 ? 16 : 64);
                }
            }
        }
    }
    bits.Ue();  // log2_max_frame_num_minus4
    const std::uint32_t uiOrderType = bits.Ue();
    if (uiOrderType == 0)
    {
        bits.Ue();
    }
    else if (uiOrderType == 1)
    {
        bits.Bit();
        bits.Se();
        bits.Se();
        const std::uint32_t uiCycle = bits.Ue();
        for (std::uint32_t i = 0; i < uiCycle && !bits.HasOverrun(); ++i)
        {
            bits.Se();
        }
    }
    bits.Ue();  // max_num_ref_frames
    bits.Bit();
    const std::uint32_t uiColumns = bits.Ue() + 1;
    const std::uint32_t uiMapRows = bits.Ue() + 1;
    const bool bFramesOnly = bits.Bit() != 0;
    const std::uint32_t uiRows = uiMapRows * (bFramesOnly ? 1 : 2);
    if (!bFramesOnly)
    {
        bits.Bit();
    }
    bits.Bit();  // direct_8x8_inference_flag
    if (bits.HasOverrun() || uiChromaFormat > 3 || uiColumns > MAX_MACROBLOCKS || uiMapRows > MAX_MACROBLOCKS ||
        uiRows > MAX_MACROBLOCKS)
    {
        return std::nullopt;
    }
    std::uint64_t uiLeft = 0;
    std::uint64_t uiRight = 0;
    std::uint64_t uiTop = 0;
    std::uint64_t uiBottom = 0;
    if (bits.Bit() != 0)  // cropping
    {
        uiLeft = bits.Ue();
        uiRight = bits.Ue();
        uiTop = bits.Ue();
        uiBottom = bits.Ue();
    }
    const bool bHasChroma = uiChromaFormat != 0 && !bSeparatePlanes;
    const std::uint64_t uiCropX = bHasChroma && uiChromaFormat != 3 ? 2 : 1;
    const std::uint64_t uiCropY = (bHasChroma && uiChromaFormat == 1 ? 2U : 1U) * (bFramesOnly ? 1U : 2U);
    const std::uint64_t uiCropWidth = (uiLeft + uiRight) * uiCropX;
    const std::uint64_t uiCropHeight = (uiTop + uiBottom) * uiCropY;
    if (bits.HasOverrun() || uiCropWidth >= uiColumns * 16 || uiCropHeight >= uiRows * 16)
    {
        return std::nullopt;
    }
    parameters.m_uiWidth = static_cast<std::uint32_t>(uiColumns * 16 - uiCropWidth);
    parameters.m_uiHeight = static_cast<std::uint32_t>(uiRows * 16 - uiCropHeight);
    parameters.m_bCroppedAtTopLeft = uiLeft != 0 || uiTop != 0;

    const std::optional<int> told = bits.Bit() != 0 ? ReadReorderFrames(bits) : std::nullopt;
    const bool bDecodingOrder = uiOrderType == 2;
    parameters.m_nReorder =
        told.value_or(bDecodingOrder ? 0 : DecodedPictures(parameters.m_uiLevel, uiColumns * uiRows));
    return parameters;
}

std::vector<std::uint8_t> FindSequenceParameterSet(const std::uint8_t* pConfiguration, std::size_t uiSize)
{
    constexpr std::size_t AVCC_HEAD = 6;  // up to and with the number of parameter sets
    if (uiSize > AVCC_HEAD + 2 && pConfiguration[0] == 1)
    {
        const std::size_t uiLength = pConfiguration[6] * std::size_t{256} + pConfiguration[7];
        if ((pConfiguration[5] & 0x1f) == 0 || uiLength > uiSize - AVCC_HEAD - 2)
        {
            return {};
        }
        return {pConfiguration + AVCC_HEAD + 2, pConfiguration + AVCC_HEAD + 2 + uiLength};
    }
    for (std::size_t i = 0; i + 4 <= uiSize; ++i)
    {
        if (pConfiguration[i] == 0 && pConfiguration[i + 1] == 0 && pConfiguration[i + 2] == 1 &&
            (pConfiguration[i + 3] & 0x1f) == NAL_SPS)
        {
            std::size_t uiEnd = i + 3;
            while (uiEnd + 3 <= uiSize &&
                   !(pConfiguration[uiEnd] == 0 && pConfiguration[uiEnd + 1] == 0 && pConfiguration[uiEnd + 2] <= 1))
            {
                ++uiEnd;
            }
            uiEnd = uiEnd + 3 <= uiSize ? uiEnd : uiSize;
            return {pConfiguration + i + 3, pConfiguration + uiEnd};
        }
    }
    return {};
}

}  // namespace mediafoundation
