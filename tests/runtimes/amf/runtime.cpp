#include "runtime.h"

#include <cstdlib>
#include <iostream>

namespace
{

template <typename Function>
Function Find(HMODULE hModule, const char* pszName)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName)));
}

Runtime Load()
{
    Runtime runtime{};
    runtime.hModule = LoadLibraryExW(AMF_DLL_NAME, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!runtime.hModule)
    {
        std::cerr << "the runtime isn't where it is looked for\n";
        std::abort();
    }
    runtime.init = Find<AMFInit_Fn>(runtime.hModule, AMF_INIT_FUNCTION_NAME);
    runtime.queryVersion = Find<AMFQueryVersion_Fn>(runtime.hModule, AMF_QUERY_VERSION_FUNCTION_NAME);
    const auto getScript = Find<PAMFRUNTIMEGETSCRIPT>(runtime.hModule, "AmfRuntimeGetScript");
    if (!runtime.init || !runtime.queryVersion || !getScript)
    {
        std::cerr << "the runtime lacks an export\n";
        std::abort();
    }
    runtime.pScript = getScript();
    if (runtime.init(AMF_FULL_VERSION, &runtime.pFactory) != AMF_OK)
    {
        std::cerr << "the runtime has no factory\n";
        std::abort();
    }
    return runtime;
}

}  // namespace

const Runtime& Runtime::Get()
{
    static const Runtime s_runtime = Load();
    return s_runtime;
}

AMFVariantStruct Number(std::int64_t nValue)
{
    AMFVariantStruct variant{};
    variant.type = AMF_VARIANT_INT64;
    variant.int64Value = nValue;
    return variant;
}

AMFVariantStruct Flag(bool bValue)
{
    AMFVariantStruct variant{};
    variant.type = AMF_VARIANT_BOOL;
    variant.boolValue = bValue;
    return variant;
}

AMFVariantStruct Size(amf_int32 nWidth, amf_int32 nHeight)
{
    AMFVariantStruct variant{};
    variant.type = AMF_VARIANT_SIZE;
    variant.sizeValue = {nWidth, nHeight};
    return variant;
}

AMFVariantStruct Rate(amf_uint32 uiNum, amf_uint32 uiDen)
{
    AMFVariantStruct variant{};
    variant.type = AMF_VARIANT_RATE;
    variant.rateValue = {uiNum, uiDen};
    return variant;
}

AmfRuntime::AmfRuntime() : m_runtime(Runtime::Get()), m_script(*m_runtime.pScript), m_factory(*m_runtime.pFactory)
{
    m_script.Reset();
}

AmfRuntime::~AmfRuntime()
{
    const AmfRuntimeObjects left = m_script.CountObjects();
    EXPECT_EQ(left.uiContexts, 0u);
    EXPECT_EQ(left.uiComponents, 0u);
    EXPECT_EQ(left.uiInitializedComponents, 0u);
    EXPECT_EQ(left.uiSurfaces, 0u);
    EXPECT_EQ(left.uiBuffers, 0u);
    EXPECT_EQ(left.uiPendingPictures, 0u);
    m_script.Reset();
}

Held<AMFContext> AmfRuntime::MakeContext()
{
    Held<AMFContext> pContext;
    EXPECT_EQ(m_factory.CreateContext(pContext.Put()), AMF_OK);
    return pContext;
}

Held<AMFContext> AmfRuntime::MakeDeviceContext()
{
    Held<AMFContext> pContext = MakeContext();
    EXPECT_EQ(pContext->InitDX9(nullptr), AMF_OK);
    return pContext;
}

Held<AMFComponent> AmfRuntime::MakeComponent(AMFContext* pContext, const wchar_t* pwszId)
{
    Held<AMFComponent> pComponent;
    EXPECT_EQ(m_factory.CreateComponent(pContext, pwszId, pComponent.Put()), AMF_OK);
    return pComponent;
}

Held<AMFSurface> AmfRuntime::MakeSurface(AMFContext* pContext, AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth,
                                         amf_int32 nHeight)
{
    Held<AMFSurface> pSurface;
    EXPECT_EQ(pContext->AllocSurface(AMF_MEMORY_DX9, eFormat, nWidth, nHeight, pSurface.Put()), AMF_OK);
    return pSurface;
}
