// Runs a program the way a person does, and tells what came of it.
#pragma once

#include <string>
#include <vector>

struct ProgramResult
{
    int m_nStatus = -1;  // exit status, or 128 and the signal's number
    std::string m_strOut;
    std::string m_strErr;
};

// vEnvironment: "NAME=value" items on top of this process's own. strOutPath: where standard output goes instead of into
// the result.
ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& vArguments,
                         const std::vector<std::string>& vEnvironment = {}, const std::string& strOutPath = {});
