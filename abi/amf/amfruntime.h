// The runtime's file, its version and its singletons: factory, trace and debug. They are not counted and end with the
// last unloading of the file.
#pragma once

#include "abi/amf/amfcomponent.h"

struct AMFPrograms;

// Major, minor, release and build in 16 bits each, the major number highest.
constexpr amf_uint64 AMF_MAKE_FULL_VERSION(amf_uint64 major, amf_uint64 minor, amf_uint64 release, amf_uint64 build)
{
    return major << 48 | minor << 32 | release << 16 | build;
}
inline constexpr amf_uint64 AMF_FULL_VERSION = AMF_MAKE_FULL_VERSION(1, 4, 9, 0);
static_assert(AMF_FULL_VERSION == 0x0001000400090000);

inline constexpr wchar_t AMF_DLL_NAME[] = L"amfrt64.dll";
inline constexpr char AMF_INIT_FUNCTION_NAME[] = "AMFInit";
inline constexpr char AMF_QUERY_VERSION_FUNCTION_NAME[] = "AMFQueryVersion";

struct AMFDebug
{
    virtual void EnablePerformanceMonitor(amf_bool enable) = 0;
    virtual amf_bool PerformanceMonitorEnabled() = 0;
    virtual void AssertsEnable(amf_bool enable) = 0;
    virtual amf_bool AssertsEnabled() = 0;
};

// Implemented by a client that wants the lines of the trace.
struct AMFTraceWriter
{
    virtual void Write(const wchar_t* scope, const wchar_t* message) = 0;
    virtual void Flush() = 0;
};

// Levels are AMF_TRACE_ERROR and the like. Writers have a name: one of those in amfenums.h, or a client's own.
struct AMFTrace
{
    // countArgs: how many arguments follow the format.
    virtual void TraceW(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope,
                        amf_int32 countArgs, const wchar_t* format, ...) = 0;
    // arguments: the va_list* of a formatted message.
    virtual void Trace(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope,
                       const wchar_t* message, void* arguments) = 0;
    virtual amf_int32 SetGlobalLevel(amf_int32 level) = 0;
    virtual amf_int32 GetGlobalLevel() = 0;
    virtual amf_bool EnableWriter(const wchar_t* writerID, amf_bool enable) = 0;
    virtual amf_bool WriterEnabled(const wchar_t* writerID) = 0;
    virtual AMF_RESULT TraceEnableAsync(amf_bool enable) = 0;
    virtual AMF_RESULT TraceFlush() = 0;
    virtual AMF_RESULT SetPath(const wchar_t* path) = 0;
    virtual AMF_RESULT GetPath(wchar_t* path, amf_size* pSize) = 0;
    virtual amf_int32 SetWriterLevel(const wchar_t* writerID, amf_int32 level) = 0;
    virtual amf_int32 GetWriterLevel(const wchar_t* writerID) = 0;
    virtual amf_int32 SetWriterLevelForScope(const wchar_t* writerID, const wchar_t* scope, amf_int32 level) = 0;
    virtual amf_int32 GetWriterLevelForScope(const wchar_t* writerID, const wchar_t* scope) = 0;
    virtual amf_int32 GetIndentation() = 0;
    virtual void Indent(amf_int32 addIndent) = 0;
    virtual void RegisterWriter(const wchar_t* writerID, AMFTraceWriter* pWriter, amf_bool enable) = 0;
    virtual void UnregisterWriter(const wchar_t* writerID) = 0;
    virtual const wchar_t* GetResultText(AMF_RESULT result) = 0;
    virtual const wchar_t* SurfaceGetFormatName(AMF_SURFACE_FORMAT format) = 0;
    virtual AMF_SURFACE_FORMAT SurfaceGetFormatByName(const wchar_t* name) = 0;
    virtual const wchar_t* GetMemoryTypeName(AMF_MEMORY_TYPE type) = 0;
    virtual AMF_MEMORY_TYPE GetMemoryTypeByName(const wchar_t* name) = 0;
    virtual const wchar_t* GetSampleFormatName(AMF_AUDIO_FORMAT format) = 0;
    virtual AMF_AUDIO_FORMAT GetSampleFormatByName(const wchar_t* name) = 0;
};

struct AMFFactory
{
    virtual AMF_RESULT CreateContext(AMFContext** ppContext) = 0;
    virtual AMF_RESULT CreateComponent(AMFContext* pContext, const wchar_t* id, AMFComponent** ppComponent) = 0;
    virtual AMF_RESULT SetCacheFolder(const wchar_t* path) = 0;
    virtual const wchar_t* GetCacheFolder() = 0;
    virtual AMF_RESULT GetDebug(AMFDebug** ppDebug) = 0;
    virtual AMF_RESULT GetTrace(AMFTrace** ppTrace) = 0;
    virtual AMF_RESULT GetPrograms(AMFPrograms** ppPrograms) = 0;
};

// Exported as "AMFInit": version is the one that the client was written against.
using AMFInit_Fn = AMF_RESULT (*)(amf_uint64 version, AMFFactory** ppFactory);
// Exported as "AMFQueryVersion": the runtime's own version.
using AMFQueryVersion_Fn = AMF_RESULT (*)(amf_uint64* pVersion);
