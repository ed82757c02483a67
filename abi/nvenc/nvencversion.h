// Which version of the encoder interface is spoken, and the version word that heads each record.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t NVENCAPI_MAJOR_VERSION = 9;
inline constexpr std::uint32_t NVENCAPI_MINOR_VERSION = 0;

// What a session is opened with: major in the low bits, minor from bit 24 on.
inline constexpr std::uint32_t NVENCAPI_VERSION = NVENCAPI_MAJOR_VERSION | (NVENCAPI_MINOR_VERSION << 24);

// What NvEncodeAPIGetMaxSupportedVersion delivers packs the same two numbers in another way: minor in the low four
// bits, major above. A runtime serves this interface when its number isn't below this one.
inline constexpr std::uint32_t NVENCAPI_LEAST_SUPPORTED_VERSION =
    (NVENCAPI_MAJOR_VERSION << 4) | NVENCAPI_MINOR_VERSION;

// The version word of a record, from the record's own revision.
constexpr std::uint32_t NVENCAPI_STRUCT_VERSION(std::uint32_t uiRevision)
{
    return NVENCAPI_VERSION | (uiRevision << 16) | (7u << 28);
}

// Bit 31, which some records carry on top.
inline constexpr std::uint32_t NVENCAPI_STRUCT_VERSION_TOP_BIT = 1u << 31;

inline constexpr std::uint32_t NV_ENC_CAPS_PARAM_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_ENCODE_OUT_PARAMS_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_CREATE_INPUT_BUFFER_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_CREATE_BITSTREAM_BUFFER_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_CREATE_MV_BUFFER_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_RC_PARAMS_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_CONFIG_VER = NVENCAPI_STRUCT_VERSION(7) | NVENCAPI_STRUCT_VERSION_TOP_BIT;
inline constexpr std::uint32_t NV_ENC_INITIALIZE_PARAMS_VER =
    NVENCAPI_STRUCT_VERSION(5) | NVENCAPI_STRUCT_VERSION_TOP_BIT;
inline constexpr std::uint32_t NV_ENC_RECONFIGURE_PARAMS_VER =
    NVENCAPI_STRUCT_VERSION(1) | NVENCAPI_STRUCT_VERSION_TOP_BIT;
inline constexpr std::uint32_t NV_ENC_PRESET_CONFIG_VER = NVENCAPI_STRUCT_VERSION(4) | NVENCAPI_STRUCT_VERSION_TOP_BIT;
inline constexpr std::uint32_t NV_ENC_PIC_PARAMS_VER = NVENCAPI_STRUCT_VERSION(4) | NVENCAPI_STRUCT_VERSION_TOP_BIT;
inline constexpr std::uint32_t NV_ENC_MEONLY_PARAMS_VER = NVENCAPI_STRUCT_VERSION(3);
inline constexpr std::uint32_t NV_ENC_LOCK_BITSTREAM_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_LOCK_INPUT_BUFFER_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_MAP_INPUT_RESOURCE_VER = NVENCAPI_STRUCT_VERSION(4);
inline constexpr std::uint32_t NV_ENC_REGISTER_RESOURCE_VER = NVENCAPI_STRUCT_VERSION(3);
inline constexpr std::uint32_t NV_ENC_STAT_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_EVENT_PARAMS_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER = NVENCAPI_STRUCT_VERSION(1);
inline constexpr std::uint32_t NV_ENCODE_API_FUNCTION_LIST_VER = NVENCAPI_STRUCT_VERSION(2);

inline constexpr std::uint32_t NVENC_INFINITE_GOPLENGTH = 0xFFFFFFFF;  // no key picture but the first
inline constexpr std::uint32_t NV_MAX_SEQ_HDR_LEN = 512;               // bytes a sequence header may need
