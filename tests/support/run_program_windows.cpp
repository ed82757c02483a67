#include "support/run_program.h"

#include <cstring>
#include <stdexcept>

#include <windows.h>

#include "support/temporary_folder.h"

namespace test_support
{

namespace
{

std::wstring Wide(const std::string& strUtf8)
{
    return std::filesystem::path(std::u8string(strUtf8.begin(), strUtf8.end())).wstring();
}

// An argument as CommandLineToArgvW takes it apart: backslashes count double in front of a quote.
void AppendArgument(std::wstring& strCommandLine, const std::wstring& strArgument)
{
    strCommandLine += L" \"";
    std::size_t uiBackslashes = 0;
    for (const wchar_t c : strArgument)
    {
        if (c == L'"') strCommandLine.append(uiBackslashes + 1, L'\\');
        uiBackslashes = c == L'\\' ? uiBackslashes + 1 : 0;
        strCommandLine += c;
    }
    strCommandLine.append(uiBackslashes, L'\\');
    strCommandLine += L'"';
}

HANDLE CreateInheritable(const std::filesystem::path& path)
{
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &attributes, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

void SetVariables(const std::vector<std::string>& vEnvironment)
{
    for (const std::string& strItem : vEnvironment)
    {
        const std::size_t uiEquals = strItem.find('=');
        SetEnvironmentVariableW(Wide(strItem.substr(0, uiEquals)).c_str(), Wide(strItem.substr(uiEquals + 1)).c_str());
    }
}

// --- programs of the system below Wine ---

// What Wine's ntdll.dll and kernel32.dll have besides Windows' own.
using PSpawn = int(__cdecl*)(const char* const*, int);
using PUnixName = char*(__cdecl*)(LPCWSTR);

template <typename TFunction>
TFunction FindFunction(const wchar_t* pwszLibrary, const char* pszName)
{
    const FARPROC pfn = GetProcAddress(GetModuleHandleW(pwszLibrary), pszName);
    TFunction pfnFound = nullptr;
    static_assert(sizeof pfnFound == sizeof pfn);
    std::memcpy(&pfnFound, &pfn, sizeof pfnFound);
    return pfnFound;
}

std::string UnixName(const std::string& strPath)
{
    const auto pfnUnixName = FindFunction<PUnixName>(L"kernel32.dll", "wine_get_unix_file_name");
    char* const pszName = pfnUnixName(Wide(strPath).c_str());
    if (pszName == nullptr) throw std::runtime_error(strPath + " has no name below Wine");
    const std::string strName = pszName;
    HeapFree(GetProcessHeap(), 0, pszName);
    return strName;
}

std::string Utf8(const std::filesystem::path& path)
{
    const std::u8string strPath = path.u8string();
    return std::string(strPath.begin(), strPath.end());
}

bool IsWindowsPath(const std::string& strArgument)
{
    return strArgument.size() > 2 && strArgument[1] == ':' && (strArgument[2] == '\\' || strArgument[2] == '/');
}

// Whether the program is to be one of the system below Wine: there is a Wine, and no Windows program of that name.
bool IsBelowWine(const std::string& strProgram)
{
    return FindFunction<PSpawn>(L"ntdll.dll", "__wine_unix_spawnvp") != nullptr &&
           SearchPathW(nullptr, Wide(strProgram).c_str(), L".exe", 0, nullptr, nullptr) == 0;
}

// Paths among the arguments are given as that system knows them. A shell puts what the program writes, and its status,
// into files: it has no handles of this process.
ProgramResult RunBelowWine(const std::string& strProgram, const std::vector<std::string>& vArguments,
                           const std::vector<std::string>& vEnvironment, const std::string& strOutPath)
{
    const TemporaryFolder folder;
    const std::filesystem::path pathOut = strOutPath.empty() ? folder / "out" : std::filesystem::path(Wide(strOutPath));
    std::vector<std::string> vAll = {"sh",
                                     "-c",
                                     "out=$1 err=$2 status=$3; shift 3; env \"$@\" >\"$out\" 2>\"$err\" </dev/null; "
                                     "echo $? >\"$status\"",
                                     "sh",
                                     UnixName(Utf8(pathOut)),
                                     UnixName(Utf8(folder / "err")),
                                     UnixName(Utf8(folder / "status"))};
    vAll.insert(vAll.end(), vEnvironment.begin(), vEnvironment.end());
    vAll.push_back(strProgram);
    for (const std::string& strArgument : vArguments)
        vAll.push_back(IsWindowsPath(strArgument) ? UnixName(strArgument) : strArgument);

    std::vector<const char*> vPointers;
    for (const std::string& strArgument : vAll)
        vPointers.push_back(strArgument.c_str());
    vPointers.push_back(nullptr);
    FindFunction<PSpawn>(L"ntdll.dll", "__wine_unix_spawnvp")(vPointers.data(), 1);

    constexpr int NOT_FOUND = 127;
    ProgramResult result;
    const std::string strStatus = ReadText(folder / "status");
    result.m_nStatus = strStatus.empty() ? NOT_FOUND : std::stoi(strStatus);
    if (result.m_nStatus == NOT_FOUND) throw std::runtime_error(strProgram + " can't be started");
    if (strOutPath.empty()) result.m_strOut = ReadText(pathOut);
    result.m_strErr = ReadText(folder / "err");
    return result;
}

}  // namespace

ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                         const std::vector<std::string>& vEnvironment, const std::string& strOutPath)
{
    if (IsBelowWine(strProgram)) return RunBelowWine(strProgram, vArguments, vEnvironment, strOutPath);

    const TemporaryFolder folder;
    const std::filesystem::path pathOut = strOutPath.empty() ? folder / "out" : std::filesystem::path(Wide(strOutPath));
    std::wstring strCommandLine;
    AppendArgument(strCommandLine, Wide(strProgram));
    for (const std::string& strArgument : vArguments)
        AppendArgument(strCommandLine, Wide(strArgument));
    SetVariables(vEnvironment);  // inherited; each run sets its own

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateInheritable(pathOut);
    startup.hStdError = CreateInheritable(folder / "err");
    PROCESS_INFORMATION process{};
    const BOOL bStarted = CreateProcessW(nullptr, strCommandLine.data() + 1, nullptr, nullptr, TRUE, 0, nullptr,
                                         nullptr, &startup, &process);
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (!bStarted) throw std::runtime_error(strProgram + " can't be started");

    DWORD dwStatus = 0;
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &dwStatus);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);

    ProgramResult result;
    result.m_nStatus = static_cast<int>(dwStatus);
    if (strOutPath.empty()) result.m_strOut = ReadText(pathOut);
    result.m_strErr = ReadText(folder / "err");
    std::erase(result.m_strErr, '\r');  // standard error is a text stream there
    return result;
}

}  // namespace test_support
