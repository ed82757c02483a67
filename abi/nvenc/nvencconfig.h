// Records that say how a session encodes.
#pragma once

#include <cstdint>

#include <guiddef.h>

#include "abi/nvenc/nvencenums.h"

// Quantisers, 0 to 51, by kind of picture.
struct NV_ENC_QP
{
    std::uint32_t qpInterP;
    std::uint32_t qpInterB;
    std::uint32_t qpIntra;
};

// Rate control. Bit rates in bits per second, buffer sizes in bits, 0 leaving the choice to the runtime.
struct NV_ENC_RC_PARAMS
{
    std::uint32_t version;
    NV_ENC_PARAMS_RC_MODE rateControlMode;
    NV_ENC_QP constQP;  // for NV_ENC_PARAMS_RC_CONSTQP
    std::uint32_t averageBitRate;
    std::uint32_t maxBitRate;
    std::uint32_t vbvBufferSize;
    std::uint32_t vbvInitialDelay;
    std::uint32_t enableMinQP : 1;        // minQP counts
    std::uint32_t enableMaxQP : 1;        // maxQP counts
    std::uint32_t enableInitialRCQP : 1;  // initialRCQP counts
    std::uint32_t enableAQ : 1;           // spatial adaptive quantisation
    std::uint32_t reservedBitField1 : 1;
    std::uint32_t enableLookahead : 1;  // lookaheadDepth counts
    std::uint32_t disableIadapt : 1;    // no key pictures where look-ahead sees a cut
    std::uint32_t disableBadapt : 1;    // fixed number of B pictures under look-ahead
    std::uint32_t enableTemporalAQ : 1;
    std::uint32_t zeroReorderDelay : 1;  // no delay for reordering
    std::uint32_t enableNonRefP : 1;
    std::uint32_t strictGOPTarget : 1;  // bit rate held over each group of pictures
    std::uint32_t aqStrength : 4;       // 1 to 15, 0 for automatic
    std::uint32_t reservedBitFields : 16;
    NV_ENC_QP minQP;
    NV_ENC_QP maxQP;
    NV_ENC_QP initialRCQP;
    std::uint32_t temporallayerIdxMask;  // which temporal layers temporalLayerQP sets
    std::uint8_t temporalLayerQP[8];
    std::uint8_t targetQuality;     // 0 to 51, 0 for automatic
    std::uint8_t targetQualityLSB;  // 1/256 of a step
    std::uint16_t lookaheadDepth;   // pictures
    std::uint32_t reserved1;
    NV_ENC_QP_MAP_MODE qpMapMode;
    std::uint32_t reserved[7];
};

// What the sequence header says about display, in the code numbers of the codecs.
struct NV_ENC_CONFIG_H264_VUI_PARAMETERS
{
    std::uint32_t overscanInfoPresentFlag;
    std::uint32_t overscanInfo;
    std::uint32_t videoSignalTypePresentFlag;
    std::uint32_t videoFormat;
    std::uint32_t videoFullRangeFlag;
    std::uint32_t colourDescriptionPresentFlag;
    std::uint32_t colourPrimaries;
    std::uint32_t transferCharacteristics;
    std::uint32_t colourMatrix;
    std::uint32_t chromaSampleLocationFlag;
    std::uint32_t chromaSampleLocationTop;
    std::uint32_t chromaSampleLocationBot;
    std::uint32_t bitstreamRestrictionFlag;
    std::uint32_t reserved[15];
};

using NV_ENC_CONFIG_HEVC_VUI_PARAMETERS = NV_ENC_CONFIG_H264_VUI_PARAMETERS;

// Settings of H.264.
struct NV_ENC_CONFIG_H264
{
    std::uint32_t enableTemporalSVC : 1;
    std::uint32_t enableStereoMVC : 1;
    std::uint32_t hierarchicalPFrames : 1;
    std::uint32_t hierarchicalBFrames : 1;
    std::uint32_t outputBufferingPeriodSEI : 1;
    std::uint32_t outputPictureTimingSEI : 1;
    std::uint32_t outputAUD : 1;
    std::uint32_t disableSPSPPS : 1;  // no parameter sets in the stream
    std::uint32_t outputFramePackingSEI : 1;
    std::uint32_t outputRecoveryPointSEI : 1;
    std::uint32_t enableIntraRefresh : 1;
    std::uint32_t enableConstrainedEncoding : 1;
    std::uint32_t repeatSPSPPS : 1;                     // parameter sets before every key picture
    std::uint32_t enableVFR : 1;                        // frame rate varies
    std::uint32_t enableLTR : 1;                        // long-term references
    std::uint32_t qpPrimeYZeroTransformBypassFlag : 1;  // lossless
    std::uint32_t useConstrainedIntraPred : 1;
    std::uint32_t reservedBitFields : 15;
    std::uint32_t level;      // NV_ENC_LEVEL
    std::uint32_t idrPeriod;  // pictures from one IDR picture to the next
    std::uint32_t separateColourPlaneFlag;
    std::uint32_t disableDeblockingFilterIDC;
    std::uint32_t numTemporalLayers;
    std::uint32_t spsId;
    std::uint32_t ppsId;
    NV_ENC_H264_ADAPTIVE_TRANSFORM_MODE adaptiveTransformMode;
    NV_ENC_H264_FMO_MODE fmoMode;
    NV_ENC_H264_BDIRECT_MODE bdirectMode;
    NV_ENC_H264_ENTROPY_CODING_MODE entropyCodingMode;
    NV_ENC_STEREO_PACKING_MODE stereoMode;
    std::uint32_t intraRefreshPeriod;
    std::uint32_t intraRefreshCnt;
    std::uint32_t maxNumRefFrames;  // 0 for automatic
    std::uint32_t sliceMode;        // 0 macroblocks, 1 bytes, 2 rows, 3 slices per picture
    std::uint32_t sliceModeData;    // the number that sliceMode is about
    NV_ENC_CONFIG_H264_VUI_PARAMETERS h264VUIParameters;
    std::uint32_t ltrNumFrames;
    std::uint32_t ltrTrustMode;
    std::uint32_t chromaFormatIDC;  // 1 for 4:2:0, 3 for 4:4:4
    std::uint32_t maxTemporalLayers;
    NV_ENC_BFRAME_REF_MODE useBFramesAsRef;
    std::uint32_t reserved1[269];
    void* reserved2[64];
};

// Settings of HEVC.
struct NV_ENC_CONFIG_HEVC
{
    std::uint32_t level;  // NV_ENC_LEVEL
    std::uint32_t tier;   // NV_ENC_TIER_HEVC_MAIN or NV_ENC_TIER_HEVC_HIGH
    NV_ENC_HEVC_CUSIZE minCUSize;
    NV_ENC_HEVC_CUSIZE maxCUSize;
    std::uint32_t useConstrainedIntraPred : 1;
    std::uint32_t disableDeblockAcrossSliceBoundary : 1;
    std::uint32_t outputBufferingPeriodSEI : 1;
    std::uint32_t outputPictureTimingSEI : 1;
    std::uint32_t outputAUD : 1;
    std::uint32_t enableLTR : 1;
    std::uint32_t disableSPSPPS : 1;
    std::uint32_t repeatSPSPPS : 1;
    std::uint32_t enableIntraRefresh : 1;
    std::uint32_t chromaFormatIDC : 2;      // 1 for 4:2:0, 3 for 4:4:4
    std::uint32_t pixelBitDepthMinus8 : 3;  // 0 or 2
    std::uint32_t reserved : 18;
    std::uint32_t idrPeriod;  // pictures from one IDR picture to the next
    std::uint32_t intraRefreshPeriod;
    std::uint32_t intraRefreshCnt;
    std::uint32_t maxNumRefFramesInDPB;
    std::uint32_t ltrNumFrames;
    std::uint32_t vpsId;
    std::uint32_t spsId;
    std::uint32_t ppsId;
    std::uint32_t sliceMode;
    std::uint32_t sliceModeData;
    std::uint32_t maxTemporalLayersMinus1;
    NV_ENC_CONFIG_HEVC_VUI_PARAMETERS hevcVUIParameters;
    std::uint32_t ltrTrustMode;
    NV_ENC_BFRAME_REF_MODE useBFramesAsRef;
    std::uint32_t reserved1[216];
    void* reserved2[64];
};

// Settings of H.264 for motion estimation alone.
struct NV_ENC_CONFIG_H264_MEONLY
{
    std::uint32_t disablePartition16x16 : 1;
    std::uint32_t disablePartition8x16 : 1;
    std::uint32_t disablePartition16x8 : 1;
    std::uint32_t disablePartition8x8 : 1;
    std::uint32_t disableIntraSearch : 1;
    std::uint32_t bStereoEnable : 1;
    std::uint32_t reserved : 26;
    std::uint32_t reserved1[255];
    void* reserved2[64];
};

// Settings of HEVC for motion estimation alone: none yet.
struct NV_ENC_CONFIG_HEVC_MEONLY
{
    std::uint32_t reserved[256];
    void* reserved1[64];
};

// Settings of the codec that the session was opened for.
union NV_ENC_CODEC_CONFIG
{
    NV_ENC_CONFIG_H264 h264Config;
    NV_ENC_CONFIG_HEVC hevcConfig;
    NV_ENC_CONFIG_H264_MEONLY h264MeOnlyConfig;
    NV_ENC_CONFIG_HEVC_MEONLY hevcMeOnlyConfig;
    std::uint32_t reserved[320];
};

// How to encode.
struct NV_ENC_CONFIG
{
    std::uint32_t version;
    GUID profileGUID;
    std::uint32_t gopLength;      // pictures from one key picture to the next, or NVENC_INFINITE_GOPLENGTH
    std::int32_t frameIntervalP;  // 1 without B pictures, 2 with one between references, ...; 0 for key pictures only
    std::uint32_t monoChromeEncoding;  // no colour
    NV_ENC_PARAMS_FRAME_FIELD_MODE frameFieldMode;
    NV_ENC_MV_PRECISION mvPrecision;
    NV_ENC_RC_PARAMS rcParams;
    NV_ENC_CODEC_CONFIG encodeCodecConfig;
    std::uint32_t reserved[278];
    void* reserved2[64];
};

// How many motion hints the caller gives per block.
struct NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE
{
    std::uint32_t numCandsPerBlk16x16 : 4;
    std::uint32_t numCandsPerBlk16x8 : 4;
    std::uint32_t numCandsPerBlk8x16 : 4;
    std::uint32_t numCandsPerBlk8x8 : 4;
    std::uint32_t reserved : 16;
    std::uint32_t reserved1[3];
};

// One motion hint. The fields are signed: a one-bit field that is set reads as -1.
struct NVENC_EXTERNAL_ME_HINT
{
    std::int32_t mvx : 12;
    std::int32_t mvy : 10;
    std::int32_t refidx : 5;
    std::int32_t dir : 1;
    std::int32_t partType : 2;
    std::int32_t lastofPart : 1;
    std::int32_t lastOfMB : 1;
};

// What an encoder is made with. encodeConfig may be null: the preset then decides everything.
struct NV_ENC_INITIALIZE_PARAMS
{
    std::uint32_t version;
    GUID encodeGUID;
    GUID presetGUID;
    std::uint32_t encodeWidth;  // pixels
    std::uint32_t encodeHeight;
    std::uint32_t darWidth;  // display aspect ratio
    std::uint32_t darHeight;
    std::uint32_t frameRateNum;  // pictures per second, as a fraction
    std::uint32_t frameRateDen;
    std::uint32_t enableEncodeAsync;        // completion by events
    std::uint32_t enablePTD;                // the runtime decides the picture types
    std::uint32_t reportSliceOffsets : 1;   // only without events
    std::uint32_t enableSubFrameWrite : 1;  // packets may be read before they are complete
    std::uint32_t enableExternalMEHints : 1;
    std::uint32_t enableMEOnlyMode : 1;
    std::uint32_t enableWeightedPrediction : 1;
    std::uint32_t enableOutputInVidmem : 1;  // packets stay in video memory
    std::uint32_t reservedBitFields : 26;
    std::uint32_t privDataSize;
    void* privData;
    NV_ENC_CONFIG* encodeConfig;
    std::uint32_t maxEncodeWidth;  // largest size that a later change may ask for
    std::uint32_t maxEncodeHeight;
    NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE maxMEHintCountsPerBlock[2];  // of each of the two reference lists
    std::uint32_t reserved[289];
    void* reserved2[64];
};

// A change to a running encoder.
struct NV_ENC_RECONFIGURE_PARAMS
{
    std::uint32_t version;
    NV_ENC_INITIALIZE_PARAMS reInitEncodeParams;
    std::uint32_t resetEncoder : 1;  // forget rate control and references
    std::uint32_t forceIDR : 1;      // begin again with an IDR picture
    std::uint32_t reserved : 30;
};

// What a preset stands for. The version words of the outer record and of presetCfg are set before the query.
struct NV_ENC_PRESET_CONFIG
{
    std::uint32_t version;
    NV_ENC_CONFIG presetCfg;
    std::uint32_t reserved1[255];
    void* reserved2[64];
};
