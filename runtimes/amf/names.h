// Names of the interface's numbers, as the trace gives them.
#pragma once

#include "abi/amf/amf.h"

namespace amfruntime
{

// The enumerator's own name; "AMF_UNKNOWN" for a number without one.
const wchar_t* ResultName(AMF_RESULT eResult);

// The end of the enumerator's name, "NV12" for AMF_SURFACE_NV12; "UNKNOWN" for a number without one. A text without a
// number gives the enumeration's own unknown value.
const wchar_t* SurfaceFormatName(AMF_SURFACE_FORMAT eFormat);
AMF_SURFACE_FORMAT SurfaceFormatOf(const wchar_t* pwszName);
const wchar_t* MemoryTypeName(AMF_MEMORY_TYPE eType);
AMF_MEMORY_TYPE MemoryTypeOf(const wchar_t* pwszName);
const wchar_t* AudioFormatName(AMF_AUDIO_FORMAT eFormat);
AMF_AUDIO_FORMAT AudioFormatOf(const wchar_t* pwszName);

}  // namespace amfruntime
