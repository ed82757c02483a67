#include "runtimes/nvenc/records.h"

#include <algorithm>
#include <type_traits>

namespace nvencruntime
{
namespace
{

// Of a number, a pointer, or an array of either.
template <typename Field>
bool IsZero(const Field& field)
{
    if constexpr (std::is_array_v<Field>)
    {
        return std::ranges::all_of(field, [](const auto& item) { return IsZero(item); });
    }
    else
    {
        return field == Field{};
    }
}

template <typename... Fields>
bool AreZero(const Fields&... fields)
{
    return (IsZero(fields) && ...);
}

bool AreReservedFieldsZero(const NV_ENC_RC_PARAMS& record)
{
    return AreZero(record.reservedBitField1, record.reservedBitFields, record.reserved1, record.reserved);
}

bool AreReservedFieldsZero(const NV_ENC_CONFIG_H264& record)
{
    return AreZero(record.reservedBitFields, record.h264VUIParameters.reserved, record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE& record)
{
    return AreZero(record.reserved, record.reserved1);
}

bool AreReservedFieldsZero(const NV_ENC_PIC_PARAMS_H264& record)
{
    return AreZero(record.reserved3, record.reservedBitFields, record.reserved, record.reserved2);
}

}  // namespace

bool AreReservedFieldsZero(const NV_ENCODE_API_FUNCTION_LIST& record)
{
    return AreZero(record.reserved, record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS& record)
{
    return AreZero(record.reserved, record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_CAPS_PARAM& record)
{
    return AreZero(record.reserved);
}

bool AreReservedFieldsZero(const NV_ENC_PRESET_CONFIG& record)
{
    return AreZero(record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_CONFIG& record)
{
    return AreZero(record.reserved, record.reserved2) && AreReservedFieldsZero(record.rcParams) &&
           AreReservedFieldsZero(record.encodeCodecConfig.h264Config);
}

bool AreReservedFieldsZero(const NV_ENC_INITIALIZE_PARAMS& record)
{
    return AreZero(record.reservedBitFields, record.reserved, record.reserved2) &&
           std::ranges::all_of(record.maxMEHintCountsPerBlock,
                               [](const auto& counts) { return AreReservedFieldsZero(counts); });
}

bool AreReservedFieldsZero(const NV_ENC_SEQUENCE_PARAM_PAYLOAD& record)
{
    return AreZero(record.reserved, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_EVENT_PARAMS& record)
{
    return AreZero(record.reserved, record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_REGISTER_RESOURCE& record)
{
    return AreZero(record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_MAP_INPUT_RESOURCE& record)
{
    return AreZero(record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_CREATE_BITSTREAM_BUFFER& record)
{
    return AreZero(record.reserved, record.reserved1, record.reserved2);
}

bool AreReservedFieldsZero(const NV_ENC_PIC_PARAMS& record)
{
    return AreZero(record.reserved1, record.reserved2, record.reservedBitFields, record.reserved3, record.reserved4) &&
           std::ranges::all_of(record.meHintCountsPerBlock,
                               [](const auto& counts) { return AreReservedFieldsZero(counts); }) &&
           AreReservedFieldsZero(record.codecPicParams.h264PicParams);
}

bool AreReservedFieldsZero(const NV_ENC_LOCK_BITSTREAM& record)
{
    return AreZero(record.reservedBitFields, record.reserved, record.reserved1, record.reserved2);
}

}  // namespace nvencruntime
