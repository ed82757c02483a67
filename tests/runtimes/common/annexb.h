// A reader of H.264 byte streams, as far as the tests ask.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace annexb
{

enum NalType
{
    Slice = 1,
    IdrSlice = 5,
    Sei = 6,
    Sps = 7,
    Pps = 8,
    Delimiter = 9
};

struct Nal
{
    int nType = 0;
    int nRefIdc = 0;
    std::size_t uiOffset = 0;        // of the start code
    std::size_t uiStartCode = 0;     // bytes of it, 3 or 4
    std::vector<std::uint8_t> unit;  // header byte and everything after it, as it stands in the stream
};

std::vector<Nal> Split(std::span<const std::uint8_t> bytes);

// The types in their order, as "7 8 5".
std::string Types(const std::vector<Nal>& nals);

struct SequenceHeader
{
    int nProfile = 0;
    int nConstraints = 0;  // the six flags, the first one highest
    int nLevel = 0;
    int nId = 0;
    std::uint32_t uiWidth = 0;  // as shown
    std::uint32_t uiHeight = 0;
    std::uint32_t uiReferences = 0;
    bool bLossless = false;  // transform bypass at quantiser 0
    bool bVui = false;
    std::uint32_t uiSarWidth = 0;
    std::uint32_t uiSarHeight = 0;
    bool bSignalType = false;
    int nFullRange = 0;
    int nColourMatrix = 2;
    bool bTiming = false;
    std::uint32_t uiUnitsInTick = 0;
    std::uint32_t uiTimeScale = 0;
};

SequenceHeader ReadSequenceHeader(const Nal& nal);

// From a PPS.
bool UsesCabac(const Nal& nal);

enum class SliceKind
{
    P,
    B,
    I
};

struct SliceHeader
{
    std::uint32_t uiFirstMacroblock = 0;
    SliceKind eKind = SliceKind::P;
};

SliceHeader ReadSliceHeader(const Nal& nal);

}  // namespace annexb
