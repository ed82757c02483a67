// A media session of the system with the module's media source in it: pictures that carry their number, unsteady times,
// and what is on record of the session.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>

#include "recording_sink.h"
#include "session_record.h"
#include "support/bytes.h"

namespace system_session
{

using Texts = std::vector<std::string>;

inline constexpr DWORD LIMIT_MS = 20000;  // for what a session is to do
inline constexpr std::uint32_t WIDTH = 64;
inline constexpr std::uint32_t HEIGHT = 48;

// Bars of eight columns, white where the bit of the number is set: the first bar is the highest bit.
inline bool IsWhite(unsigned uiNumber, std::uint32_t uiColumn)
{
    return ((uiNumber >> (7 - uiColumn / 8)) & 1) != 0;
}

inline Bytes HostPixels(unsigned uiNumber)
{
    Bytes vPixels;
    for (std::uint32_t ui = 0; ui < WIDTH * HEIGHT; ++ui)
        vPixels.insert(vPixels.end(), std::size_t{3}, std::uint8_t(IsWhite(uiNumber, ui % WIDTH) ? 255 : 0));
    return vPixels;
}

// The number that a picture shows in each of its rows, or -1. Black and white are about the ends of the studio range.
// uiStep: bytes from one luma value to the next.
inline int ReadNumber(const Bytes& vPicture, std::size_t uiStep)
{
    if (vPicture.size() < WIDTH * HEIGHT * uiStep) return -1;
    int nSeen = -1;
    for (std::uint32_t uiRow = 0; uiRow < HEIGHT; ++uiRow)
    {
        int nNumber = 0;
        for (std::uint32_t uiBar = 0; uiBar < 8; ++uiBar)
        {
            // The middle of a bar: an encoder blurs its edges.
            const int nLuma = vPicture[(uiRow * WIDTH + uiBar * 8 + 4) * uiStep];
            if (std::abs(nLuma - 16) > 40 && std::abs(nLuma - 235) > 40) return -1;
            nNumber = nNumber * 2 + (nLuma > 126 ? 1 : 0);
        }
        if (uiRow != 0 && nNumber != nSeen) return -1;
        nSeen = nNumber;
    }
    return nSeen;
}

// Times of an unsteady camera, in milliseconds: a pause, and neighbours 1 ms apart. Binary fractions, so that the sums
// are exact.
inline const std::vector<double> g_vTimes = {0,      33.5, 34.5,   134.75, 136,  1136.25, 1137.25, 1150,
                                             1200.5, 1300, 1333.5, 1366,   5366, 5400,    5401.5,  5500};

inline LONGLONG Ticks(double dMilliseconds)
{
    return static_cast<LONGLONG>(dMilliseconds * 10000);
}

// Frame k's duration is the distance of the next one; the last repeats the one before it.
inline std::vector<LONGLONG> DurationsOf(const std::vector<double>& vTimes)
{
    std::vector<LONGLONG> vDurations;
    for (std::size_t ui = 1; ui < vTimes.size(); ++ui)
        vDurations.push_back(Ticks(vTimes[ui] - vTimes[ui - 1]));
    vDurations.push_back(vDurations.back());
    return vDurations;
}

inline Texts SampleTexts(const std::vector<double>& vTimes)
{
    Texts vTexts;
    const std::vector<LONGLONG> vDurations = DurationsOf(vTimes);
    for (std::size_t ui = 0; ui < vTimes.size(); ++ui)
        vTexts.push_back("sample " + std::to_string(Ticks(vTimes[ui])) + "+" + std::to_string(vDurations[ui]));
    return vTexts;
}

template <class TCount>
bool FallsTo(ULONG nMost, TCount count)
{
    for (int i = 0; i < 2000 && count() > nMost; ++i)
        Sleep(5);
    return count() <= nMost;
}

class SystemSession : public testing::Test
{
protected:
    static Texts SinkSamples()
    {
        Texts vSamples = CSessionRecord::Get("sink");
        std::erase_if(vSamples, [](const std::string& text) { return text.rfind("sample", 0) != 0; });
        return vSamples;
    }
    // Of source and stream, without their shutdown.
    static Texts SourceEvents()
    {
        Texts vEvents = CSessionRecord::Get();
        std::erase_if(vEvents, [](const std::string& text) {
            return (text.rfind("source ", 0) != 0 && text.rfind("stream ", 0) != 0) || text.ends_with("shutdown");
        });
        return vEvents;
    }
    static std::vector<int> NumbersOf(const std::vector<SSinkSample>& vSamples)
    {
        std::vector<int> vNumbers;
        for (const SSinkSample& sample : vSamples)
            vNumbers.push_back(ReadNumber(sample.m_vBytes, 2));
        return vNumbers;
    }
    static std::vector<int> NumbersUpTo(std::size_t uiCount)
    {
        std::vector<int> vNumbers(uiCount);
        std::iota(vNumbers.begin(), vNumbers.end(), 0);
        return vNumbers;
    }

    SystemSession()
    {
        CSessionRecord::Clear();
        EXPECT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    }
    ~SystemSession() override
    {
        MFShutdown();
        if (!HasFailure()) return;
        for (const std::string& text : CSessionRecord::Get())
            std::printf("  %s\n", text.c_str());
    }
};

}  // namespace system_session
