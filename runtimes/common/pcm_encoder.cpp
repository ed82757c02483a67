#include "runtimes/common/pcm_encoder.h"

#include <algorithm>

#include "runtimes/common/bit_writer.h"
#include "runtimes/common/h264_levels.h"
#include "runtimes/common/parameter_sets.h"

namespace runtimes
{
namespace
{

constexpr std::uint8_t c_uiDelimiterHeader = 0x09;
constexpr std::uint8_t c_uiIntraOnly = 0x10;       // the delimiter's payload: I slices follow
constexpr std::uint8_t c_uiSliceHeader = 0x61;     // nal_ref_idc 3, type 1
constexpr std::uint8_t c_uiIdrSliceHeader = 0x65;  // type 5
constexpr std::uint32_t c_uiIntraSlice = 7;        // and all slices of the picture are
constexpr std::uint32_t c_uiPcmMacroblock = 25;
constexpr std::uint32_t c_uiMacroblockBytes = 386;  // two of the kind, padded, and 384 samples
constexpr std::uint32_t c_uiHeaderBytes = 64;       // more than a slice's own
constexpr std::uint32_t c_uiSide = 16;

// A picture of nothing but zeros has a byte that keeps start codes out for every two of its own.
std::uint64_t LargestPicture(const StreamSettings& settings)
{
    const std::uint64_t ui64Macroblocks = std::uint64_t{Macroblocks(settings.uiWidth)} * Macroblocks(settings.uiHeight);
    return c_uiHeaderBytes + ui64Macroblocks * c_uiMacroblockBytes * 3 / 2;
}

std::uint8_t LevelOf(const StreamSettings& settings)
{
    if (settings.uiLevel != 0)
    {
        return static_cast<std::uint8_t>(settings.uiLevel);
    }
    return LowestH264Level({Macroblocks(settings.uiWidth), Macroblocks(settings.uiHeight), settings.uiFrameRateNum,
                            settings.uiFrameRateDen, LargestPicture(settings)})
        .uiLevel;
}

const StreamSettings& Checked(const StreamSettings& settings)
{
    const auto isSize = [](std::uint32_t uiSize) { return uiSize != 0 && uiSize % 2 == 0; };
    if (!isSize(settings.uiWidth) || !isSize(settings.uiHeight))
    {
        throw EncoderError("not a size of 4:2:0 pictures");
    }
    if (settings.uiFrameRateNum == 0 || settings.uiFrameRateDen == 0)
    {
        throw EncoderError("not a picture rate");
    }
    return settings;
}

}  // namespace

PcmEncoder::PcmEncoder(const StreamSettings& settings)
    : m_settings(Checked(settings)), m_headers(MakeParameterSets(settings, LevelOf(settings)))
{}

std::optional<Packet> PcmEncoder::Encode(const Nv12View& picture, PictureKind eKind, const PictureInfo& info)
{
    const bool bIdr = m_bFirst || eKind == PictureKind::Idr;
    Packet packet;
    packet.eKind = bIdr ? PictureKind::Idr : PictureKind::I;
    packet.info = info;
    if (m_settings.bDelimiters)
    {
        AppendNalUnit(packet.bytes, c_uiDelimiterHeader, {&c_uiIntraOnly, 1});
    }
    if (m_settings.headers.AreDue(packet.eKind, m_bFirst, info))
    {
        packet.bytes.insert(packet.bytes.end(), m_headers.begin(), m_headers.end());
    }
    WriteSlice(picture, bIdr);
    packet.sliceOffsets.push_back(static_cast<std::uint32_t>(packet.bytes.size()));
    AppendNalUnit(packet.bytes, bIdr ? c_uiIdrSliceHeader : c_uiSliceHeader, m_slice);
    m_bFirst = false;
    return packet;
}

void PcmEncoder::WriteSlice(const Nv12View& picture, bool bIdr)
{
    m_uiFrameNumber = bIdr ? 0 : m_uiFrameNumber + 1;
    const std::uint32_t uiColumns = Macroblocks(m_settings.uiWidth);
    const std::uint32_t uiRows = Macroblocks(m_settings.uiHeight);
    m_slice.clear();
    m_slice.reserve(c_uiHeaderBytes + std::size_t{uiColumns} * uiRows * c_uiMacroblockBytes);

    BitWriter bits(m_slice);
    bits.Ue(0);  // first_mb_in_slice
    bits.Ue(c_uiIntraSlice);
    bits.Ue(m_settings.uiParameterSetId);
    bits.Bits(m_uiFrameNumber, c_nFrameNumberBits);  // without what is above them
    if (bIdr)
    {
        // Two IDR pictures in a row must differ in it.
        bits.Ue(m_uiIdrNumber++ % 2);
        bits.Flag(false);  // no_output_of_prior_pics_flag
        bits.Flag(false);  // long_term_reference_flag
    }
    else
    {
        bits.Flag(false);  // adaptive_ref_pic_marking_mode_flag
    }
    bits.Se(0);  // slice_qp_delta
    bits.Ue(1);  // disable_deblocking_filter_idc

    for (std::uint32_t uiRow = 0; uiRow < uiRows; ++uiRow)
    {
        for (std::uint32_t uiColumn = 0; uiColumn < uiColumns; ++uiColumn)
        {
            bits.Ue(c_uiPcmMacroblock);
            bits.Align();
            WriteSamples(picture, uiColumn, uiRow);
        }
    }
    bits.End();
}

// Where the macroblock lies partly outside of the picture, its last column and row are repeated.
void PcmEncoder::WriteSamples(const Nv12View& picture, std::uint32_t uiColumn, std::uint32_t uiRow)
{
    const std::uint32_t uiLeft = c_uiSide * uiColumn;
    const std::uint32_t uiTop = c_uiSide * uiRow;
    const std::uint32_t uiWidth = std::min(c_uiSide, m_settings.uiWidth - uiLeft);
    const std::uint32_t uiHeight = std::min(c_uiSide, m_settings.uiHeight - uiTop);
    const std::size_t uiBegin = m_slice.size();
    m_slice.resize(uiBegin + c_uiSide * c_uiSide * 3 / 2);
    std::uint8_t* pOut = &m_slice[uiBegin];
    for (std::uint32_t y = 0; y < c_uiSide; ++y)
    {
        const std::uint8_t* const pIn =
            picture.pLuma + picture.uiLumaPitch * (uiTop + std::min(y, uiHeight - 1)) + uiLeft;
        pOut = std::copy_n(pIn, uiWidth, pOut);
        pOut = std::fill_n(pOut, c_uiSide - uiWidth, pIn[uiWidth - 1]);
    }
    for (std::uint32_t uiPlane = 0; uiPlane < 2; ++uiPlane)  // Cb, then Cr
    {
        for (std::uint32_t y = 0; y < c_uiSide / 2; ++y)
        {
            const std::uint8_t* const pIn = picture.pChroma +
                                            picture.uiChromaPitch * (uiTop / 2 + std::min(y, uiHeight / 2 - 1)) +
                                            uiLeft + uiPlane;
            for (std::uint32_t x = 0; x < c_uiSide / 2; ++x)
            {
                *pOut++ = pIn[std::size_t{2} * std::min(x, uiWidth / 2 - 1)];
            }
        }
    }
}

}  // namespace runtimes
