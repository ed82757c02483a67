// The index (`moov`) of an MP4 file with one video track, made for a file that has none.
#pragma once

#include <cstdint>
#include <vector>

#include "parts/picturesplit.h"

namespace qmhost
{

// The index for pictures that were found without one. vDeltas has the ticks from each picture to the next one, and for
// the last one how long it lasts. Throws std::runtime_error when the pictures have no parameter sets, or more than an
// index can list.
std::vector<unsigned char> MakeIndex(const SplitPictures& pictures, const std::vector<std::uint32_t>& vDeltas);

}  // namespace qmhost
