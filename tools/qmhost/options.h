// What options of several commands have in common. Each check gives the problem with a text, "" for none.
#pragma once

#include <string>

namespace qmhost
{

// A period in milliseconds: from a tick of the file's clock to ten days.
std::string PeriodProblem(const std::string& text);

// The name of an MP4 file to write.
std::string TargetProblem(const std::string& text);

// A line on standard error.
void Warn(const std::string& text);

}  // namespace qmhost
