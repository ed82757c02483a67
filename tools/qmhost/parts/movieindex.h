// The index (`moov`) that the encoders NVENC1 and AMF1 leave in an MP4 file, and how it is put right.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "parts/boxreader.h"
#include "parts/bytesource.h"

namespace qmhost
{

// What the index of a finished file says, as far as a repair looks at it.
struct IndexFacts
{
    std::uint64_t m_uiTimes = 0;       // entries for pictures in the table of times
    std::uint64_t m_uiPictures = 0;    // in the table of sizes
    std::uint64_t m_uiMediaBytes = 0;  // sum of the sizes
    std::uint64_t m_uiTicks = 0;       // sum of the distances of all pictures, with their sign; 0 for a negative one
    bool m_bTimesFall = false;         // a distance is negative, which readers take for a huge one
    bool m_bCountsRight = true;        // as many times as pictures, and as many in the chunk
    bool m_bDurationsRight = true;     // those of movie, track, edit and media
    bool m_bKeysRight = true;          // each counted from 1, and once
    bool m_bKeysFromZero = false;      // they count from 0
};

// Whether the index is of a form that NVENC1 and AMF1 never write, however broken it is: with several tracks, another
// clock, or pictures that are shown in another order.
bool IsIndexOfOthers(ByteSource& source, const Box& movie);

// Reads the index at a box `moov`. Nothing when it isn't of the form that NVENC1 and AMF1 write.
std::optional<IndexFacts> ReadIndexFacts(ByteSource& source, const Box& movie);

// The distances in the table of times of an index that begins at a position and is cut off or broken elsewhere. Nothing
// unless the whole table is there and has one for each picture.
std::optional<std::vector<std::uint32_t>> ReadTimesOfBrokenIndex(ByteSource& source, std::uint64_t uiPosition,
                                                                 std::size_t uiPictures);

// The same index with the durations of movie, track, edit and media that the table of times adds up to, in boxes of
// version 1 where 32 bits aren't enough, with key pictures counted from 1, each once, and with as many times as
// pictures. Everything else stays as it is. Precondition: ReadIndexFacts gave these facts of this box.
std::vector<unsigned char> PutIndexRight(ByteSource& source, const Box& movie, const IndexFacts& facts);

}  // namespace qmhost
