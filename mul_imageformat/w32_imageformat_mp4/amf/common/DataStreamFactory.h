// Opens a data stream by its URL.
#pragma once

#include "amf/common/DataStream.h"

// "PROTOCOL://PATH" with the protocol "file" or "memory", or a path alone, which is that of a file. *ppStream carries a
// reference for the caller; null after a failure. AMF_INVALID_ARG for a null URL, AMF_NOT_SUPPORTED for another
// protocol, AMF_OUT_OF_MEMORY, or what opening the stream returned.
AMF_RESULT OpenDataStream(const wchar_t* pFileUrl, AMF_STREAM_OPEN eOpenType, AMF_FILE_SHARE eShareType,
                          AMFDataStream** ppStream);
