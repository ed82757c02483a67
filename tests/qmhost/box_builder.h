// Boxes of an MP4 file, put together by hand.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "parts/bytesource.h"

inline std::string Bytes32(std::uint32_t uiValue)
{
    return {static_cast<char>(uiValue >> 24), static_cast<char>(uiValue >> 16), static_cast<char>(uiValue >> 8),
            static_cast<char>(uiValue)};
}

inline std::string MakeBox(std::string_view type, const std::string& contents)
{
    return Bytes32(static_cast<std::uint32_t>(contents.size() + 8)) + std::string(type) + contents;
}

inline std::string MakeBox64(std::string_view type, const std::string& contents)
{
    return Bytes32(1) + std::string(type) + Bytes32(0) + Bytes32(static_cast<std::uint32_t>(contents.size() + 16)) +
           contents;
}

// `avcC` with the profile told twice: in its own fields, and in its one parameter set unless that is negative.
inline std::string MakeAvcConfig(int nProfile, int nProfileOfSet)
{
    std::string contents = {1, static_cast<char>(nProfile), 0, 31, static_cast<char>(0xFF)};
    if (nProfileOfSet < 0) return MakeBox("avcC", contents + '\xE0' + '\0');
    contents += '\xE1';
    contents += std::string("\0\4", 2) + '\x67' + static_cast<char>(nProfileOfSet) + '\0' + '\x1F';
    return MakeBox("avcC", contents);
}

inline std::string MakeSampleEntry(std::string_view coding, const std::string& boxes)
{
    return MakeBox(coding, std::string(78, '\0') + boxes);
}

inline std::string MakeTrack(std::string_view handler, const std::string& sampleEntry)
{
    const std::string hdlr = MakeBox("hdlr", std::string(8, '\0') + std::string(handler) + std::string(13, '\0'));
    const std::string stsd = MakeBox("stsd", std::string(4, '\0') + Bytes32(1) + sampleEntry);
    const std::string stbl = MakeBox("stbl", stsd + MakeBox("stts", std::string(8, '\0')));
    const std::string minf = MakeBox("minf", MakeBox("vmhd", std::string(12, '\0')) + stbl);
    return MakeBox("trak", MakeBox("tkhd", std::string(84, '\0')) +
                               MakeBox("mdia", MakeBox("mdhd", std::string(24, '\0')) + hdlr + minf));
}

// A video track with nothing but its table of sizes.
inline std::string MakeTrackOfSizes(const std::string& stsz)
{
    const std::string hdlr = MakeBox("hdlr", std::string(8, '\0') + "vide" + std::string(13, '\0'));
    return MakeBox("trak", MakeBox("mdia", hdlr + MakeBox("minf", MakeBox("stbl", stsz))));
}

inline std::string MakeMovie(const std::string& tracks)
{
    return MakeBox("moov", MakeBox("mvhd", std::string(100, '\0')) + tracks);
}

inline std::string MakeFileType()
{
    return MakeBox("ftyp", "isom" + Bytes32(512) + "isomavc1");
}

// Bytes in memory, which also counts how often it is asked.
class MemoryBytes : public qmhost::ByteSource
{
public:
    explicit MemoryBytes(std::string bytes) : m_strBytes(std::move(bytes)) {}
    std::uint64_t Size() const override { return m_strBytes.size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override
    {
        ++m_uiReads;
        if (uiPosition > m_strBytes.size() || uiBytes > m_strBytes.size() - uiPosition) return false;
        std::memcpy(pBuffer, m_strBytes.data() + uiPosition, uiBytes);
        return true;
    }
    unsigned Reads() const { return m_uiReads; }

private:
    std::string m_strBytes;
    unsigned m_uiReads = 0;
};
