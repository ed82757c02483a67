// From a command line to an exit status.
#pragma once

#include <string>
#include <vector>

namespace qmhost
{

// Runs the program with arguments in UTF-8, the program's name left out. Gives 0; 1 after one line on standard error
// that names the operation that failed and its status; or 2 for a command line that is wrong. Throws nothing.
int RunCommandLine(const std::vector<std::string>& vArguments);

}  // namespace qmhost
