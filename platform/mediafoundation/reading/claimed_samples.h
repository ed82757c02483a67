// What an MP4 file says of its samples without having to prove it.
#pragma once

#include <cstdint>

#include "platform/mediafoundation/reading/ffmpeg.h"

namespace mediafoundation
{

// The number of samples that the file's tables claim where a claim takes no bytes: samples of one common size, and
// chunks of many samples. Each of them would become an entry of an index in memory, in a file of a few bytes many
// millions of them. True files claim no more than they have bytes. Leaves the position anywhere.
std::uint64_t CountClaimedSamples(AVIOContext* pIo);

}  // namespace mediafoundation
