// The module's two entry points: the loader's, and the factory that the host calls.
#include "common/modulestate.h"
#include "moduleexport.h"
#include "mp4filesimpl/imageformatmp4.h"

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

extern "C" QM_MODULE_EXPORT IQmInterface* QM_ConstructorForCQmImageFormatMP4(const char* pszFile, unsigned int uiLine)
{
    return ConstructImageFormatMP4(pszFile, uiLine);
}
