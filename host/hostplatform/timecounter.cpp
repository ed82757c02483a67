// The time counter.
#include "hostapi/hostplatform.h"

#include <chrono>

double QM_GetTimeCounter()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}
