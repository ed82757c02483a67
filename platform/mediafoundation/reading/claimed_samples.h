// What an MP4 file says of its samples without having to prove it.
#pragma once

#include <cstdint>

#include "platform/mediafoundation/reading/ffmpeg.h"

namespace mediafoundation
{

// The number of samples and table entries that the file claims. A claim need not take bytes: samples may have one
// common size, a chunk may have many samples, and a table may lie in the empty part of a sparse file. Each of them
// would become an entry of an index in memory. True files claim no more than they have bytes. Leaves the position
// anywhere.
std::uint64_t CountClaimedSamples(AVIOContext* pIo);

// Whether the file holds at least uiCount bytes other than zero, which its size doesn't prove. Reads no further than
// that takes, and gives up where there is nothing but zeros for long. Leaves the position anywhere.
bool HoldsBytes(AVIOContext* pIo, std::uint64_t uiCount);

}  // namespace mediafoundation
