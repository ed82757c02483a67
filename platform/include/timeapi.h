// The multimedia timer's period.
#pragma once

#include "windef.h"

using MMRESULT = UINT;

#define TIMERR_BASE 96
#define TIMERR_NOERROR 0
#define TIMERR_NOCANDO (TIMERR_BASE + 1)
#define TIMERR_STRUCT (TIMERR_BASE + 33)

// Periods in milliseconds that can be asked for.
struct TIMECAPS
{
    UINT wPeriodMin;
    UINT wPeriodMax;
};
using PTIMECAPS = TIMECAPS*;
using LPTIMECAPS = TIMECAPS*;

extern "C"
{
    // TIMERR_NOCANDO for a period outside the range that timeGetDevCaps gives. Sleeps here are as precise as the system
    // makes them, whatever was asked for.
    WINBASEAPI MMRESULT WINAPI timeBeginPeriod(UINT uiPeriod);
    WINBASEAPI MMRESULT WINAPI timeEndPeriod(UINT uiPeriod);
    WINBASEAPI MMRESULT WINAPI timeGetDevCaps(LPTIMECAPS pCaps, UINT cbCaps);
    // GetTickCount under its multimedia name.
    WINBASEAPI DWORD WINAPI timeGetTime();
}
