// What is to become of a file of eight frames when a call of the encoder's runtime fails.
//
//   frame sent     1   2   3   4   5   6   7   8   end of stream
//   packet read                1   2   3   4   5   6 7 8
//
// A frame's packet is read three frames later, through the frame's own slot of four. A slot whose packet couldn't be
// read is still taken when its next frame comes, so a file that has lost its step refuses every frame from there on,
// as a driver that lost one call would have it.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "hostapi/qmstatus.h"
#include "runtimes/nvenc/nvenc_script.h"

namespace test_support
{

inline constexpr std::uint32_t g_uiFrames = 8;
inline constexpr std::uint32_t g_uiHeldBack = 3;

// Where the diagnostics place what went wrong.
inline constexpr int g_nOpenSession = 2409;
inline constexpr int g_nCreateEncoder = 2440;
inline constexpr int g_nFrame = 965;
inline constexpr int g_nClose = 241;

// How often an undisturbed file calls an entry.
std::uint32_t CallsOf(NvencRuntimeEntry eEntry);

// What is to become of a file.
struct Outcome
{
    std::vector<QmStatus> m_vFrames = std::vector<QmStatus>(g_uiFrames, QM_OK);
    std::optional<std::uint32_t> m_uiPackets = g_uiFrames;  // nothing: there is no file
    bool m_bFirstPackets = true;                            // they are those that an undisturbed file begins with
    int m_nLine = 0;                                        // where the failure is told, 0 for nowhere

    void RefuseFrom(std::uint32_t uiFrame)
    {
        for (std::uint32_t ui = uiFrame; ui <= g_uiFrames; ++ui)
            m_vFrames[ui - 1] = QM_ERR_FAIL;
    }
};

// No frame is taken.
Outcome WithoutFile(int nLine);

// The packet of that number, from 1, can't be had when it is wanted; uiPackets reach the file.
Outcome WithoutPacket(std::uint32_t uiPacket, std::uint32_t uiPackets);

// That call to encode a picture, from 1, fails. Behind the pictures' calls come two for the end of the stream, of which
// the second is the session's own and doesn't count.
Outcome WithoutPicture(std::uint32_t uiCall, NVENCSTATUS eStatus);

// One call of an entry fails, counted from 1.
Outcome OfOneFailure(NvencRuntimeEntry eEntry, std::uint32_t uiCall, NVENCSTATUS eStatus);

// All calls fail, which for most entries is no different from the first.
Outcome OfLastingFailure(NvencRuntimeEntry eEntry, NVENCSTATUS eStatus);

}  // namespace test_support
