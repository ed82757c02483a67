// The entries of the function table, by what they are about. Each group puts its own into the table.
#pragma once

#include "abi/nvenc/nvEncodeAPI.h"

namespace nvencruntime
{

// What the encoder is and can.
void AddQueryEntries(NV_ENCODE_API_FUNCTION_LIST& list);
// Sessions, their events, surfaces and buffers.
void AddSessionEntries(NV_ENCODE_API_FUNCTION_LIST& list);
// Pictures and packets.
void AddPictureEntries(NV_ENCODE_API_FUNCTION_LIST& list);
// What this encoder has no use for: NV_ENC_ERR_UNIMPLEMENTED.
void AddRefusingEntries(NV_ENCODE_API_FUNCTION_LIST& list);

}  // namespace nvencruntime
