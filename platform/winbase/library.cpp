#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <map>
#include <mutex>
#include <unistd.h>

#include "platform/winbase/last_error.h"
#include "platform/winbase/library_search.h"
#include "platform/winbase/text.h"

namespace winbase
{
namespace
{

using DllMainFunction = BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID);

struct Library
{
    unsigned uiLoads = 0;
    std::string name;  // as it was asked for first
};

// The libraries that LoadLibrary has loaded, by the system's handle. The lock is recursive because a library's DllMain
// runs under it, as under Windows' loader lock, and may load libraries in turn.
struct Loader
{
    std::recursive_mutex m_mutex;
    std::map<void*, Library> m_mapLibraries;
};

Loader& TheLoader()
{
    static Loader& s_loader = *new Loader;
    return s_loader;
}

void* SystemHandle(HMODULE hModule)
{
    return reinterpret_cast<void*>(hModule);
}
HMODULE ModuleHandle(void* pLibrary)
{
    return reinterpret_cast<HMODULE>(pLibrary);
}

// What null means as a module. Counted once by the system for every call, which does no harm.
void* Program()
{
    return dlopen(nullptr, RTLD_NOW);
}

std::string PathOf(void* pLibrary)
{
    const link_map* pMap = nullptr;
    if (dlinfo(pLibrary, RTLD_DI_LINKMAP, &pMap) != 0 || !pMap || !pMap->l_name || !*pMap->l_name)
    {
        return {};
    }
    return std::filesystem::absolute(pMap->l_name).lexically_normal().string();
}

std::string ProgramPath()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

// dlsym goes on in the libraries that the library uses; an entry of one of those isn't this one's.
void* OwnSymbol(void* pLibrary, const char* pszName)
{
    void* pSymbol = dlsym(pLibrary, pszName);
    const link_map* pOwner = nullptr;
    const link_map* pMap = nullptr;
    Dl_info info{};
    if (!pSymbol || dlinfo(pLibrary, RTLD_DI_LINKMAP, &pMap) != 0 ||
        !dladdr1(pSymbol, &info, reinterpret_cast<void**>(const_cast<link_map**>(&pOwner)), RTLD_DL_LINKMAP))
    {
        return nullptr;
    }
    return pOwner == pMap ? pSymbol : nullptr;
}

bool CallDllMain(void* pLibrary, DWORD dwReason)
{
    const auto pfnDllMain = reinterpret_cast<DllMainFunction>(OwnSymbol(pLibrary, "DllMain"));
    return !pfnDllMain || pfnDllMain(ModuleHandle(pLibrary), dwReason, nullptr) != FALSE;
}

HMODULE Load(const std::string& name)
{
    if (name.empty())
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    const auto candidates = LibraryCandidates(name);
    const auto it = std::find_if(candidates.begin(), candidates.end(),
                                 [](const std::string& path) { return access(path.c_str(), F_OK) == 0; });
    if (it == candidates.end())
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    // A bare name would send the system searching again, along its own ways.
    const std::string path = std::filesystem::absolute(*it).string();

    // Not under the loader's own lock: initialisers of a library, which the system runs under its lock, may come here.
    void* pLibrary = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!pLibrary)
    {
        SetLastError(ERROR_BAD_EXE_FORMAT);
        return nullptr;
    }
    Loader& loader = TheLoader();
    const std::lock_guard lock(loader.m_mutex);
    Library& library = loader.m_mapLibraries[pLibrary];
    if (library.uiLoads++ > 0)
    {
        return ModuleHandle(pLibrary);
    }
    library.name = name;
    if (!CallDllMain(pLibrary, DLL_PROCESS_ATTACH))
    {
        loader.m_mapLibraries.erase(pLibrary);
        dlclose(pLibrary);
        SetLastError(ERROR_DLL_INIT_FAILED);
        return nullptr;
    }
    return ModuleHandle(pLibrary);
}

HMODULE LoadEx(const std::string& name, HANDLE hFile, DWORD dwFlags)
{
    if (hFile)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (dwFlags & (DONT_RESOLVE_DLL_REFERENCES | LOAD_LIBRARY_AS_DATAFILE))
    {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    return Load(name);
}

HMODULE FindLoaded(const std::string& name)
{
    Loader& loader = TheLoader();
    const std::lock_guard lock(loader.m_mutex);
    const auto it = std::find_if(loader.m_mapLibraries.begin(), loader.m_mapLibraries.end(),
                                 [&](const auto& entry) { return IsSameLibraryName(entry.second.name, name); });
    if (it == loader.m_mapLibraries.end())
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return ModuleHandle(it->first);
}

// With the last error set if it isn't.
bool IsLoaded(HMODULE hModule)
{
    Loader& loader = TheLoader();
    const std::lock_guard lock(loader.m_mutex);
    if (loader.m_mapLibraries.count(SystemHandle(hModule)) > 0 || SystemHandle(hModule) == Program())
    {
        return true;
    }
    SetLastError(ERROR_MOD_NOT_FOUND);
    return false;
}

}  // namespace
}  // namespace winbase

using namespace winbase;

HMODULE WINAPI LoadLibraryA(LPCSTR lpFileName)
{
    return LoadLibraryExA(lpFileName, nullptr, 0);
}

HMODULE WINAPI LoadLibraryW(LPCWSTR lpFileName)
{
    return LoadLibraryExW(lpFileName, nullptr, 0);
}

HMODULE WINAPI LoadLibraryExA(LPCSTR lpFileName, HANDLE hFile, DWORD dwFlags)
{
    return WithoutExceptions<HMODULE>(nullptr, [&] { return LoadEx(lpFileName ? lpFileName : "", hFile, dwFlags); });
}

HMODULE WINAPI LoadLibraryExW(LPCWSTR lpFileName, HANDLE hFile, DWORD dwFlags)
{
    return WithoutExceptions<HMODULE>(
        nullptr, [&] { return LoadEx(lpFileName ? Utf8FromWide(lpFileName) : std::string(), hFile, dwFlags); });
}

BOOL WINAPI FreeLibrary(HMODULE hModule)
{
    Loader& loader = TheLoader();
    const std::lock_guard lock(loader.m_mutex);
    const auto it = loader.m_mapLibraries.find(SystemHandle(hModule));
    if (it == loader.m_mapLibraries.end())
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    if (--it->second.uiLoads == 0)
    {
        CallDllMain(it->first, DLL_PROCESS_DETACH);
        loader.m_mapLibraries.erase(it);
    }
    dlclose(SystemHandle(hModule));
    return TRUE;
}

FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    const HMODULE hLibrary = hModule ? hModule : ModuleHandle(Program());
    if (!IsLoaded(hLibrary))
    {
        return nullptr;
    }
    void* pSymbol = lpProcName ? OwnSymbol(SystemHandle(hLibrary), lpProcName) : nullptr;
    if (!pSymbol)
    {
        SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return reinterpret_cast<FARPROC>(pSymbol);
}

HMODULE WINAPI GetModuleHandleA(LPCSTR lpModuleName)
{
    return lpModuleName ? WithoutExceptions<HMODULE>(nullptr, [&] { return FindLoaded(lpModuleName); })
                        : ModuleHandle(Program());
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR lpModuleName)
{
    return lpModuleName ? WithoutExceptions<HMODULE>(nullptr, [&] { return FindLoaded(Utf8FromWide(lpModuleName)); })
                        : ModuleHandle(Program());
}

DWORD WINAPI GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize)
{
    return WithoutExceptions<DWORD>(0, [&]() -> DWORD {
        const bool bProgram = !hModule || SystemHandle(hModule) == Program();
        if (!bProgram && !IsLoaded(hModule))
        {
            return 0;
        }
        if (!lpFilename || nSize == 0)
        {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        const std::wstring path = WideFromUtf8(bProgram ? ProgramPath() : PathOf(SystemHandle(hModule)));
        const bool bFits = path.size() < nSize;
        const std::size_t nLength = bFits ? path.size() : nSize - 1;
        std::copy_n(path.begin(), nLength, lpFilename);
        lpFilename[nLength] = L'\0';
        SetLastError(bFits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
        return bFits ? static_cast<DWORD>(nLength) : nSize;
    });
}

BOOL WINAPI DisableThreadLibraryCalls(HMODULE hModule)
{
    return IsLoaded(hModule) ? TRUE : FALSE;
}
