#include "support/run_program.h"

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

}  // namespace

ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                         const std::vector<std::string>& vEnvironment, const std::string& strOutPath)
{
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
