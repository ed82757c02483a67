// The process's environment variables.
#pragma once

#include <optional>
#include <string>

namespace winbase
{

// UTF-8. Safe while SetEnvironmentVariableW changes the environment.
std::optional<std::string> EnvironmentVariable(const char* pszName);

}  // namespace winbase
