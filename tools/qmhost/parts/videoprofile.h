// What a file says of its first video track: which coding, and for H.264 which profile.
//
// The module delivers pictures of H.264 in High profile and above only. Frames of other streams have the right shape,
// number and times, but no pixels, and nothing in the host's interfaces reports this. So the file itself is read.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "parts/bytesource.h"

namespace qmhost
{

// Whether the module's frames of a stream hold pictures.
enum class EDelivery
{
    Pictures,
    Blank,
    Unknown  // not found in the file
};

// Default: a file whose boxes don't lead to a video track.
struct VideoProfile
{
    std::string m_strCoding;        // type of the track's sample entry, such as "avc1"; unprintable bytes as '?'
    std::optional<int> m_nProfile;  // H.264 only: profile_idc of the first parameter set, 100 for High

    bool IsH264() const;
    EDelivery Delivery() const;
    // "H.264 High (avc1, profile 100)", "hev1, not H.264", "unknown".
    std::string Describe() const;
};

// "High" for 100, and so on; empty for a number without a name.
std::string_view ProfileName(int nProfile);

// Walks moov, trak, mdia, minf, stbl, stsd to the first sample entry of the first video track. Reads a bounded number
// of box headers, whatever the file holds.
VideoProfile ReadVideoProfile(ByteSource& source);

}  // namespace qmhost
