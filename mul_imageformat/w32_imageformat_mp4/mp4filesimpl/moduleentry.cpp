// The module's two ways in: the loader's entry, and the factory that the host calls.
#include "moduleexport.h"
#include "mp4filesimpl/imageformatmp4.h"
#include "common/modulestate.h"

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
