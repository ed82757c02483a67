// What the files of NVENC1 and AMF1 and those that are made of them have in common: one track whose pictures lie in a
// row in one chunk.
#pragma once

#include <cstdint>
#include <vector>

#include "parts/boxwriter.h"

namespace qmhost
{

// Where the pictures begin in the files of NVENC1 and AMF1, and in those that are made of them.
inline constexpr std::uint32_t MEDIA_BEGIN = 48;

// Of the clock in these files a tick is 0.1 ms.
inline constexpr std::uint32_t TICKS_PER_SECOND = 10'000;

// How many, then the numbers.
void WriteNumbers(BoxWriter& box, const std::vector<std::uint32_t>& vNumbers);

// The contents of `stts`: an entry for each run of equal distances.
void WriteTimes(BoxWriter& box, const std::vector<std::uint32_t>& vDeltas);

}  // namespace qmhost
