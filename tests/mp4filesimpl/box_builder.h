// Boxes of an MP4 file, put together by hand.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

inline std::string Word(std::uint32_t uiValue)
{
    return {static_cast<char>(uiValue >> 24), static_cast<char>(uiValue >> 16), static_cast<char>(uiValue >> 8),
            static_cast<char>(uiValue)};
}

// A box whose size field may not tell the truth.
inline std::string BoxOfSize(std::uint32_t uiSize, std::string_view type, const std::string& strContents)
{
    std::string strBox = Word(uiSize);
    strBox += type;
    strBox += strContents;
    return strBox;
}

inline std::string Box(std::string_view type, const std::string& strContents)
{
    return BoxOfSize(static_cast<std::uint32_t>(strContents.size() + 8), type, strContents);
}

inline std::string MediaHeader(std::uint32_t uiTimescale)
{
    const std::string strTimes(8, '\x55');  // of creation and modification
    const std::string strRest(8, '\0');     // duration, language
    return Box("mdhd", Word(0) + strTimes + Word(uiTimescale) + strRest);
}

using SampleRun = std::pair<std::uint32_t, std::uint32_t>;  // sample count, delta

inline std::string SampleTable(std::initializer_list<SampleRun> runs)
{
    std::string strEntries;
    for (const auto& [uiCount, uiDelta] : runs)
        strEntries += Word(uiCount) + Word(uiDelta);
    return Box("stts", Word(0) + Word(static_cast<std::uint32_t>(runs.size())) + strEntries);
}

inline std::string MediaInfo(const std::string& strSampleTable)
{
    const std::string strBoxes = Box("stsd", std::string(8, '\0')) + strSampleTable;
    return Box("minf", Box("vmhd", std::string(12, '\0')) + Box("stbl", strBoxes));
}

inline std::string Track(const std::string& strMediaBoxes)
{
    return Box("trak", Box("tkhd", std::string(84, '\0')) + Box("mdia", strMediaBoxes));
}

inline std::string Track(std::uint32_t uiTimescale, std::initializer_list<SampleRun> runs)
{
    return Track(MediaHeader(uiTimescale) + MediaInfo(SampleTable(runs)));
}

inline std::string Movie(const std::string& strTracks)
{
    return Box("moov", Box("mvhd", std::string(100, '\0')) + strTracks);
}

inline std::string FileType()
{
    return Box("ftyp", "isom" + Word(512) + "isommp41");
}
