// From the name that a program loads a library by to the files that it may mean.
#pragma once

#include <string>
#include <vector>

namespace winbase
{

// In the order in which they are to be tried; which of them exist is not looked at. UTF-8.
std::vector<std::string> LibraryCandidates(const std::string& name);

// Whether two names mean one library: the directory, the ending .dll and upper and lower case make no difference.
bool IsSameLibraryName(const std::string& left, const std::string& right);

}  // namespace winbase
