// Files of NVENC1 and AMF1, put together by hand: finished, unfinished, and in the states between.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/box_builder.h"

namespace muxed_bytes
{

using test_support::Box;
using test_support::BoxOfSize;
using test_support::Word;

// Of 1280 x 720 pixels in High profile, and the set that goes with it.
inline const std::string SEQUENCE_SET("\x67\x64\x00\x1F\xAC\x2B\x40\x28\x02\xDD\x80\x88", 12);
inline const std::string PICTURE_SET("\x68\xEE\x3C\xB0", 4);
inline const std::string DELIMITER("\x09\x30", 2);
inline const std::string KEY_DELIMITER("\x09\x10", 2);
inline const std::string START_CODE("\0\0\0\1", 4);
inline const std::string UNFINISHED("\x1A\xBE\xCE\xDA", 4);

// A slice of so many bytes. Its header begins with the number of its first macroblock: 0 is a 1 bit. The others take
// all values, never two zeros in a row, and no zero at the end.
inline std::string Slice(unsigned char uiHeader, std::size_t uiBytes, bool bFirst = true)
{
    std::string strSlice(1, static_cast<char>(uiHeader));
    strSlice += bFirst ? '\x9A' : '\x4A';
    for (std::size_t i = 2; i < uiBytes; ++i)
        strSlice += static_cast<char>(uiBytes * 31 + i * 167 + (i >> 3) * 13);
    if (strSlice.back() == '\0') strSlice.back() = '\x80';
    return strSlice;
}
inline std::string Idr(std::size_t uiBytes, bool bFirst = true)
{
    return Slice(0x65, uiBytes, bFirst);
}
inline std::string Inter(std::size_t uiBytes, bool bFirst = true)
{
    return Slice(0x61, uiBytes, bFirst);
}

using Picture = std::vector<std::string>;  // NALs

inline const std::vector<Picture> NVENC_PICTURES = {{SEQUENCE_SET, PICTURE_SET, Idr(100)},
                                                    {Inter(300)},
                                                    {SEQUENCE_SET, PICTURE_SET, Idr(40)},
                                                    {Inter(70000)},
                                                    {Inter(50)}};
inline const std::vector<Picture> AMF_PICTURES = {
    {KEY_DELIMITER, SEQUENCE_SET, PICTURE_SET, Idr(100)}, {DELIMITER, Inter(300)}, {DELIMITER, Inter(60)}};

inline std::string WithStartCode(const std::string& strNal)
{
    return START_CODE + strNal;
}
inline std::string WithLength(const std::string& strNal)
{
    return Word(static_cast<std::uint32_t>(strNal.size())) + strNal;
}

// All NALs, of which the first uiLengths have lengths and the others start codes.
inline std::string Media(const std::vector<Picture>& vPictures, std::size_t uiLengths)
{
    std::string strMedia;
    for (const Picture& picture : vPictures)
        for (const std::string& strNal : picture)
            strMedia += uiLengths > 0 ? (--uiLengths, WithLength(strNal)) : WithStartCode(strNal);
    return strMedia;
}
inline std::string Finished(const std::vector<Picture>& vPictures)
{
    return Media(vPictures, static_cast<std::size_t>(-1));
}

inline std::string FileStart()
{
    return Box("ftyp", "isom" + Word(512) + "isomiso2avc1mp41") + Box("free", "");
}
inline std::string UnfinishedFile(const std::string& strMedia)
{
    return FileStart() + UNFINISHED + "mdat" + strMedia;
}

inline std::string Words(const std::vector<std::uint32_t>& vNumbers)
{
    std::string strWords;
    for (const std::uint32_t uiNumber : vNumbers)
        strWords += Word(uiNumber);
    return strWords;
}

// What an index has to say. Durations stand as the muxer writes them: the movie's in ticks, the others a tenth of that.
struct Index
{
    std::vector<std::uint32_t> m_vDeltas;
    std::vector<std::uint32_t> m_vKeys;
    std::vector<std::uint32_t> m_vSizes;
    std::uint32_t m_uiMovieTicks = 0;
    std::uint32_t m_uiMs = 0;
};

inline std::string MuxerIndex(const Index& index)
{
    const std::string strMatrix = Words({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
    std::string strTimes = Word(0) + Word(static_cast<std::uint32_t>(index.m_vDeltas.size()));
    for (const std::uint32_t uiDelta : index.m_vDeltas)
        strTimes += Word(1) + Word(uiDelta);
    const auto uiPictures = static_cast<std::uint32_t>(index.m_vDeltas.size());
    const std::string strTables =
        test_support::SampleDescription(test_support::VideoEntry("avc1", test_support::AvcConfiguration(100, 100))) +
        Box("stts", strTimes) +
        Box("stss", Word(0) + Word(static_cast<std::uint32_t>(index.m_vKeys.size())) + Words(index.m_vKeys)) +
        Box("stsc", Words({0, 1, 1, uiPictures, 1})) +
        Box("stsz", Words({0, 0, static_cast<std::uint32_t>(index.m_vSizes.size())}) + Words(index.m_vSizes)) +
        Box("stco", Words({0, 1, 48}));
    const std::string strMedia =
        Box("mdhd", Words({0, 0, 0, 10000, index.m_uiMs, 0x55C40000})) +
        Box("hdlr", std::string(8, '\0') + "vide" + std::string(12, '\0') + std::string("VideoHandler\0", 13)) +
        Box("minf", Box("vmhd", Words({1, 0, 0})) + Box("stbl", strTables));
    const std::string strTrack =
        Box("tkhd", Words({3, 0, 0, 1, 0, index.m_uiMs, 0, 0, 0, 0}) + strMatrix + Words({1280U << 16, 720U << 16})) +
        Box("edts", Box("elst", Words({0, 1, index.m_uiMs, 0, 0x10000}))) + Box("mdia", strMedia);
    const std::string strHeader = Words({0, 0, 0, 10000, index.m_uiMovieTicks, 0x10000, 0x01000000, 0, 0}) + strMatrix +
                                  std::string(24, '\0') + Word(2);
    return Box("moov", Box("mvhd", strHeader) + Box("trak", strTrack));
}

inline std::string FinishedFile(const std::string& strMedia, const Index& index)
{
    return FileStart() + Box("mdat", strMedia) + MuxerIndex(index);
}

}  // namespace muxed_bytes
