// The loader's way into the module. The host's is the factory, in imageformatmp4.h.
#include "common/modulestate.h"
#include "moduleexport.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID)
{
    if (dwReason == DLL_PROCESS_ATTACH)
    {
        g_hModule = hInstance;
        DisableThreadLibraryCalls(hInstance);
    }
    return TRUE;
}

QM_MODULE_ENTRY(DllMain);
