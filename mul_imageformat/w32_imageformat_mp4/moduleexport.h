// Where the module meets the linker and the loader: the only place of the module that knows which compiler and which
// system it is built with.
#pragma once

#include <windows.h>

#if defined(_MSC_VER)

// A function, or a class with all its operations, that the module file shows.
#define QM_MODULE_EXPORT __declspec(dllexport)

// Before a constant that lies in a section of the module file. Whatever a section holds is one constant, in one source,
// so that its parts lie where its type says.
#define QM_MODULE_SECTION(name) __pragma(section(name, read)) __declspec(allocate(name))

#else

// Of a class these compilers make each constructor and the destructor twice. exports.map lists the one of each that is
// shown, for both systems.
#define QM_MODULE_EXPORT __attribute__((visibility("default")))

#define QM_MODULE_SECTION(name) __attribute__((section(name), used))

#endif

#if defined(_WIN32)

// The system's loader calls DllMain by its name.
#define QM_MODULE_ENTRY(entry) static_assert(true)

#else

// The loader knows no entry here, so an initialiser makes the one call that matters. The address that the compiler's
// start-up code gives every library of its own stands for the instance handle. It is declared where it is used: in
// other sources the compiler may have declared it itself, in a way of its own.
#define QM_MODULE_ENTRY(entry)                                                                                         \
    extern "C" __attribute__((visibility("hidden"))) void* __dso_handle;                                               \
    __attribute__((constructor)) static void CallModuleEntry()                                                         \
    {                                                                                                                  \
        entry(reinterpret_cast<HINSTANCE>(&__dso_handle), DLL_PROCESS_ATTACH, nullptr);                                \
    }                                                                                                                  \
    static_assert(true)

#endif
