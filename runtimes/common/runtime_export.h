// What users of a runtime's file see; everything else in it is hidden.
#pragma once

#if defined(_WIN32)
#define RUNTIME_EXPORT extern "C" __declspec(dllexport)
#else
#define RUNTIME_EXPORT extern "C" __attribute__((visibility("default")))
#endif
