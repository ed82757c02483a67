// The index (`moov`) of an MP4 file with one video track, all of whose pictures lie in a row in one chunk: made for a
// file that has none, or put right where the encoders NVENC1 and AMF1 left it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "parts/boxreader.h"
#include "parts/bytesource.h"
#include "parts/picturesplit.h"

namespace qmhost
{

// Where the pictures begin in the files of NVENC1 and AMF1, and in those that are made of them.
inline constexpr std::uint32_t MEDIA_BEGIN = 48;

// Of the clock in these files a tick is 0.1 ms.
inline constexpr std::uint32_t TICKS_PER_SECOND = 10'000;

// The index for pictures that were found without one. vDeltas has the ticks from each picture to the next one, and for
// the last one how long it lasts. Throws std::runtime_error when the pictures have no parameter sets, or more than an
// index can list.
std::vector<unsigned char> MakeIndex(const SplitPictures& pictures, const std::vector<std::uint32_t>& vDeltas);

// What the index of a finished file says, as far as a repair looks at it.
struct IndexFacts
{
    std::uint64_t m_uiTimes = 0;       // entries for pictures in the table of times
    std::uint64_t m_uiPictures = 0;    // in the table of sizes
    std::uint64_t m_uiMediaBytes = 0;  // sum of the sizes
    std::uint64_t m_uiTicks = 0;       // sum of the times
    bool m_bTimesFall = false;         // a distance is negative, which readers take for a huge one
    bool m_bDurationsRight = true;     // those of track, edit and media
    bool m_bKeysRight = true;          // each counted from 1, and once
};

// Reads the index at a box `moov`. Nothing when it isn't of the form that NVENC1 and AMF1 write. Reads what the box
// holds and nothing else.
std::optional<IndexFacts> ReadIndexFacts(ByteSource& source, const Box& movie);

// The same index with the durations of movie, track, edit and media that the table of times adds up to, in boxes of
// version 1 where 32 bits aren't enough, and with key pictures counted from 1, each once. Everything else stays as it
// is. Precondition: ReadIndexFacts gave these facts of this box.
std::vector<unsigned char> PutIndexRight(ByteSource& source, const Box& movie, const IndexFacts& facts);

}  // namespace qmhost
