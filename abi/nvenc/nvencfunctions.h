// The entries of the runtime, their order in the function table, and the two names that its file exports.
#pragma once

#include <cstdint>

#include <guiddef.h>

#include "abi/nvenc/nvencconfig.h"
#include "abi/nvenc/nvencpicture.h"
#include "abi/nvenc/nvencresource.h"

// The interface asks for __stdcall on Windows. On the 64-bit systems this is built for there is one convention only,
// so no decoration is needed, and a narrower build must not pass unnoticed.
static_assert(sizeof(void*) == 8);

using PNVENCOPENENCODESESSION = NVENCSTATUS (*)(void* device, std::uint32_t deviceType, void** encoder);
using PNVENCGETENCODEGUIDCOUNT = NVENCSTATUS (*)(void* encoder, std::uint32_t* encodeGUIDCount);
using PNVENCGETENCODEPRESETCOUNT = NVENCSTATUS (*)(void* encoder, GUID encodeGUID, std::uint32_t* count);
using PNVENCGETENCODEPRESETGUIDS = NVENCSTATUS (*)(void* encoder, GUID encodeGUID, GUID* guids,
                                                   std::uint32_t guidArraySize, std::uint32_t* count);
using PNVENCGETENCODEGUIDS = NVENCSTATUS (*)(void* encoder, GUID* GUIDs, std::uint32_t guidArraySize,
                                             std::uint32_t* GUIDCount);
using PNVENCGETINPUTFORMATCOUNT = NVENCSTATUS (*)(void* encoder, GUID encodeGUID, std::uint32_t* inputFmtCount);
using PNVENCGETINPUTFORMATS = NVENCSTATUS (*)(void* encoder, GUID encodeGUID, NV_ENC_BUFFER_FORMAT* inputFmts,
                                              std::uint32_t inputFmtArraySize, std::uint32_t* inputFmtCount);
using PNVENCGETENCODECAPS = NVENCSTATUS (*)(void* encoder, GUID encodeGUID, NV_ENC_CAPS_PARAM* capsParam, int* capsVal);
using PNVENCGETENCODEPRESETCONFIG = NVENCSTATUS (*)(void* encoder, GUID encodeGUID, GUID presetGUID,
                                                    NV_ENC_PRESET_CONFIG* presetConfig);
using PNVENCINITIALIZEENCODER = NVENCSTATUS (*)(void* encoder, NV_ENC_INITIALIZE_PARAMS* createEncodeParams);
using PNVENCCREATEINPUTBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_CREATE_INPUT_BUFFER* createInputBufferParams);
using PNVENCDESTROYINPUTBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_INPUT_PTR inputBuffer);
using PNVENCCREATEBITSTREAMBUFFER = NVENCSTATUS (*)(void* encoder,
                                                    NV_ENC_CREATE_BITSTREAM_BUFFER* createBitstreamBufferParams);
using PNVENCDESTROYBITSTREAMBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_OUTPUT_PTR bitstreamBuffer);
using PNVENCENCODEPICTURE = NVENCSTATUS (*)(void* encoder, NV_ENC_PIC_PARAMS* encodePicParams);
using PNVENCLOCKBITSTREAM = NVENCSTATUS (*)(void* encoder, NV_ENC_LOCK_BITSTREAM* lockBitstreamBufferParams);
using PNVENCUNLOCKBITSTREAM = NVENCSTATUS (*)(void* encoder, NV_ENC_OUTPUT_PTR bitstreamBuffer);
using PNVENCLOCKINPUTBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_LOCK_INPUT_BUFFER* lockInputBufferParams);
using PNVENCUNLOCKINPUTBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_INPUT_PTR inputBuffer);
using PNVENCGETENCODESTATS = NVENCSTATUS (*)(void* encoder, NV_ENC_STAT* encodeStats);
using PNVENCGETSEQUENCEPARAMS = NVENCSTATUS (*)(void* encoder, NV_ENC_SEQUENCE_PARAM_PAYLOAD* sequenceParamPayload);
using PNVENCREGISTERASYNCEVENT = NVENCSTATUS (*)(void* encoder, NV_ENC_EVENT_PARAMS* eventParams);
using PNVENCUNREGISTERASYNCEVENT = NVENCSTATUS (*)(void* encoder, NV_ENC_EVENT_PARAMS* eventParams);
using PNVENCMAPINPUTRESOURCE = NVENCSTATUS (*)(void* encoder, NV_ENC_MAP_INPUT_RESOURCE* mapInputResParams);
using PNVENCUNMAPINPUTRESOURCE = NVENCSTATUS (*)(void* encoder, NV_ENC_INPUT_PTR mappedInputBuffer);
using PNVENCDESTROYENCODER = NVENCSTATUS (*)(void* encoder);
using PNVENCINVALIDATEREFFRAMES = NVENCSTATUS (*)(void* encoder, std::uint64_t invalidRefFrameTimeStamp);
using PNVENCOPENENCODESESSIONEX = NVENCSTATUS (*)(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* openSessionExParams,
                                                  void** encoder);
using PNVENCREGISTERRESOURCE = NVENCSTATUS (*)(void* encoder, NV_ENC_REGISTER_RESOURCE* registerResParams);
using PNVENCUNREGISTERRESOURCE = NVENCSTATUS (*)(void* encoder, NV_ENC_REGISTERED_PTR registeredResource);
using PNVENCRECONFIGUREENCODER = NVENCSTATUS (*)(void* encoder, NV_ENC_RECONFIGURE_PARAMS* reInitEncodeParams);
using PNVENCCREATEMVBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_CREATE_MV_BUFFER* createMVBufferParams);
using PNVENCDESTROYMVBUFFER = NVENCSTATUS (*)(void* encoder, NV_ENC_OUTPUT_PTR mvBuffer);
using PNVENCRUNMOTIONESTIMATIONONLY = NVENCSTATUS (*)(void* encoder, NV_ENC_MEONLY_PARAMS* meOnlyParams);

// Filled by NvEncodeAPICreateInstance. The caller sets the version word; every entry comes from the runtime. The first
// entry is superseded by nvEncOpenEncodeSessionEx, but stands in every filled table.
struct NV_ENCODE_API_FUNCTION_LIST
{
    std::uint32_t version;
    std::uint32_t reserved;
    PNVENCOPENENCODESESSION nvEncOpenEncodeSession;
    PNVENCGETENCODEGUIDCOUNT nvEncGetEncodeGUIDCount;
    PNVENCGETENCODEPRESETCOUNT nvEncGetEncodeProfileGUIDCount;
    PNVENCGETENCODEPRESETGUIDS nvEncGetEncodeProfileGUIDs;
    PNVENCGETENCODEGUIDS nvEncGetEncodeGUIDs;
    PNVENCGETINPUTFORMATCOUNT nvEncGetInputFormatCount;
    PNVENCGETINPUTFORMATS nvEncGetInputFormats;
    PNVENCGETENCODECAPS nvEncGetEncodeCaps;
    PNVENCGETENCODEPRESETCOUNT nvEncGetEncodePresetCount;
    PNVENCGETENCODEPRESETGUIDS nvEncGetEncodePresetGUIDs;
    PNVENCGETENCODEPRESETCONFIG nvEncGetEncodePresetConfig;
    PNVENCINITIALIZEENCODER nvEncInitializeEncoder;
    PNVENCCREATEINPUTBUFFER nvEncCreateInputBuffer;
    PNVENCDESTROYINPUTBUFFER nvEncDestroyInputBuffer;
    PNVENCCREATEBITSTREAMBUFFER nvEncCreateBitstreamBuffer;
    PNVENCDESTROYBITSTREAMBUFFER nvEncDestroyBitstreamBuffer;
    PNVENCENCODEPICTURE nvEncEncodePicture;
    PNVENCLOCKBITSTREAM nvEncLockBitstream;
    PNVENCUNLOCKBITSTREAM nvEncUnlockBitstream;
    PNVENCLOCKINPUTBUFFER nvEncLockInputBuffer;
    PNVENCUNLOCKINPUTBUFFER nvEncUnlockInputBuffer;
    PNVENCGETENCODESTATS nvEncGetEncodeStats;
    PNVENCGETSEQUENCEPARAMS nvEncGetSequenceParams;
    PNVENCREGISTERASYNCEVENT nvEncRegisterAsyncEvent;
    PNVENCUNREGISTERASYNCEVENT nvEncUnregisterAsyncEvent;
    PNVENCMAPINPUTRESOURCE nvEncMapInputResource;
    PNVENCUNMAPINPUTRESOURCE nvEncUnmapInputResource;
    PNVENCDESTROYENCODER nvEncDestroyEncoder;
    PNVENCINVALIDATEREFFRAMES nvEncInvalidateRefFrames;
    PNVENCOPENENCODESESSIONEX nvEncOpenEncodeSessionEx;
    PNVENCREGISTERRESOURCE nvEncRegisterResource;
    PNVENCUNREGISTERRESOURCE nvEncUnregisterResource;
    PNVENCRECONFIGUREENCODER nvEncReconfigureEncoder;
    void* reserved1;
    PNVENCCREATEMVBUFFER nvEncCreateMVBuffer;
    PNVENCDESTROYMVBUFFER nvEncDestroyMVBuffer;
    PNVENCRUNMOTIONESTIMATIONONLY nvEncRunMotionEstimationOnly;
    void* reserved2[281];
};

// Exported as "NvEncodeAPIGetMaxSupportedVersion": the newest version the runtime knows, minor in the low four bits,
// major above.
using PNVENCODEAPIGETMAXSUPPORTEDVERSION = NVENCSTATUS (*)(std::uint32_t* version);

// Exported as "NvEncodeAPICreateInstance".
using PNVENCODEAPICREATEINSTANCE = NVENCSTATUS (*)(NV_ENCODE_API_FUNCTION_LIST* functionList);
