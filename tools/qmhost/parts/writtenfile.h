// Whether an MP4 file that was just written is whole.
//
// The module doesn't report writes to the target that failed: every frame and the close end with status 0, also on a
// full disk. So the file itself is looked at.
#pragma once

#include <cstdint>
#include <string>

#include "parts/bytesource.h"

namespace qmhost
{

// What the file lacks, in words that go on after "the file doesn't hold the N frames: "; "" for nothing. Looks at the
// boxes and the table of sizes, not at the pictures.
std::string WrittenFileProblem(ByteSource& source, std::uint32_t uiFrames);

}  // namespace qmhost
