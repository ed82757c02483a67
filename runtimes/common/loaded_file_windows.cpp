#include <windows.h>

#include "runtimes/common/loaded_file.h"

namespace runtimes
{

bool MayWaitAtUnload()
{
    return false;
}

LoadedFile::LoadedFile()
{
    static const char s_cInFile = 0;
    HMODULE hFile = nullptr;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&s_cInFile), &hFile))
    {
        m_pFile = hFile;
    }
}

LoadedFile::~LoadedFile()
{
    if (m_pFile)
    {
        FreeLibrary(static_cast<HMODULE>(m_pFile));
    }
}

}  // namespace runtimes
