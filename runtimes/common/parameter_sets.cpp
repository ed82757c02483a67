#include "runtimes/common/parameter_sets.h"

#include <algorithm>
#include <numeric>

#include "runtimes/common/bit_writer.h"

namespace runtimes
{
namespace
{

constexpr std::uint8_t c_uiSpsHeader = 0x67;  // nal_ref_idc 3, type 7
constexpr std::uint8_t c_uiPpsHeader = 0x68;  // type 8
constexpr std::uint32_t c_uiHighProfile = 100;

void WriteSampleShape(BitWriter& bits, const DisplaySettings& display)
{
    constexpr std::uint32_t c_uiExtended = 255;  // both numbers follow
    std::uint64_t ui64Width = display.ui64SampleWidth;
    std::uint64_t ui64Height = display.ui64SampleHeight;
    const bool bStated = ui64Width != 0 && ui64Height != 0;
    bits.Flag(bStated);
    if (!bStated)
    {
        return;
    }
    const std::uint64_t ui64Common = std::gcd(ui64Width, ui64Height);
    ui64Width /= ui64Common;
    ui64Height /= ui64Common;
    // Numbers of 16 bits have to do, as near as they come.
    while (std::max(ui64Width, ui64Height) > 0xFFFF)
    {
        ui64Width = std::max<std::uint64_t>(ui64Width / 2, 1);
        ui64Height = std::max<std::uint64_t>(ui64Height / 2, 1);
    }
    bits.Bits(c_uiExtended, 8);
    bits.Bits(static_cast<std::uint32_t>(ui64Width), 16);
    bits.Bits(static_cast<std::uint32_t>(ui64Height), 16);
}

void WriteSignal(BitWriter& bits, const DisplaySettings& display)
{
    constexpr DisplaySettings::Signal c_unspecified = {5, false};
    bits.Flag(display.signal || display.colours);
    if (!display.signal && !display.colours)
    {
        return;
    }
    const DisplaySettings::Signal signal = display.signal.value_or(c_unspecified);
    bits.Bits(signal.uiFormat, 3);
    bits.Flag(signal.bFullRange);
    bits.Flag(display.colours.has_value());
    if (display.colours)
    {
        bits.Bits(display.colours->uiPrimaries, 8);
        bits.Bits(display.colours->uiTransfer, 8);
        bits.Bits(display.colours->uiMatrix, 8);
    }
}

// A tick is the time of a field, half a picture.
void WriteTiming(BitWriter& bits, const StreamSettings& settings)
{
    const std::uint32_t uiCommon = std::gcd(settings.uiFrameRateNum, settings.uiFrameRateDen);
    const std::uint64_t ui64Scale = std::uint64_t{settings.uiFrameRateNum} / uiCommon * 2;
    const bool bStated = ui64Scale <= 0xFFFFFFFF;
    bits.Flag(bStated);
    if (bStated)
    {
        bits.Bits(settings.uiFrameRateDen / uiCommon, 32);
        bits.Bits(static_cast<std::uint32_t>(ui64Scale), 32);
        bits.Flag(true);  // every picture takes as long
    }
}

void WriteVui(BitWriter& bits, const StreamSettings& settings)
{
    const DisplaySettings& display = settings.display;
    WriteSampleShape(bits, display);
    bits.Flag(display.isOverscanCropped.has_value());
    if (display.isOverscanCropped)
    {
        bits.Flag(*display.isOverscanCropped);
    }
    WriteSignal(bits, display);
    bits.Flag(display.chromaLocation.has_value());
    if (display.chromaLocation)
    {
        bits.Ue(*display.chromaLocation);  // of the top field
        bits.Ue(*display.chromaLocation);  // and of the bottom one
    }
    WriteTiming(bits, settings);
    bits.Flag(false);  // nal_hrd_parameters_present_flag
    bits.Flag(false);  // vcl_hrd_parameters_present_flag
    bits.Flag(false);  // pic_struct_present_flag
    bits.Flag(true);   // bitstream_restriction_flag: players show each picture at once
    bits.Flag(true);   // motion_vectors_over_pic_boundaries_flag
    bits.Ue(0);        // max_bytes_per_pic_denom: without a bound of its own
    bits.Ue(0);        // max_bits_per_mb_denom: the same
    bits.Ue(0);        // log2_max_mv_length_horizontal
    bits.Ue(0);        // log2_max_mv_length_vertical
    bits.Ue(0);        // max_num_reorder_frames
    bits.Ue(1);        // max_dec_frame_buffering
}

void WriteCropping(BitWriter& bits, const StreamSettings& settings)
{
    // In steps of two pixels, since chroma has half as many.
    const std::uint32_t uiRight = (16 * Macroblocks(settings.uiWidth) - settings.uiWidth) / 2;
    const std::uint32_t uiBottom = (16 * Macroblocks(settings.uiHeight) - settings.uiHeight) / 2;
    bits.Flag(uiRight != 0 || uiBottom != 0);
    if (uiRight != 0 || uiBottom != 0)
    {
        bits.Ue(0);
        bits.Ue(uiRight);
        bits.Ue(0);
        bits.Ue(uiBottom);
    }
}

std::vector<std::uint8_t> SequenceParameters(const StreamSettings& settings, std::uint8_t uiLevel)
{
    std::vector<std::uint8_t> payload;
    BitWriter bits(payload);
    bits.Bits(c_uiHighProfile, 8);
    bits.Bits(0, 8);  // constraint flags
    bits.Bits(uiLevel, 8);
    bits.Ue(settings.uiParameterSetId);
    bits.Ue(1);        // chroma_format_idc: 4:2:0
    bits.Ue(0);        // bit_depth_luma_minus8
    bits.Ue(0);        // bit_depth_chroma_minus8
    bits.Flag(false);  // qpprime_y_zero_transform_bypass_flag
    bits.Flag(false);  // seq_scaling_matrix_present_flag
    bits.Ue(c_nFrameNumberBits - 4);
    bits.Ue(2);        // pic_order_cnt_type: as decoded
    bits.Ue(1);        // max_num_ref_frames
    bits.Flag(false);  // gaps_in_frame_num_value_allowed_flag
    bits.Ue(Macroblocks(settings.uiWidth) - 1);
    bits.Ue(Macroblocks(settings.uiHeight) - 1);
    bits.Flag(true);  // frame_mbs_only_flag
    bits.Flag(true);  // direct_8x8_inference_flag
    WriteCropping(bits, settings);
    bits.Flag(true);  // vui_parameters_present_flag
    WriteVui(bits, settings);
    bits.End();
    return payload;
}

std::vector<std::uint8_t> PictureParameters(const StreamSettings& settings)
{
    std::vector<std::uint8_t> payload;
    BitWriter bits(payload);
    bits.Ue(settings.uiParameterSetId);
    bits.Ue(settings.uiParameterSetId);  // of the SPS
    bits.Flag(false);                    // entropy_coding_mode_flag: CAVLC
    bits.Flag(false);                    // bottom_field_pic_order_in_frame_present_flag
    bits.Ue(0);                          // num_slice_groups_minus1
    bits.Ue(0);                          // num_ref_idx_l0_default_active_minus1
    bits.Ue(0);                          // num_ref_idx_l1_default_active_minus1
    bits.Flag(false);                    // weighted_pred_flag
    bits.Bits(0, 2);                     // weighted_bipred_idc
    bits.Se(0);                          // pic_init_qp_minus26
    bits.Se(0);                          // pic_init_qs_minus26
    bits.Se(0);                          // chroma_qp_index_offset
    bits.Flag(true);                     // deblocking_filter_control_present_flag
    bits.Flag(false);                    // constrained_intra_pred_flag
    bits.Flag(false);                    // redundant_pic_cnt_present_flag
    bits.End();
    return payload;
}

}  // namespace

std::vector<std::uint8_t> MakeParameterSets(const StreamSettings& settings, std::uint8_t uiLevel)
{
    std::vector<std::uint8_t> stream;
    AppendNalUnit(stream, c_uiSpsHeader, SequenceParameters(settings, uiLevel));
    AppendNalUnit(stream, c_uiPpsHeader, PictureParameters(settings));
    return stream;
}

}  // namespace runtimes
