#include "system.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include "parts/text.h"

namespace qmhost
{
namespace
{

std::string ErrorText(DWORD dwError)
{
    wchar_t* pwszText = nullptr;
    const DWORD dwLength =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, dwError, 0, reinterpret_cast<wchar_t*>(&pwszText), 0, nullptr);
    const std::unique_ptr<wchar_t, HLOCAL (*)(HLOCAL)> pOwner(pwszText, LocalFree);
    std::string text = Utf8FromWide(std::wstring_view(pwszText, pwszText ? dwLength : 0));
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return text.empty() ? "error " + std::to_string(dwError) : text;
}

}  // namespace

// main's arguments went through the ANSI code page, so they are taken from the system again.
std::vector<std::string> CommandLineArguments(int, char**)
{
    int nCount = 0;
    const std::unique_ptr<wchar_t*, HLOCAL (*)(HLOCAL)> pArguments(CommandLineToArgvW(GetCommandLineW(), &nCount),
                                                                   LocalFree);
    std::vector<std::string> vArguments;
    for (int i = 1; pArguments && i < nCount; ++i)
        vArguments.push_back(Utf8FromWide(pArguments.get()[i]));
    return vArguments;
}

std::filesystem::path ProgramFolder()
{
    std::wstring strPath(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD dwLength = GetModuleFileNameW(nullptr, strPath.data(), static_cast<DWORD>(strPath.size()));
        if (dwLength < strPath.size())
        {
            strPath.resize(dwLength);
            return std::filesystem::path(strPath).parent_path();
        }
        strPath.resize(strPath.size() * 2);
    }
}

std::filesystem::path ModuleFileName()
{
    return L"imageformat_mp4.dll";
}

bool IsTerminalOnStderr()
{
    return _isatty(_fileno(stderr)) != 0;
}

std::FILE* BinaryInput()
{
    _setmode(_fileno(stdin), _O_BINARY);
    return stdin;
}

void PrepareProcess()
{
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
}

Library::Library(const std::filesystem::path& path)
    // This way of searching wants a whole path, with backslashes only.
    : m_hLibrary(LoadLibraryExW(std::filesystem::absolute(path).make_preferred().c_str(), nullptr,
                                LOAD_WITH_ALTERED_SEARCH_PATH))
{
    if (m_hLibrary) return;
    throw std::runtime_error(Quoted(Utf8FromPath(path)) + " doesn't load: " + ErrorText(GetLastError()));
}

Library::~Library()
{
    if (m_hLibrary) FreeLibrary(static_cast<HMODULE>(m_hLibrary));
}

Library::Library(Library&& other) noexcept : m_hLibrary(other.m_hLibrary)
{
    other.m_hLibrary = nullptr;
}

void* Library::Find(const char* pszName) const
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_hLibrary), pszName));
}

}  // namespace qmhost
