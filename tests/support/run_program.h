// Other programs, started without a shell.
#pragma once

#include <string>
#include <vector>

namespace test_support
{

struct ProgramResult
{
    int m_nStatus = -1;  // exit status, or 128 and the signal's number
    std::string m_strOut;
    std::string m_strErr;
};

// Runs a program to its end, without any input. Texts are UTF-8. strProgram: a path, or a name for the system to find.
// vEnvironment: "NAME=value" items on top of this process's own. strOutPath: the file that gets standard output, which
// is then not in the result. Throws std::runtime_error when the program can't be started.
ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                         const std::vector<std::string>& vEnvironment = {}, const std::string& strOutPath = {});

}  // namespace test_support
