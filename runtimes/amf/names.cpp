#include "runtimes/amf/names.h"

#include <cstddef>
#include <cwchar>
#include <iterator>

namespace amfruntime
{
namespace
{

// By number; the enumerations have no gaps.
constexpr const wchar_t* c_results[] = {L"AMF_OK",
                                        L"AMF_FAIL",
                                        L"AMF_UNEXPECTED",
                                        L"AMF_ACCESS_DENIED",
                                        L"AMF_INVALID_ARG",
                                        L"AMF_OUT_OF_RANGE",
                                        L"AMF_OUT_OF_MEMORY",
                                        L"AMF_INVALID_POINTER",
                                        L"AMF_NO_INTERFACE",
                                        L"AMF_NOT_IMPLEMENTED",
                                        L"AMF_NOT_SUPPORTED",
                                        L"AMF_NOT_FOUND",
                                        L"AMF_ALREADY_INITIALIZED",
                                        L"AMF_NOT_INITIALIZED",
                                        L"AMF_INVALID_FORMAT",
                                        L"AMF_WRONG_STATE",
                                        L"AMF_FILE_NOT_OPEN",
                                        L"AMF_NO_DEVICE",
                                        L"AMF_DIRECTX_FAILED",
                                        L"AMF_OPENCL_FAILED",
                                        L"AMF_GLX_FAILED",
                                        L"AMF_XV_FAILED",
                                        L"AMF_ALSA_FAILED",
                                        L"AMF_EOF",
                                        L"AMF_REPEAT",
                                        L"AMF_INPUT_FULL",
                                        L"AMF_RESOLUTION_CHANGED",
                                        L"AMF_RESOLUTION_UPDATED",
                                        L"AMF_INVALID_DATA_TYPE",
                                        L"AMF_INVALID_RESOLUTION",
                                        L"AMF_CODEC_NOT_SUPPORTED",
                                        L"AMF_SURFACE_FORMAT_NOT_SUPPORTED",
                                        L"AMF_SURFACE_MUST_BE_SHARED",
                                        L"AMF_DECODER_NOT_PRESENT",
                                        L"AMF_DECODER_SURFACE_ALLOCATION_FAILED",
                                        L"AMF_DECODER_NO_FREE_SURFACES",
                                        L"AMF_ENCODER_NOT_PRESENT",
                                        L"AMF_DEM_ERROR",
                                        L"AMF_DEM_PROPERTY_READONLY",
                                        L"AMF_DEM_REMOTE_DISPLAY_CREATE_FAILED",
                                        L"AMF_DEM_START_ENCODING_FAILED",
                                        L"AMF_DEM_QUERY_OUTPUT_FAILED",
                                        L"AMF_TAN_CLIPPING_WAS_REQUIRED",
                                        L"AMF_TAN_UNSUPPORTED_VERSION",
                                        L"AMF_NEED_MORE_INPUT"};
static_assert(std::size(c_results) == AMF_NEED_MORE_INPUT + 1);

constexpr const wchar_t* c_surfaceFormats[] = {L"UNKNOWN", L"NV12", L"YV12", L"BGRA", L"ARGB",     L"RGBA", L"GRAY8",
                                               L"YUV420P", L"U8V8", L"YUY2", L"P010", L"RGBA_F16", L"UYVY"};
static_assert(std::size(c_surfaceFormats) == AMF_SURFACE_UYVY + 1);

constexpr const wchar_t* c_memoryTypes[] = {
    L"UNKNOWN",          L"HOST",  L"DX9", L"DX11", L"OPENCL", L"OPENGL", L"XV", L"GRALLOC", L"COMPUTE_FOR_DX9",
    L"COMPUTE_FOR_DX11", L"VULKAN"};
static_assert(std::size(c_memoryTypes) == AMF_MEMORY_VULKAN + 1);

constexpr const wchar_t* c_audioFormats[] = {L"U8",  L"S16",  L"S32",  L"FLT",  L"DBL",
                                             L"U8P", L"S16P", L"S32P", L"FLTP", L"DBLP"};
static_assert(std::size(c_audioFormats) == AMFAF_DBLP + 1);

template <std::size_t uiCount>
const wchar_t* NameAt(const wchar_t* const (&names)[uiCount], amf_int32 nNumber, const wchar_t* pwszUnknown)
{
    return nNumber >= 0 && static_cast<std::size_t>(nNumber) < uiCount ? names[nNumber] : pwszUnknown;
}

template <std::size_t uiCount>
amf_int32 NumberOf(const wchar_t* const (&names)[uiCount], const wchar_t* pwszName, amf_int32 nUnknown)
{
    for (std::size_t ui = 0; pwszName && ui < uiCount; ++ui)
    {
        if (std::wcscmp(names[ui], pwszName) == 0)
        {
            return static_cast<amf_int32>(ui);
        }
    }
    return nUnknown;
}

}  // namespace

const wchar_t* ResultName(AMF_RESULT eResult)
{
    return NameAt(c_results, eResult, L"AMF_UNKNOWN");
}

const wchar_t* SurfaceFormatName(AMF_SURFACE_FORMAT eFormat)
{
    return NameAt(c_surfaceFormats, eFormat, L"UNKNOWN");
}

AMF_SURFACE_FORMAT SurfaceFormatOf(const wchar_t* pwszName)
{
    return static_cast<AMF_SURFACE_FORMAT>(NumberOf(c_surfaceFormats, pwszName, AMF_SURFACE_UNKNOWN));
}

const wchar_t* MemoryTypeName(AMF_MEMORY_TYPE eType)
{
    return NameAt(c_memoryTypes, eType, L"UNKNOWN");
}

AMF_MEMORY_TYPE MemoryTypeOf(const wchar_t* pwszName)
{
    return static_cast<AMF_MEMORY_TYPE>(NumberOf(c_memoryTypes, pwszName, AMF_MEMORY_UNKNOWN));
}

const wchar_t* AudioFormatName(AMF_AUDIO_FORMAT eFormat)
{
    return NameAt(c_audioFormats, eFormat, L"UNKNOWN");
}

AMF_AUDIO_FORMAT AudioFormatOf(const wchar_t* pwszName)
{
    return static_cast<AMF_AUDIO_FORMAT>(NumberOf(c_audioFormats, pwszName, AMFAF_UNKNOWN));
}

}  // namespace amfruntime
