// The declarations of the encoder interface against the bytes that a runtime sees. Sizes and offsets are asserted where
// the records are declared; here is what a compiler can't be asked: the places of bit fields, and bytes in memory.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "abi/nvenc/nvEncodeAPI.h"

namespace
{
// The 32 bits at uiOffset of a record.
template <typename T>
std::uint32_t UnitAt(const T& record, std::size_t uiOffset)
{
    std::uint32_t uiUnit = 0;
    std::memcpy(&uiUnit, reinterpret_cast<const unsigned char*>(&record) + uiOffset, sizeof(uiUnit));
    return uiUnit;
}

std::string BytesOf(const GUID& guid)
{
    std::string strBytes;
    for (std::size_t i = 0; i < sizeof(guid); ++i)
    {
        const unsigned uiByte = reinterpret_cast<const unsigned char*>(&guid)[i];
        strBytes += "0123456789ABCDEF"[uiByte / 16];
        strBytes += "0123456789ABCDEF"[uiByte % 16];
    }
    return strBytes;
}
}  // namespace

// A field filled with ones has to fill uiWidth bits from uiBit on, of the unit at uiOffset, and nothing else.
#define EXPECT_BITS(record_type, field, uiOffset, uiBit, uiWidth)                                                      \
    do                                                                                                                 \
    {                                                                                                                  \
        record_type record;                                                                                            \
        std::memset(static_cast<void*>(&record), 0, sizeof(record));                                                   \
        record.field = 0;                                                                                              \
        record.field = ~record.field;                                                                                  \
        const std::uint32_t uiOnes = static_cast<std::uint32_t>((std::uint64_t{1} << (uiWidth)) - 1) << (uiBit);       \
        EXPECT_EQ(UnitAt(record, uiOffset), uiOnes) << #record_type "::" #field;                                       \
        record.field = 0;                                                                                              \
        EXPECT_EQ(UnitAt(record, uiOffset), 0u) << #record_type "::" #field;                                           \
    } while (false)

TEST(AbiTest, BitFieldsOfRcParamsLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableMinQP, 36, 0, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableMaxQP, 36, 1, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableInitialRCQP, 36, 2, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableAQ, 36, 3, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, reservedBitField1, 36, 4, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableLookahead, 36, 5, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, disableIadapt, 36, 6, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, disableBadapt, 36, 7, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableTemporalAQ, 36, 8, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, zeroReorderDelay, 36, 9, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, enableNonRefP, 36, 10, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, strictGOPTarget, 36, 11, 1);
    EXPECT_BITS(NV_ENC_RC_PARAMS, aqStrength, 36, 12, 4);
    EXPECT_BITS(NV_ENC_RC_PARAMS, reservedBitFields, 36, 16, 16);
}

TEST(AbiTest, BitFieldsOfExternalMeHintCountsPerBlocktypeLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE, numCandsPerBlk16x16, 0, 0, 4);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE, numCandsPerBlk16x8, 0, 4, 4);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE, numCandsPerBlk8x16, 0, 8, 4);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE, numCandsPerBlk8x8, 0, 12, 4);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE, reserved, 0, 16, 16);
}

TEST(AbiTest, BitFieldsOfExternalMeHintLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, mvx, 0, 0, 12);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, mvy, 0, 12, 10);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, refidx, 0, 22, 5);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, dir, 0, 27, 1);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, partType, 0, 28, 2);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, lastofPart, 0, 30, 1);
    EXPECT_BITS(NVENC_EXTERNAL_ME_HINT, lastOfMB, 0, 31, 1);
}

TEST(AbiTest, BitFieldsOfConfigH264LieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_CONFIG_H264, enableTemporalSVC, 0, 0, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, enableStereoMVC, 0, 1, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, hierarchicalPFrames, 0, 2, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, hierarchicalBFrames, 0, 3, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, outputBufferingPeriodSEI, 0, 4, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, outputPictureTimingSEI, 0, 5, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, outputAUD, 0, 6, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, disableSPSPPS, 0, 7, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, outputFramePackingSEI, 0, 8, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, outputRecoveryPointSEI, 0, 9, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, enableIntraRefresh, 0, 10, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, enableConstrainedEncoding, 0, 11, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, repeatSPSPPS, 0, 12, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, enableVFR, 0, 13, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, enableLTR, 0, 14, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, qpPrimeYZeroTransformBypassFlag, 0, 15, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, useConstrainedIntraPred, 0, 16, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264, reservedBitFields, 0, 17, 15);
}

TEST(AbiTest, BitFieldsOfConfigHevcLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, useConstrainedIntraPred, 16, 0, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, disableDeblockAcrossSliceBoundary, 16, 1, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, outputBufferingPeriodSEI, 16, 2, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, outputPictureTimingSEI, 16, 3, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, outputAUD, 16, 4, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, enableLTR, 16, 5, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, disableSPSPPS, 16, 6, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, repeatSPSPPS, 16, 7, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, enableIntraRefresh, 16, 8, 1);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, chromaFormatIDC, 16, 9, 2);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, pixelBitDepthMinus8, 16, 11, 3);
    EXPECT_BITS(NV_ENC_CONFIG_HEVC, reserved, 16, 14, 18);
}

TEST(AbiTest, BitFieldsOfConfigH264MeonlyLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, disablePartition16x16, 0, 0, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, disablePartition8x16, 0, 1, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, disablePartition16x8, 0, 2, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, disablePartition8x8, 0, 3, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, disableIntraSearch, 0, 4, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, bStereoEnable, 0, 5, 1);
    EXPECT_BITS(NV_ENC_CONFIG_H264_MEONLY, reserved, 0, 6, 26);
}

TEST(AbiTest, BitFieldsOfInitializeParamsLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, reportSliceOffsets, 68, 0, 1);
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, enableSubFrameWrite, 68, 1, 1);
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, enableExternalMEHints, 68, 2, 1);
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, enableMEOnlyMode, 68, 3, 1);
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, enableWeightedPrediction, 68, 4, 1);
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, enableOutputInVidmem, 68, 5, 1);
    EXPECT_BITS(NV_ENC_INITIALIZE_PARAMS, reservedBitFields, 68, 6, 26);
}

TEST(AbiTest, BitFieldsOfReconfigureParamsLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_RECONFIGURE_PARAMS, resetEncoder, 1816, 0, 1);
    EXPECT_BITS(NV_ENC_RECONFIGURE_PARAMS, forceIDR, 1816, 1, 1);
    EXPECT_BITS(NV_ENC_RECONFIGURE_PARAMS, reserved, 1816, 2, 30);
}

TEST(AbiTest, BitFieldsOfPicParamsH264LieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_PIC_PARAMS_H264, constrainedFrame, 20, 0, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_H264, sliceModeDataUpdate, 20, 1, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_H264, ltrMarkFrame, 20, 2, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_H264, ltrUseFrames, 20, 3, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_H264, reservedBitFields, 20, 4, 28);
}

TEST(AbiTest, BitFieldsOfPicParamsHevcLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_PIC_PARAMS_HEVC, constrainedFrame, 16, 0, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_HEVC, sliceModeDataUpdate, 16, 1, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_HEVC, ltrMarkFrame, 16, 2, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_HEVC, ltrUseFrames, 16, 3, 1);
    EXPECT_BITS(NV_ENC_PIC_PARAMS_HEVC, reservedBitFields, 16, 4, 28);
}

TEST(AbiTest, BitFieldsOfLockBitstreamLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_LOCK_BITSTREAM, doNotWait, 4, 0, 1);
    EXPECT_BITS(NV_ENC_LOCK_BITSTREAM, ltrFrame, 4, 1, 1);
    EXPECT_BITS(NV_ENC_LOCK_BITSTREAM, getRCStats, 4, 2, 1);
    EXPECT_BITS(NV_ENC_LOCK_BITSTREAM, reservedBitFields, 4, 3, 29);
}

TEST(AbiTest, BitFieldsOfLockInputBufferLieWhereTheRuntimeReadsThem)
{
    EXPECT_BITS(NV_ENC_LOCK_INPUT_BUFFER, doNotWait, 4, 0, 1);
    EXPECT_BITS(NV_ENC_LOCK_INPUT_BUFFER, reservedBitFields, 4, 1, 31);
}

TEST(AbiTest, GuidsHaveTheirBytesInMemory)
{
    const std::pair<const GUID*, const char*> aGuids[] = {
        {&NV_ENC_CODEC_H264_GUID, "6227C86B634EA44CAA851E50F321F6BF"},
        {&NV_ENC_CODEC_HEVC_GUID, "88DC0C7922457B4D9425BDA9975F7603"},
        {&NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID, "E7F8D6BF3C2341438B3E4818523803F4"},
        {&NV_ENC_H264_PROFILE_BASELINE_GUID, "AABC2707C478834C8C2FEF3DFF267C6A"},
        {&NV_ENC_H264_PROFILE_MAIN_GUID, "D4C1B560FE67904794D5C4726D7B6E6D"},
        {&NV_ENC_H264_PROFILE_HIGH_GUID, "09C3CBE77A4F894BAF2AD537C92BE310"},
        {&NV_ENC_H264_PROFILE_HIGH_444_GUID, "CB63C67A98A56049B844339B261A7D52"},
        {&NV_ENC_H264_PROFILE_STEREO_GUID, "F57B8440F73301469084E8FE3C1DB8B7"},
        {&NV_ENC_H264_PROFILE_SVC_TEMPORAL_SCALABILTY, "208D78CEA9AA184392BBAC7E858C8D36"},
        {&NV_ENC_H264_PROFILE_PROGRESSIVE_HIGH_GUID, "ACAF05B42BF37B4189C49ABEED3E5978"},
        {&NV_ENC_H264_PROFILE_CONSTRAINED_HIGH_GUID, "87BDC1AE5BE8F24884C398BCA6285072"},
        {&NV_ENC_HEVC_PROFILE_MAIN_GUID, "9AC314B55BB5FA40878FF1253B4DFDEC"},
        {&NV_ENC_HEVC_PROFILE_MAIN10_GUID, "6C2B4DFA5B3A1A4180180A3F5E3C9BE5"},
        {&NV_ENC_HEVC_PROFILE_FREXT_GUID, "B532EC514C1B3C459CBDB616BD621341"},
        {&NV_ENC_PRESET_DEFAULT_GUID, "05B7DFB2BD4E494C9B5F24A777D3E587"},
        {&NV_ENC_PRESET_HP_GUID, "9FC5E46046E88444A56DCD45BE9FDDF6"},
        {&NV_ENC_PRESET_HQ_GUID, "1DA7DB347BA78F4B9C3EB6D5DA24C012"},
        {&NV_ENC_PRESET_BD_GUID, "50E4E382BBBD404E989C82A90DF9EF32"},
        {&NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID, "C521DF49FA6DEB4F97876ACC9EFFB726"},
        {&NV_ENC_PRESET_LOW_LATENCY_HQ_GUID, "B933F7C597EAF94CBEC2BF78A74FD105"},
        {&NV_ENC_PRESET_LOW_LATENCY_HP_GUID, "442A0867AD4BFA4898EA93056D150A58"},
        {&NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID, "16B7BFD504C6E7449BB8DEA5510FC3AC"},
        {&NV_ENC_PRESET_LOSSLESS_HP_GUID, "E798991464231D4182EF179888093409"},
    };
    for (const auto& [pGuid, pszBytes] : aGuids)
        EXPECT_EQ(BytesOf(*pGuid), pszBytes);
}
