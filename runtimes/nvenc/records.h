// What is the same for every record that a caller hands over: its version word, and zeros where it is reserved.
#pragma once

#include "abi/nvenc/nvEncodeAPI.h"

namespace nvencruntime
{

// Whether the reserved fields are zero, those of the records within the record included.
bool AreReservedFieldsZero(const NV_ENCODE_API_FUNCTION_LIST& record);
bool AreReservedFieldsZero(const NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS& record);
bool AreReservedFieldsZero(const NV_ENC_CAPS_PARAM& record);
bool AreReservedFieldsZero(const NV_ENC_PRESET_CONFIG& record);  // of the record itself: the rest is an answer
bool AreReservedFieldsZero(const NV_ENC_CONFIG& record);
bool AreReservedFieldsZero(const NV_ENC_INITIALIZE_PARAMS& record);
bool AreReservedFieldsZero(const NV_ENC_SEQUENCE_PARAM_PAYLOAD& record);
bool AreReservedFieldsZero(const NV_ENC_EVENT_PARAMS& record);
bool AreReservedFieldsZero(const NV_ENC_REGISTER_RESOURCE& record);
bool AreReservedFieldsZero(const NV_ENC_MAP_INPUT_RESOURCE& record);
bool AreReservedFieldsZero(const NV_ENC_CREATE_BITSTREAM_BUFFER& record);
bool AreReservedFieldsZero(const NV_ENC_PIC_PARAMS& record);
bool AreReservedFieldsZero(const NV_ENC_LOCK_BITSTREAM& record);

// NV_ENC_ERR_INVALID_VERSION for another version word, NV_ENC_ERR_INVALID_PARAM for a reserved field that isn't zero.
template <typename Record>
NVENCSTATUS CheckRecord(const Record& record, std::uint32_t uiVersion)
{
    if (record.version != uiVersion)
    {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    return AreReservedFieldsZero(record) ? NV_ENC_SUCCESS : NV_ENC_ERR_INVALID_PARAM;
}

}  // namespace nvencruntime
