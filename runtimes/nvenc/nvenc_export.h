// What users of the runtime's file see; everything else in it is hidden.
#pragma once

#if defined(_WIN32)
#define NVENC_RUNTIME_EXPORT extern "C" __declspec(dllexport)
#else
#define NVENC_RUNTIME_EXPORT extern "C" __attribute__((visibility("default")))
#endif
