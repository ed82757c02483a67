#include "common/modulestate.h"

#include <mfapi.h>

namespace
{

// The interface generation that the module is written against, as MFStartup takes it.
constexpr ULONG MEDIA_FOUNDATION_VERSION = 0x20070;

std::atomic<std::uint32_t> g_nRuntimeHolds{0};
std::atomic<bool> g_bRuntimeEnds{false};  // the last format object is gone; the last hold ends the runtimes

// Of a format object and a hold that end at the same time, one sees the other's work, and only one gets the flag.
void EndRuntimeWithoutHolds()
{
    if (g_nRuntimeHolds != 0 || !g_bRuntimeEnds.exchange(false)) return;
    MFShutdown();
    g_AMFFactory.Terminate();
}

}  // namespace

HINSTANCE g_hModule = nullptr;
std::int32_t g_nFormatObjects = 0;
std::int32_t g_nAmfInitResult = 0;
AMFFactoryHelper g_AMFFactory;
std::atomic<std::uint32_t> g_uiInputFileCount{0};

void StartModuleRuntime()
{
    // Where a hold kept the runtimes, they go on.
    if (g_nFormatObjects == 0 && !g_bRuntimeEnds.exchange(false))
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
        g_bRuntimeEnds = true;
        EndRuntimeWithoutHolds();
    }
}

CModuleRuntimeHold::CModuleRuntimeHold()
{
    ++g_nRuntimeHolds;
}

CModuleRuntimeHold::~CModuleRuntimeHold()
{
    --g_nRuntimeHolds;
    EndRuntimeWithoutHolds();
}
