// A library to be loaded by the tests: it answers, and counts how it was loaded.
#include <windows.h>

#if defined(_WIN32)
#define TEST_EXPORT extern "C" __declspec(dllexport)
#else
#define TEST_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace
{
int g_nAttached = 0;
int* g_pnDetached = nullptr;
HINSTANCE g_hInstance = nullptr;
}  // namespace

TEST_EXPORT int TestAnswer()
{
    return 42;
}
TEST_EXPORT int TestAttachCount()
{
    return g_nAttached;
}
TEST_EXPORT void* TestInstance()
{
    return g_hInstance;
}
// *pnDetached grows by one when the library goes.
TEST_EXPORT void TestCountDetach(int* pnDetached)
{
    g_pnDetached = pnDetached;
}

TEST_EXPORT BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID /*pReserved*/)
{
    if (dwReason == DLL_PROCESS_ATTACH)
    {
        ++g_nAttached;
        g_hInstance = hInstance;
        DisableThreadLibraryCalls(hInstance);
    }
    else if (dwReason == DLL_PROCESS_DETACH && g_pnDetached)
    {
        ++*g_pnDetached;
    }
    return TRUE;
}
