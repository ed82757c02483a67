// The file that the module loads as the AMF runtime. Its singletons lie in the file, so they end when it is unloaded,
// and a call of one of them after that ends the program. Built several times, each build lacking another of its
// entries.
#include "fake_amf_file.h"

#include <cstdint>
#include <cwchar>

#include <windows.h>

#if defined(_WIN32)
#define FAKE_EXPORT extern "C" __declspec(dllexport)
#else
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace
{

const SFakeAmfCalls& Calls()
{
    wchar_t wszAddress[32] = {};
    GetEnvironmentVariableW(FAKE_AMF_VARIABLE, wszAddress, 32);
    return *reinterpret_cast<const SFakeAmfCalls*>(std::wcstoull(wszAddress, nullptr, 10));
}

class CDebug : public AMFDebug
{
public:
    void EnablePerformanceMonitor(amf_bool) override {}
    amf_bool PerformanceMonitorEnabled() override { return false; }
    void AssertsEnable(amf_bool enable) override { m_bAsserts = enable; }
    amf_bool AssertsEnabled() override { return m_bAsserts; }

private:
    bool m_bAsserts = false;
};

class CTrace : public AMFTrace
{
public:
    void TraceW(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope, amf_int32 countArgs,
                const wchar_t* format, ...) override
    {
        Calls().m_pfnTraceW(Calls().m_pContext, srcPath, line, level, scope, countArgs, format);
    }
    void Trace(const wchar_t*, amf_int32, amf_int32, const wchar_t*, const wchar_t*, void*) override {}
    amf_int32 SetGlobalLevel(amf_int32) override { return 0; }
    amf_int32 GetGlobalLevel() override { return 0; }
    amf_bool EnableWriter(const wchar_t* writerID, amf_bool enable) override
    {
        return Calls().m_pfnEnableWriter(Calls().m_pContext, writerID, enable);
    }
    amf_bool WriterEnabled(const wchar_t*) override { return false; }
    AMF_RESULT TraceEnableAsync(amf_bool) override { return AMF_OK; }
    AMF_RESULT TraceFlush() override { return AMF_OK; }
    AMF_RESULT SetPath(const wchar_t*) override { return AMF_OK; }
    AMF_RESULT GetPath(wchar_t*, amf_size*) override { return AMF_OK; }
    amf_int32 SetWriterLevel(const wchar_t*, amf_int32) override { return 0; }
    amf_int32 GetWriterLevel(const wchar_t*) override { return 0; }
    amf_int32 SetWriterLevelForScope(const wchar_t*, const wchar_t*, amf_int32) override { return 0; }
    amf_int32 GetWriterLevelForScope(const wchar_t*, const wchar_t*) override { return 0; }
    amf_int32 GetIndentation() override { return 0; }
    void Indent(amf_int32) override {}
    void RegisterWriter(const wchar_t*, AMFTraceWriter*, amf_bool) override {}
    void UnregisterWriter(const wchar_t*) override {}
    const wchar_t* GetResultText(AMF_RESULT result) override
    {
        return result == AMF_OUT_OF_MEMORY ? L"AMF_OUT_OF_MEMORY" : result == AMF_EOF ? L"AMF_EOF" : nullptr;
    }
    const wchar_t* SurfaceGetFormatName(AMF_SURFACE_FORMAT) override { return L""; }
    AMF_SURFACE_FORMAT SurfaceGetFormatByName(const wchar_t*) override { return AMF_SURFACE_UNKNOWN; }
    const wchar_t* GetMemoryTypeName(AMF_MEMORY_TYPE) override { return L""; }
    AMF_MEMORY_TYPE GetMemoryTypeByName(const wchar_t*) override { return AMF_MEMORY_UNKNOWN; }
    const wchar_t* GetSampleFormatName(AMF_AUDIO_FORMAT) override { return L""; }
    AMF_AUDIO_FORMAT GetSampleFormatByName(const wchar_t*) override { return AMFAF_UNKNOWN; }
};

class CFactory : public AMFFactory
{
public:
    AMF_RESULT CreateContext(AMFContext** ppContext) override
    {
        return Calls().m_pfnCreateContext(Calls().m_pContext, ppContext);
    }
    AMF_RESULT CreateComponent(AMFContext* pContext, const wchar_t* id, AMFComponent** ppComponent) override
    {
        return Calls().m_pfnCreateComponent(Calls().m_pContext, pContext, id, ppComponent);
    }
    AMF_RESULT SetCacheFolder(const wchar_t*) override { return AMF_NOT_IMPLEMENTED; }
    const wchar_t* GetCacheFolder() override { return nullptr; }
    AMF_RESULT GetDebug(AMFDebug** ppDebug) override { return Get("debug", &m_debug, ppDebug); }
    AMF_RESULT GetTrace(AMFTrace** ppTrace) override { return Get("trace", &m_trace, ppTrace); }
    AMF_RESULT GetPrograms(AMFPrograms**) override { return AMF_NOT_IMPLEMENTED; }

private:
    template <typename TSingleton, typename TInterface>
    AMF_RESULT Get(const char* pszName, TSingleton* pSingleton, TInterface** ppSingleton)
    {
        const AMF_RESULT eResult = Calls().m_pfnGetSingleton(Calls().m_pContext, pszName);
        if (eResult == AMF_OK) *ppSingleton = pSingleton;
        return eResult;
    }

    CDebug m_debug;
    CTrace m_trace;
};

}  // namespace

#if !defined(FAKE_LACKS_INIT)
FAKE_EXPORT AMF_RESULT AMFInit(amf_uint64 version, AMFFactory** ppFactory)
{
    static CFactory s_factory;
    bool bFactory = true;
    const AMF_RESULT eResult = Calls().m_pfnInit(Calls().m_pContext, version, &bFactory);
    if (eResult == AMF_OK && bFactory) *ppFactory = &s_factory;
    return eResult;
}
#endif

#if !defined(FAKE_LACKS_QUERY_VERSION)
FAKE_EXPORT AMF_RESULT AMFQueryVersion(amf_uint64* pVersion)
{
    return Calls().m_pfnQueryVersion(Calls().m_pContext, pVersion);
}
#endif
