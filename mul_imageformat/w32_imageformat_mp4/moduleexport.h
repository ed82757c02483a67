// Where the module meets the linker and the loader: the only place of the module that knows which system it is built
// for.
#pragma once

#include <windows.h>

#if defined(_WIN32)

// A name that the module file shows.
#define QM_MODULE_EXPORT __declspec(dllexport)

// The system's loader calls DllMain by its name.
#define QM_MODULE_ENTRY(entry) static_assert(true)

#else

#define QM_MODULE_EXPORT __attribute__((visibility("default")))

// The loader knows no entry here, so an initialiser makes the one call that matters. The address that the compiler's
// start-up code gives every library of its own stands for the instance handle.
extern "C" __attribute__((visibility("hidden"))) void* __dso_handle;
#define QM_MODULE_ENTRY(entry)                                                                                         \
    __attribute__((constructor)) static void CallModuleEntry()                                                         \
    {                                                                                                                  \
        entry(reinterpret_cast<HINSTANCE>(&__dso_handle), DLL_PROCESS_ATTACH, nullptr);                                \
    }                                                                                                                  \
    static_assert(true)

#endif
