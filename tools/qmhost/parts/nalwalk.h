// The units of an H.264 stream (NALs) in the media data of a file that was never finished.
//
// The muxer of the encoders NVENC1 and AMF1 writes its pictures with start codes, 00 00 00 01 before each NAL. Only
// when it closes the file does it write the NAL's length over each start code, from the first to the last, and then the
// index. So a process that ends early leaves start codes, lengths, or lengths up to some NAL and start codes from there
// on.
//
// After a power loss, parts of the data may be missing, and parts of the lengths. That is damage. It is found where the
// bytes can't be a NAL's: three zeros in it, a first byte that no NAL has, a length that leads nowhere, or one that
// ends inside a NAL of start codes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "parts/bytesource.h"

namespace qmhost
{

// The bytes in front of a NAL, which are a start code or a length.
inline constexpr std::uint64_t NAL_HEAD = 4;

// Kinds of NALs.
inline constexpr unsigned NAL_IDR_SLICE = 5;
inline constexpr unsigned NAL_SEQUENCE_SET = 7;
inline constexpr unsigned NAL_PICTURE_SET = 8;
inline constexpr unsigned NAL_DELIMITER = 9;

struct Nal
{
    std::uint64_t m_uiHead;                  // position of the bytes in front
    std::uint64_t m_uiEnd;                   // position after its last byte
    bool m_bCut;                             // the data ends before the NAL does
    bool m_bUnproven;                        // it ends with the data, and nothing shows whether that is its own end
    bool m_bDamaged;                         // not all of it is one NAL; others may be lost in it
    std::array<unsigned char, 2> m_abFirst;  // its first bytes; 0 for those that aren't there or of no NAL

    std::uint64_t Begin() const { return m_uiHead + NAL_HEAD; }
    std::uint64_t Length() const { return m_uiEnd - Begin(); }
    // Number of the kind. 0 when damage hides it.
    unsigned Type() const { return m_abFirst[0] & 0x1FU; }
    // Part of a picture, not about it.
    bool IsSlice() const { return Type() >= 1 && Type() <= 5; }
    // Whether a slice is the first of its picture: the number of its first macroblock is 0, which is a single 1 bit.
    // One that is partitioned has that number in its first part only.
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
        Damaged,  // what is there is no NAL, and no start code comes after it
    };

    // From uiBegin to the end of the source, which must outlive the object.
    NalWalk(ByteSource& source, std::uint64_t uiBegin) : m_source(source), m_ahead(source, 4096), m_uiNext(uiBegin) {}

    // Nothing at the end. Damage is part of a NAL as far as a start code comes after it. Throws std::runtime_error when
    // the source can't be read.
    std::optional<Nal> Next();

    // Whether a length was seen. Then all pictures had been written.
    bool HasLengths() const { return m_bLengths; }
    // Position of the first damage so far.
    std::optional<std::uint64_t> Damage() const { return m_uiDamage; }
    // After the last NAL: where the walk ended and why.
    std::uint64_t Position() const { return m_uiNext; }
    EEnd End() const { return m_eEnd; }

private:
    // A start code, and the first zeros before it that aren't part of one.
    struct Found
    {
        std::optional<std::uint64_t> m_uiStartCode;
        std::optional<std::uint64_t> m_uiHole;
    };

    std::uint64_t Left(std::uint64_t uiPosition) const { return m_source.Size() - uiPosition; }
    std::optional<Nal> Stop(EEnd eEnd);
    Nal Take(std::uint64_t uiEnd);
    Nal TakeCut();
    std::optional<Nal> TakeDamaged();
    Nal TakeUpToStartCode();
    bool IsLength(std::uint64_t uiLength);
    std::optional<std::uint64_t> EndAfterHalfLength(std::uint64_t uiHead);
    bool LengthsLeadOn(std::uint64_t uiPosition, std::uint64_t uiLast);
    bool HidesLengths(std::uint64_t uiBegin, std::uint64_t uiEnd);
    bool IsHead(std::uint64_t uiPosition);
    bool IsIndex(std::uint64_t uiPosition);
    Found FindStartCode(std::uint64_t uiPosition, std::uint64_t uiLast);
    std::optional<std::uint64_t> FindThreeZeros(std::uint64_t uiPosition, std::uint64_t uiLast);
    std::uint64_t EndOfZeros(std::uint64_t uiPosition);
    void NoteDamage(std::uint64_t uiPosition);

    BufferedBytes m_source;
    BufferedBytes m_ahead;  // for single positions further on
    std::uint64_t m_uiNext;
    std::optional<std::uint64_t> m_uiDamage;
    bool m_bLengths = false;
    EEnd m_eEnd = EEnd::Data;
};

}  // namespace qmhost
