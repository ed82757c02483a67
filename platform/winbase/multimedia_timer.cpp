#include "mmsystem.h"
#include "winbase.h"

static_assert(TIMERR_NOCANDO == 97);

namespace
{

constexpr TIMECAPS c_caps = {1, 1'000'000};

MMRESULT CheckPeriod(UINT uiPeriod)
{
    return uiPeriod < c_caps.wPeriodMin || uiPeriod > c_caps.wPeriodMax ? TIMERR_NOCANDO : TIMERR_NOERROR;
}

}  // namespace

MMRESULT WINAPI timeBeginPeriod(UINT uiPeriod)
{
    return CheckPeriod(uiPeriod);
}

MMRESULT WINAPI timeEndPeriod(UINT uiPeriod)
{
    return CheckPeriod(uiPeriod);
}

MMRESULT WINAPI timeGetDevCaps(LPTIMECAPS pCaps, UINT cbCaps)
{
    if (!pCaps || cbCaps < sizeof(TIMECAPS))
    {
        return TIMERR_NOCANDO;
    }
    *pCaps = c_caps;
    return TIMERR_NOERROR;
}

DWORD WINAPI timeGetTime()
{
    return GetTickCount();
}
