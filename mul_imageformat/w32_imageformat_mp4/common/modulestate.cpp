#include "common/modulestate.h"

#include <mfapi.h>

namespace
{

// The interface generation that the module is written against, as MFStartup takes it.
constexpr ULONG MEDIA_FOUNDATION_VERSION = 0x20070;

}  // namespace

HINSTANCE g_hModule = nullptr;
std::int32_t g_nFormatObjects = 0;
std::int32_t g_nAmfInitResult = 0;
AMFFactoryHelper g_AMFFactory;
std::atomic<std::uint32_t> g_uiInputFileCount{0};

void StartModuleRuntime()
{
    if (g_nFormatObjects == 0)
    {
        // Not examined: without Media Foundation the tables still answer, and the first graph fails.
        MFStartup(MEDIA_FOUNDATION_VERSION, 0);
        g_nAmfInitResult = g_AMFFactory.Init();
    }
    ++g_nFormatObjects;
}

void StopModuleRuntime()
{
    const std::int32_t nObjects = g_nFormatObjects;
    if (nObjects < 0) return;
    if (nObjects > 0) g_nFormatObjects = nObjects - 1;

    // A count of 0 is an object that was never counted in. It ends the runtime like a last one.
    if (nObjects <= 1)
    {
        MFShutdown();
        g_AMFFactory.Terminate();
    }
}
