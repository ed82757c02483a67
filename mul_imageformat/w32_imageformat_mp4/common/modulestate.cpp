#include "common/modulestate.h"

#include <mfapi.h>

#include "common/criticalsection.h"

namespace
{

// The interface generation that the module is written against, as MFStartup takes it.
constexpr ULONG MEDIA_FOUNDATION_VERSION = 0x20070;

// Guards the two below, and is held while the runtimes start or end: a hold may end them on one thread while another
// makes a format object.
CCriticalSection g_csRuntime;
std::uint32_t g_nRuntimeHolds = 0;
bool g_bRuntimeEnds = false;  // the last format object is gone; the last hold ends the runtimes

// Under the lock.
void EndRuntimeWithoutHolds()
{
    if (g_nRuntimeHolds != 0 || !g_bRuntimeEnds) return;
    g_bRuntimeEnds = false;
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
    const CSectionLock lock(g_csRuntime.Get());
    if (g_nFormatObjects == 0 && !g_bRuntimeEnds)
    {
        // Not examined: without Media Foundation the tables still answer, and the first graph fails.
        MFStartup(MEDIA_FOUNDATION_VERSION, 0);
        g_nAmfInitResult = g_AMFFactory.Init();
    }
    g_bRuntimeEnds = false;  // what a hold has kept is used again
    ++g_nFormatObjects;
}

void StopModuleRuntime()
{
    const CSectionLock lock(g_csRuntime.Get());
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
    const CSectionLock lock(g_csRuntime.Get());
    ++g_nRuntimeHolds;
}

CModuleRuntimeHold::~CModuleRuntimeHold()
{
    const CSectionLock lock(g_csRuntime.Get());
    --g_nRuntimeHolds;
    EndRuntimeWithoutHolds();
}
