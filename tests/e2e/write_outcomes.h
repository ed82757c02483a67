// What a file of eight frames is when a call of the encoder's runtime fails.
//
//   frame sent     1   2   3   4   5   6   7   8   end of stream
//   packet read                1   2   3   4   5   6 7 8
//
// A frame's packet is read three frames later, through the frame's own slot of four. A packet that couldn't be read
// keeps its slot, and the ring has no other for the next frame: every later frame is refused. A frame that wasn't sent
// leaves its slot, with its surface still mapped, to the next frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
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

// And what went as it should.
inline constexpr int g_nSettings = 2433;
inline constexpr int g_nFrameTime = 978;

// How often an undisturbed file calls an entry.
std::uint32_t CallsOf(NvencRuntimeEntry eEntry);

// The file, and what the host and the runtime see while it is written.
struct Outcome
{
    std::vector<QmStatus> m_vFrames = std::vector<QmStatus>(g_uiFrames, QM_OK);
    std::optional<std::uint32_t> m_uiPackets = g_uiFrames;  // nothing: there is no file
    bool m_bFirstPackets = true;                            // they are those that an undisturbed file begins with
    int m_nLine = 0;                                        // where the failure is reported first, 0 for nowhere
    bool m_bCloseFails = false;         // the close reports a failure, whatever the frames have reported
    NvencRuntimeBreaches m_breaches{};  // with surfaces watched

    void RefuseFrom(std::uint32_t uiFrame)
    {
        for (std::uint32_t ui = uiFrame; ui <= g_uiFrames; ++ui)
            m_vFrames[ui - 1] = QM_ERR_FAIL;
    }
};

// Where each line of the diagnostics is placed, from the first frame to the close.
std::vector<int> LinesOf(const Outcome& outcome);

// All counts that aren't 0, by name.
std::string TextOf(const NvencRuntimeBreaches& breaches);

// No frame is taken. bCloseFails: the session was opened and not initialised, and its stream can't be ended.
Outcome WithoutFile(int nLine, bool bCloseFails = false);

// The packet of that number, from 1, can't be read when it is due; uiPackets reach the file.
Outcome WithoutPacket(std::uint32_t uiPacket, std::uint32_t uiPackets);

// That call to encode a picture, from 1, fails. After the pictures' calls come two for the end of the stream, of which
// the second is the session's own and doesn't count.
Outcome WithoutPicture(std::uint32_t uiCall, NVENCSTATUS eStatus);

// All calls from that one on, the ends of the stream included, are refused.
Outcome WithoutPicturesFrom(std::uint32_t uiCall);

// One call of an entry fails, counted from 1; bEvents: the session waits on events.
Outcome OfOneFailure(NvencRuntimeEntry eEntry, std::uint32_t uiCall, NVENCSTATUS eStatus, bool bEvents);

// All calls fail, which for most entries is no different from the first.
Outcome OfLastingFailure(NvencRuntimeEntry eEntry, NVENCSTATUS eStatus, bool bEvents);

}  // namespace test_support
