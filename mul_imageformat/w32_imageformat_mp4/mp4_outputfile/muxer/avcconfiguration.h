// The decoder's configuration: `avcC`.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "mp4_outputfile/muxer/samplelog.h"

class CGrowingBox;

// Appends `avcC` with the SPS and PPS of the first packet, in which NAL lengths stand where start codes stood.
//
// The layout decides where the SPS lies. uiPpsOffset is where the PPS's length lies; when no PPS was seen, or none lies
// whole within the packet there, a built-in one of that encoder is taken. An SPS that doesn't lie whole within the
// packet is left empty, and the profile that it states is 0.
void AppendAvcConfiguration(CGrowingBox& box, const CQmByteArray& baFirstPacket, EPacketLayout eLayout,
                            std::uint32_t uiPpsOffset);
