// Records that go with one picture: in, out, and what is known about it.
#pragma once

#include <cstdint>

#include "abi/nvenc/nvencconfig.h"
#include "abi/nvenc/nvencenums.h"
#include "abi/nvenc/nvencresource.h"

// One message to place in the stream. payloadSize in bytes.
struct NV_ENC_SEI_PAYLOAD
{
    std::uint32_t payloadSize;
    std::uint32_t payloadType;
    std::uint8_t* payload;
};

using NV_ENC_H264_SEI_PAYLOAD = NV_ENC_SEI_PAYLOAD;

// What one H.264 picture may ask for beyond the settings of its session.
struct NV_ENC_PIC_PARAMS_H264
{
    std::uint32_t displayPOCSyntax;
    std::uint32_t reserved3;
    std::uint32_t refPicFlag;
    std::uint32_t colourPlaneId;
    std::uint32_t forceIntraRefreshWithFrameCnt;
    std::uint32_t constrainedFrame : 1;
    std::uint32_t sliceModeDataUpdate : 1;
    std::uint32_t ltrMarkFrame : 1;
    std::uint32_t ltrUseFrames : 1;
    std::uint32_t reservedBitFields : 28;
    std::uint8_t* sliceTypeData;
    std::uint32_t sliceTypeArrayCnt;
    std::uint32_t seiPayloadArrayCnt;
    NV_ENC_SEI_PAYLOAD* seiPayloadArray;
    std::uint32_t sliceMode;
    std::uint32_t sliceModeData;
    std::uint32_t ltrMarkFrameIdx;
    std::uint32_t ltrUseFrameBitmap;
    std::uint32_t ltrUsageMode;
    std::uint32_t forceIntraSliceCount;
    std::uint32_t* forceIntraSliceIdx;
    std::uint32_t reserved[242];
    void* reserved2[61];
};

// What one HEVC picture may ask for beyond the settings of its session.
struct NV_ENC_PIC_PARAMS_HEVC
{
    std::uint32_t displayPOCSyntax;
    std::uint32_t refPicFlag;
    std::uint32_t temporalId;
    std::uint32_t forceIntraRefreshWithFrameCnt;
    std::uint32_t constrainedFrame : 1;
    std::uint32_t sliceModeDataUpdate : 1;
    std::uint32_t ltrMarkFrame : 1;
    std::uint32_t ltrUseFrames : 1;
    std::uint32_t reservedBitFields : 28;
    std::uint8_t* sliceTypeData;
    std::uint32_t sliceTypeArrayCnt;
    std::uint32_t sliceMode;
    std::uint32_t sliceModeData;
    std::uint32_t ltrMarkFrameIdx;
    std::uint32_t ltrUseFrameBitmap;
    std::uint32_t ltrUsageMode;
    std::uint32_t seiPayloadArrayCnt;
    std::uint32_t reserved;
    NV_ENC_SEI_PAYLOAD* seiPayloadArray;
    std::uint32_t reserved2[244];
    void* reserved3[61];
};

// The same of the codec that the session was opened for.
union NV_ENC_CODEC_PIC_PARAMS
{
    NV_ENC_PIC_PARAMS_H264 h264PicParams;
    NV_ENC_PIC_PARAMS_HEVC hevcPicParams;
    std::uint32_t reserved[256];
};

// One picture to encode, or the end of the stream (NV_ENC_PIC_FLAG_EOS).
struct NV_ENC_PIC_PARAMS
{
    std::uint32_t version;
    std::uint32_t inputWidth;  // pixels
    std::uint32_t inputHeight;
    std::uint32_t inputPitch;      // bytes per row, 0 for a registered surface
    std::uint32_t encodePicFlags;  // set of NV_ENC_PIC_FLAGS
    std::uint32_t frameIdx;
    std::uint64_t inputTimeStamp;  // any unit; returned with the packet
    std::uint64_t inputDuration;
    NV_ENC_INPUT_PTR inputBuffer;       // as mapped
    NV_ENC_OUTPUT_PTR outputBitstream;  // where the packet goes
    void* completionEvent;              // signalled when the packet is there; null without events
    NV_ENC_BUFFER_FORMAT bufferFmt;
    NV_ENC_PIC_STRUCT pictureStruct;
    NV_ENC_PIC_TYPE pictureType;  // counts only when the runtime leaves the types to the caller
    NV_ENC_CODEC_PIC_PARAMS codecPicParams;
    NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE meHintCountsPerBlock[2];
    NVENC_EXTERNAL_ME_HINT* meExternalHints;
    std::uint32_t reserved1[6];
    void* reserved2[2];
    std::int8_t* qpDeltaMap;
    std::uint32_t qpDeltaMapSize;
    std::uint32_t reservedBitFields;
    std::uint16_t meHintRefPicDist[2];
    std::uint32_t reserved3[286];
    void* reserved4[60];
};

// A packet to read. The first fields ask, the rest is the answer.
struct NV_ENC_LOCK_BITSTREAM
{
    std::uint32_t version;
    std::uint32_t doNotWait : 1;  // return NV_ENC_ERR_LOCK_BUSY instead of waiting
    std::uint32_t ltrFrame : 1;
    std::uint32_t getRCStats : 1;
    std::uint32_t reservedBitFields : 29;
    void* outputBitstream;        // the buffer to read
    std::uint32_t* sliceOffsets;  // array of the caller, or null
    std::uint32_t frameIdx;
    std::uint32_t hwEncodeStatus;
    std::uint32_t numSlices;
    std::uint32_t bitstreamSizeInBytes;  // length of the packet
    std::uint64_t outputTimeStamp;
    std::uint64_t outputDuration;
    void* bitstreamBufferPtr;  // the packet; valid until it is unlocked
    NV_ENC_PIC_TYPE pictureType;
    NV_ENC_PIC_STRUCT pictureStruct;
    std::uint32_t frameAvgQP;  // mean quantiser
    std::uint32_t frameSatd;
    std::uint32_t ltrFrameIdx;
    std::uint32_t ltrFrameBitmap;
    std::uint32_t reserved[13];
    std::uint32_t intraMBCount;
    std::uint32_t interMBCount;
    std::int32_t averageMVX;
    std::int32_t averageMVY;
    std::uint32_t reserved1[219];
    void* reserved2[64];
};

// Head of an output buffer in video memory, written by the runtime.
struct NV_ENC_ENCODE_OUT_PARAMS
{
    std::uint32_t version;
    std::uint32_t bitstreamSizeInBytes;
    std::uint32_t reserved[62];
};

// Progress of a packet that is still being written.
struct NV_ENC_STAT
{
    std::uint32_t version;
    std::uint32_t reserved;
    NV_ENC_OUTPUT_PTR outputBitStream;
    std::uint32_t bitStreamSize;
    std::uint32_t picType;
    std::uint32_t lastValidByteOffset;
    std::uint32_t sliceOffsets[16];
    std::uint32_t picIdx;
    std::uint32_t reserved1[233];
    void* reserved2[64];
};

// Asks for the parameter sets of a session.
struct NV_ENC_SEQUENCE_PARAM_PAYLOAD
{
    std::uint32_t version;
    std::uint32_t inBufferSize;  // bytes at spsppsBuffer
    std::uint32_t spsId;
    std::uint32_t ppsId;
    void* spsppsBuffer;
    std::uint32_t* outSPSPPSPayloadSize;  // receives the bytes written
    std::uint32_t reserved[250];
    void* reserved2[64];
};

// Two pictures to search for motion.
struct NV_ENC_MEONLY_PARAMS
{
    std::uint32_t version;
    std::uint32_t inputWidth;
    std::uint32_t inputHeight;
    NV_ENC_INPUT_PTR inputBuffer;
    NV_ENC_INPUT_PTR referenceFrame;
    NV_ENC_OUTPUT_PTR mvBuffer;
    NV_ENC_BUFFER_FORMAT bufferFmt;
    void* completionEvent;
    std::uint32_t viewID;
    NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE meHintCountsPerBlock[2];
    NVENC_EXTERNAL_ME_HINT* meExternalHints;
    std::uint32_t reserved1[243];
    void* reserved2[59];
};

// A motion vector, in quarters of a pixel.
struct NV_ENC_MVECTOR
{
    std::int16_t mvx;
    std::int16_t mvy;
};

// Motion of one macroblock.
struct NV_ENC_H264_MV_DATA
{
    NV_ENC_MVECTOR mv[4];
    std::uint8_t mbType;
    std::uint8_t partitionType;
    std::uint16_t reserved;
    std::uint32_t mbCost;
};

// Motion of one coding unit.
struct NV_ENC_HEVC_MV_DATA
{
    NV_ENC_MVECTOR mv[4];
    std::uint8_t cuType;
    std::uint8_t cuSize;
    std::uint8_t partitionMode;
    std::uint8_t lastCUInCTB;
};
