#include "support/missing_threads.h"

#include <atomic>

#include <dlfcn.h>
#include <process.h>

namespace
{
std::atomic<bool> g_bMissing = false;
std::atomic<int> g_nRefused = 0;
}  // namespace

// The program's own definition comes before that of the platform's library.
std::uintptr_t _beginthread(void (*pfnStart)(void*), unsigned uiStackSize, void* pArgument)
{
    if (g_bMissing)
    {
        ++g_nRefused;
        return ~std::uintptr_t{0};
    }
    static const auto s_pfnPlatform = reinterpret_cast<decltype(&_beginthread)>(dlsym(RTLD_NEXT, "_beginthread"));
    return s_pfnPlatform(pfnStart, uiStackSize, pArgument);
}

CMissingThreads::CMissingThreads()
{
    g_nRefused = 0;
    g_bMissing = true;
}

CMissingThreads::~CMissingThreads()
{
    g_bMissing = false;
}

int CMissingThreads::GetRefused()
{
    return g_nRefused;
}
