// Libraries loaded at run time.
#pragma once

#include "windef.h"

#define DONT_RESOLVE_DLL_REFERENCES 0x00000001U
#define LOAD_LIBRARY_AS_DATAFILE 0x00000002U
#define LOAD_WITH_ALTERED_SEARCH_PATH 0x00000008U
#define LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR 0x00000100U
#define LOAD_LIBRARY_SEARCH_APPLICATION_DIR 0x00000200U
#define LOAD_LIBRARY_SEARCH_USER_DIRS 0x00000400U
#define LOAD_LIBRARY_SEARCH_SYSTEM32 0x00000800U
#define LOAD_LIBRARY_SEARCH_DEFAULT_DIRS 0x00001000U

extern "C"
{
    // A name without a directory, "NAME.dll" or "NAME", means NAME.so or libNAME.so. It is looked for in the directory
    // that the environment variable IMAGEFORMAT_MP4_RUNTIMES names and, if there is such a variable, nowhere else: a
    // relative path there names none. Without the variable it is looked for beside this library and then in the
    // directory `runtimes` beside this library. A name with a directory means that file; only if it isn't there and
    // ends in .dll, the file of that name that ends in .so. Narrow names are UTF-8.
    //
    // Gives null with ERROR_MOD_NOT_FOUND if there is no such file, ERROR_BAD_EXE_FORMAT if it can't be loaded. A
    // loaded library counts its loads. If it exports DllMain, that is called with DLL_PROCESS_ATTACH by the first load,
    // which fails with ERROR_DLL_INIT_FAILED when DllMain gives FALSE, and with DLL_PROCESS_DETACH by the last
    // FreeLibrary.
    WINBASEAPI HMODULE WINAPI LoadLibraryA(LPCSTR lpFileName);
    WINBASEAPI HMODULE WINAPI LoadLibraryW(LPCWSTR lpFileName);
    // hFile is null. The flags that change where Windows looks are taken and not used; those that load a library
    // without running it fail with ERROR_NOT_SUPPORTED.
    WINBASEAPI HMODULE WINAPI LoadLibraryExA(LPCSTR lpFileName, HANDLE hFile, DWORD dwFlags);
    WINBASEAPI HMODULE WINAPI LoadLibraryExW(LPCWSTR lpFileName, HANDLE hFile, DWORD dwFlags);
    WINBASEAPI BOOL WINAPI FreeLibrary(HMODULE hModule);

    // An entry of that library itself, not of those it uses; null with ERROR_PROC_NOT_FOUND. A null module is the
    // program.
    WINBASEAPI FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName);

    // Null is the program; a name finds only what LoadLibrary has loaded. Directory, case and the ending .dll make no
    // difference. Counts no load.
    WINBASEAPI HMODULE WINAPI GetModuleHandleA(LPCSTR lpModuleName);
    WINBASEAPI HMODULE WINAPI GetModuleHandleW(LPCWSTR lpModuleName);
    // The full path of the library, of the program for null. Gives its length without the nul; with too small a buffer
    // nSize, the cut text and ERROR_INSUFFICIENT_BUFFER.
    WINBASEAPI DWORD WINAPI GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize);

    // No thread calls DllMain here, so there is nothing to switch off; TRUE for a loaded library.
    WINBASEAPI BOOL WINAPI DisableThreadLibraryCalls(HMODULE hModule);
}
