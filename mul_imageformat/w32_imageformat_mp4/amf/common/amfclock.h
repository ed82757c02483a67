// The clock of the AMF path, and how precise its sleeps are.
#pragma once

#include <cstdint>
#include <optional>

#include <windows.h>

#include <mmsystem.h>

// Time since the first call in the process, in units of 100 ns; never backwards. Without a performance counter it is
// the system's tick count times 10 instead, so 10 a millisecond and not since the first call. For any thread.
std::int64_t amf_high_precision_clock();

// Asks for a timer period of 1 ms, or the next longer one that the system grants, for the life of the process. The
// period is not given back.
void amf_increase_timer_precision();

// The system's clocks, in place of which a test has its own.
struct SSystemClocks
{
    BOOL(WINAPI* m_pfnFrequency)(LARGE_INTEGER*);
    BOOL(WINAPI* m_pfnCounter)(LARGE_INTEGER*);
    ULONGLONG(WINAPI* m_pfnTicks)();
};

class CAMFClock
{
public:
    // Its first call. Looks whether there is a counter.
    explicit CAMFClock(const SSystemClocks& clocks);

    std::int64_t Read() const;

private:
    const SSystemClocks m_clocks;
    bool m_bCounter;             // false: the tick count is used
    std::int64_t m_nFrequency;   // counts a second
    std::int64_t m_nStartCount;  // the counter at the first call
};

// The first period from uiPeriod milliseconds on that pfnBegin grants. None if it grants none of up to a second: then
// no period helps.
std::optional<std::uint32_t> BeginTimerPeriod(std::uint32_t uiPeriod, MMRESULT(WINAPI* pfnBegin)(UINT));
