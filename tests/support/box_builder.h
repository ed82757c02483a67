// Boxes of an MP4 file, put together by hand. Each function returns the bytes of one box, or of a field in one.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "support/bytes.h"

namespace test_support
{

inline std::string Word(std::uint32_t uiValue)
{
    std::string strWord(4, '\0');
    SetWordAt(strWord, 0, uiValue);
    return strWord;
}

// A box whose size field may be wrong.
inline std::string BoxOfSize(std::uint32_t uiSize, std::string_view type, const std::string& strContents)
{
    return Word(uiSize) + std::string(type) + strContents;
}

inline std::string Box(std::string_view type, const std::string& strContents)
{
    return BoxOfSize(static_cast<std::uint32_t>(strContents.size() + 8), type, strContents);
}

// A box with its size in 64 bits.
inline std::string LongBox(std::string_view type, const std::string& strContents)
{
    return BoxOfSize(1, type, Word(0) + Word(static_cast<std::uint32_t>(strContents.size() + 16)) + strContents);
}

inline std::string FileType()
{
    return Box("ftyp", "isom" + Word(512) + "isomavc1");
}

inline std::string MediaHeader(std::uint32_t uiTimescale)
{
    const std::string strTimes(8, '\x55');  // of creation and modification
    const std::string strRest(8, '\0');     // duration, language
    return Box("mdhd", Word(0) + strTimes + Word(uiTimescale) + strRest);
}

inline std::string Handler(std::string_view type)
{
    return Box("hdlr", std::string(8, '\0') + std::string(type) + std::string(13, '\0'));
}

// `avcC` has the profile twice: in its own fields, and in its one parameter set unless that is negative.
inline std::string AvcConfiguration(int nProfile, int nProfileOfSet)
{
    std::string strFields = {1, static_cast<char>(nProfile), 0, 31, '\xFF'};
    if (nProfileOfSet < 0) return Box("avcC", strFields + '\xE0' + '\0');
    strFields += '\xE1';
    strFields += std::string("\0\4", 2) + '\x67' + static_cast<char>(nProfileOfSet) + '\0' + '\x1F';
    return Box("avcC", strFields);
}

// An entry of `stsd` for video.
inline std::string VideoEntry(std::string_view coding, const std::string& strBoxes)
{
    return Box(coding, std::string(78, '\0') + strBoxes);
}

inline std::string SampleDescription(const std::string& strEntry)
{
    return Box("stsd", Word(0) + Word(strEntry.empty() ? 0 : 1) + strEntry);
}

using SampleRun = std::pair<std::uint32_t, std::uint32_t>;  // sample count, delta

inline std::string SampleTable(std::initializer_list<SampleRun> runs)
{
    std::string strEntries;
    for (const auto& [uiCount, uiDelta] : runs)
        strEntries += Word(uiCount) + Word(uiDelta);
    return Box("stts", Word(0) + Word(static_cast<std::uint32_t>(runs.size())) + strEntries);
}

inline std::string MediaInfo(const std::string& strSampleTable, const std::string& strEntry = "")
{
    return Box("minf", Box("vmhd", std::string(12, '\0')) + Box("stbl", SampleDescription(strEntry) + strSampleTable));
}

inline std::string Track(const std::string& strMediaBoxes)
{
    return Box("trak", Box("tkhd", std::string(84, '\0')) + Box("mdia", strMediaBoxes));
}

// A track with times and without a word of what is in it.
inline std::string Track(std::uint32_t uiTimescale, std::initializer_list<SampleRun> runs)
{
    return Track(MediaHeader(uiTimescale) + MediaInfo(SampleTable(runs)));
}

// A track that says what is in it and has no samples.
inline std::string TrackOf(std::string_view handler, const std::string& strEntry)
{
    return Track(MediaHeader(1000) + Handler(handler) + MediaInfo(SampleTable({}), strEntry));
}

// A video track of which only a table of sample sizes is there.
inline std::string TrackOfSizes(const std::string& strSizes)
{
    return Track(Handler("vide") + Box("minf", Box("stbl", strSizes)));
}

inline std::string Movie(const std::string& strTracks)
{
    return Box("moov", Box("mvhd", std::string(100, '\0')) + strTracks);
}

}  // namespace test_support
