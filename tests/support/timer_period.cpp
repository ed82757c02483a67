#include "support/timer_period.h"

#include <mutex>
#include <utility>

#include <windows.h>

#include <mmsystem.h>

namespace
{
std::mutex g_mutex;
std::vector<unsigned> g_vAsked;

MMRESULT WINAPI RecordedBegin(UINT uiPeriod)
{
    const std::lock_guard lock(g_mutex);
    g_vAsked.push_back(uiPeriod);
    return TIMERR_NOERROR;
}
}  // namespace

extern "C"
{
#ifdef _WIN32
    // What a call of an imported function goes through.
    extern decltype(&RecordedBegin) __imp_timeBeginPeriod;
    decltype(&RecordedBegin) __imp_timeBeginPeriod = RecordedBegin;
#else
    // The program's own definition comes before that of a library.
    MMRESULT WINAPI timeBeginPeriod(UINT uiPeriod)
    {
        return RecordedBegin(uiPeriod);
    }
#endif
}

std::vector<unsigned> TakeTimerPeriodsAsked()
{
    const std::lock_guard lock(g_mutex);
    return std::exchange(g_vAsked, {});
}
