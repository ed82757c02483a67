// Whether an MP4 file that was just written is whole.
//
// The module doesn't report writes to the target that failed: every frame and the close end with status 0, also on a
// full disk. So the file itself is looked at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "parts/boxreader.h"
#include "parts/bytesource.h"

namespace qmhost
{

// Where the index of a file is, and its media data.
struct WrittenBoxes
{
    Box m_movie;
    std::uint64_t m_uiMediaBytes;
    // The size of the media data has lost what is above 32 bits, as in every file of NVENC1 and AMF1 above 4 GiB. The
    // index is the last box then, and nothing that walks from box to box finds it.
    bool m_bSizeIsCut;
};

// Nothing when there is no index.
std::optional<WrittenBoxes> FindWrittenBoxes(BoxReader& reader);

// What the file lacks, in words that go on after "the file doesn't hold the N frames: "; "" for nothing. Looks at the
// boxes and the table of sizes, not at the pictures. A size of the media data that is cut is no lack.
std::string WrittenFileProblem(ByteSource& source, std::uint32_t uiFrames);

}  // namespace qmhost
