// What several commands have in common. Each check of an option gives the problem with a text, "" for none.
#pragma once

#include <string>

#include "parts/repair.h"

namespace qmhost
{

// A period in milliseconds: from a tick of the file's clock to ten days.
std::string PeriodProblem(const std::string& text);

// The name of an MP4 file to write.
std::string TargetProblem(const std::string& text);

// A line on standard error.
void Warn(const std::string& text);

// What a repair found and did, and its warnings.
void PrintReport(const RepairReport& report);

}  // namespace qmhost
