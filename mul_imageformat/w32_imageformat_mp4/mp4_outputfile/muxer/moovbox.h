// `moov`, the index of a file with one video track whose samples lie in one chunk.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/hostplatform.h"
#include "common/growingarray.h"

// Builds `moov` and appends it to hFile, which stands behind `mdat`, in one write whose result isn't looked at. The
// same arguments give the same bytes: no clock is read.
//
// times: one for each frame, in milliseconds since the first. sizes: one for each sample. The two are not compared.
// firstPacket has its NAL lengths in place. keySamples are listed as they stand. Without any frame the tables of times
// are empty and all durations 0. False, and nothing written, when memory runs out.
bool WriteMoovBox(QmFileHandle hFile, const CGrowingArray<double>& times, const CGrowingArray<std::uint32_t>& sizes,
                  std::uint16_t uiWidth, std::uint16_t uiHeight, const CQmByteArray& firstPacket,
                  std::uint32_t uiSpsLengthOffset, const CGrowingArray<std::uint32_t>& keySamples,
                  std::uint32_t uiPpsOffset);
