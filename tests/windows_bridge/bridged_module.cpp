// A module file that is the real one with the gaps of Wine filled: windows_bridge.dll. A host loads it in the place of
// imageformat_mp4.dll, which lies beside it.
#include <cstring>
#include <string>

#include <windows.h>

#include "hostapi/iqmimageformat.h"
#include "windows_bridge/bridge.h"

namespace
{

std::wstring FolderOfThisFile()
{
    HMODULE hBridge = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&FolderOfThisFile), &hBridge);
    std::wstring strPath(32768, L'\0');
    strPath.resize(GetModuleFileNameW(hBridge, strPath.data(), static_cast<DWORD>(strPath.size())));
    return strPath.substr(0, strPath.rfind(L'\\') + 1);
}

PQmModuleConstructor FindFactory()
{
    const HMODULE hModule = LoadLibraryW((FolderOfThisFile() + L"imageformat_mp4.dll").c_str());
    if (hModule == nullptr) return nullptr;
    const auto pfn = GetProcAddress(hModule, "QM_ConstructorForCQmImageFormatMP4");
    PQmModuleConstructor pfnFactory = nullptr;
    static_assert(sizeof pfnFactory == sizeof pfn);
    std::memcpy(&pfnFactory, &pfn, sizeof pfn);
    return pfnFactory;
}

}  // namespace

// Null when the module can't be loaded.
extern "C" __declspec(dllexport) IQmInterface* QM_ConstructorForCQmImageFormatMP4(const char* pszFile,
                                                                                  unsigned int uiLine)
{
    windows_bridge::FillGaps();
    static const PQmModuleConstructor pfnFactory = FindFactory();
    return pfnFactory != nullptr ? pfnFactory(pszFile, uiLine) : nullptr;
}
