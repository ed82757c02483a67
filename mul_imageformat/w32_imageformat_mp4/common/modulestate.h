// What the module holds once per process. The host constructs and destroys format objects on one thread, which alone
// changes the plain values. Other threads read them as long as a format object lives.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include "amf/common/amffactoryhelper.h"

extern HINSTANCE g_hModule;            // the module's own instance, set when it is loaded
extern std::int32_t g_nFormatObjects;  // living format objects
extern std::int32_t g_nAmfInitResult;  // of the last load of the AMF runtime; 0 means loaded
extern AMFFactoryHelper g_AMFFactory;

// File objects made so far, for reading and for writing; it never falls. Its value is the work queue of the source node
// of every graph that is built. File objects of different threads share it, so it is atomic.
extern std::atomic<std::uint32_t> g_uiInputFileCount;

// Counts a format object in. The first one starts Media Foundation and loads the AMF runtime; neither's failure is
// one here: a graph or an encoder that needs them fails then.
void StartModuleRuntime();

// Counts a format object out. The last one shuts down what the first one started, as soon as no hold is left.
void StopModuleRuntime();

// Keeps the runtimes started as long as it lives: a file that is being closed needs them, also when the last format
// object is gone already. A hold doesn't start them. Holds may end on any thread.
class CModuleRuntimeHold
{
public:
    CModuleRuntimeHold();
    ~CModuleRuntimeHold();

    CModuleRuntimeHold(const CModuleRuntimeHold&) = delete;
    CModuleRuntimeHold& operator=(const CModuleRuntimeHold&) = delete;
};
