// The units of an H.264 stream (NALs) in the media data of a file that was never finished.
//
// The muxer of the encoders NVENC1 and AMF1 writes its pictures with start codes, 00 00 00 01 before each NAL. Only
// when it closes the file does it write the NAL's length over each start code, from the first to the last, and then the
// index. So a process that ends early leaves start codes, lengths, or lengths up to some NAL and start codes from there
// on.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "parts/bytesource.h"

namespace qmhost
{

// The bytes in front of a NAL, which are a start code or a length.
inline constexpr std::uint64_t NAL_HEAD = 4;

struct Nal
{
    std::uint64_t m_uiHead;                  // position of the bytes in front
    std::uint64_t m_uiEnd;                   // position after its last byte
    bool m_bCut;                             // the data ends before the NAL does
    bool m_bUnproven;                        // it ends with the data, and nothing shows whether that is its own end
    std::array<unsigned char, 2> m_abFirst;  // its first bytes; 0 for a second one that isn't there

    std::uint64_t Begin() const { return m_uiHead + NAL_HEAD; }
    std::uint64_t Length() const { return m_uiEnd - Begin(); }
    // Number of the kind, such as 5 for a slice of an IDR picture.
    unsigned Type() const { return m_abFirst[0] & 0x1FU; }
    // Part of a picture, not about it.
    bool IsSlice() const { return Type() >= 1 && Type() <= 5; }
    // Whether a slice is the first of its picture: the number of its first macroblock is 0, which is a single 1 bit.
    bool IsFirstSlice() const { return Type() != 3 && Type() != 4 && (m_abFirst[1] & 0x80) != 0; }
};

// Goes through media data from front to back, once. Every step moves on, so every walk ends.
class NalWalk
{
public:
    // Why no further NAL came.
    enum class EEnd
    {
        Data,     // no byte is left, or too few for a NAL
        Index,    // `moov` begins there, or what is left of it
        Damaged,  // what is there is no NAL
    };

    // From uiBegin to the end of the source, which must outlive the object.
    NalWalk(BufferedBytes& source, std::uint64_t uiBegin) : m_source(source), m_uiNext(uiBegin) {}

    // Nothing at the end. Throws std::runtime_error when the source can't be read.
    std::optional<Nal> Next();

    // After the last NAL: where the walk ended and why.
    std::uint64_t Position() const { return m_uiNext; }
    EEnd End() const { return m_eEnd; }

private:
    std::uint64_t Left(std::uint64_t uiPosition) const { return m_source.Size() - uiPosition; }
    std::optional<Nal> Stop(EEnd eEnd);
    std::optional<Nal> Take(std::uint64_t uiEnd, bool bCut, bool bUnproven = false);
    std::optional<Nal> TakeUpToStartCode();
    bool IsLength(std::uint64_t uiLength);
    bool IsHead(std::uint64_t uiPosition);
    bool IsIndex();
    std::optional<std::uint64_t> FindStartCode(std::uint64_t uiPosition);

    BufferedBytes& m_source;
    std::uint64_t m_uiNext;
    bool m_bLengths = false;  // one was seen, so all media data had been written
    EEnd m_eEnd = EEnd::Data;
};

}  // namespace qmhost
