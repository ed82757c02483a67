// The checks of the data streams. A check that fails writes a line to the runtime's trace and returns its result.
#pragma once

#include <cstdint>

#include "abi/amf/amf.h"

// Scopes of the lines.
inline constexpr wchar_t FILE_STREAM_SCOPE[] = L"AMFDataStreamFileImpl";
inline constexpr wchar_t MEMORY_STREAM_SCOPE[] = L"AMFDataStreamMemoryImpl";

// Writes "Assertion failed: " and the condition, for AMF_OUT_OF_MEMORY the runtime's text for it and the condition;
// then the message, if it isn't empty. Returns eResult. Without memory for the line there is none.
AMF_RESULT TraceFailedCheck(const wchar_t* pwszSource, std::int32_t nLine, const wchar_t* pwszScope,
                            const wchar_t* pwszCondition, AMF_RESULT eResult, const wchar_t* pwszMessage);

// The place of a check, as the line names it. Not the path on the machine that compiled it.
#define AMF_CHECK_SOURCE L"mul_imageformat/w32_imageformat_mp4/amf/common"

#define AMF_RETURN_UNLESS(scope, condition, result, message)                                                           \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition)) return TraceFailedCheck(AMF_CHECK_SOURCE, __LINE__, scope, L"" #condition, result, message); \
    } while (false)
