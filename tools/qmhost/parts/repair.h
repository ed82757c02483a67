// MP4 files of the encoders NVENC1 and AMF1, made playable: those that were never finished, and finished ones, which
// other programs play to a tenth of their length.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "parts/bytesource.h"

namespace qmhost
{

// When the pictures of a file without an index are.
struct RepairTimes
{
    std::optional<std::vector<double>> m_vTimesMs;  // one for each picture, and more that aren't needed
    std::optional<double> m_dPeriodMs;              // or the distance from picture to picture
    bool m_bPastDamage = false;                     // whether pictures after damage are written, with uncertain times
    std::string m_strList = "the list";             // what m_vTimesMs is called in messages
};

struct RepairReport
{
    std::string m_strDone;  // what was found and done, one line
    std::vector<std::string> m_vWarnings;
};

// The ticks of 0.1 ms from each picture to the next one, and for the last one how long it lasts: as long as the one
// before it. The n-th sum is the n-th time since the first one, rounded once. Throws std::runtime_error for fewer times
// than pictures, for times that run backwards, and for distances that other programs read as negative.
std::vector<std::uint32_t> DistancesInTicks(const RepairTimes& times, std::size_t uiPictures);

// Writes a playable file at pathOut from what is at pathIn. A file that is at pathOut is replaced when the new one is
// whole and on the disk, and not before. Both may be the same path: the original is then gone at the end.
//
// The encoded bytes stay as they are. Media data is copied in blocks; memory is taken for the index only. Bytes that
// can't be read become zeros, with a warning.
//
// What is damaged in a file without an index may have held any number of pictures. So only those before the damage have
// certain times, and only those are written unless times.m_bPastDamage is set.
//
// onRead, if given, is called before each block that is read; what it throws ends the repair.
//
// Throws Failure with QM_ERR_NOTSUPPORTED for files of other encoders and QM_ERR_FAIL for what can't be repaired, and
// std::runtime_error for what can't be written; nothing is written at pathOut then.
RepairReport RepairFile(const std::filesystem::path& pathIn, const std::filesystem::path& pathOut,
                        const RepairTimes& times, const std::function<void()>& onRead = {});

// The same from any source, which is called strIn in messages. It is released before the new file takes its name.
RepairReport RepairBytes(std::unique_ptr<ByteSource> pSource, const std::string& strIn,
                         const std::filesystem::path& pathOut, const RepairTimes& times);

}  // namespace qmhost
