// Records which timer periods a program asks the system for. A program that links it has this `timeBeginPeriod` in the
// place of the system's.
#pragma once

#include <vector>

// In milliseconds, in order, since the last call of this function.
std::vector<unsigned> TakeTimerPeriodsAsked();
