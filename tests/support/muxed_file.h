// A reader of muxed files for the tests. It walks the boxes byte by byte in the order in which they must stand, expects
// every field that never varies to have its value, and gives the others.
#pragma once

#include <cstdint>
#include <vector>

#include "support/bytes.h"

struct SMuxedMoov
{
    std::uint32_t m_uiMovieDuration = 0;  // mvhd
    std::uint32_t m_uiTrackDuration = 0;  // tkhd
    std::uint32_t m_uiEditDuration = 0;   // elst
    std::uint32_t m_uiMediaDuration = 0;  // mdhd
    std::uint32_t m_uiTrackWidth = 0;     // tkhd, 16.16
    std::uint32_t m_uiTrackHeight = 0;
    std::uint32_t m_uiWidth = 0;  // avc1
    std::uint32_t m_uiHeight = 0;
    std::uint32_t m_uiAvcCSize = 0;  // as the field says
    Bytes m_vProfile;                // profile, compatibility, level
    Bytes m_vSps;
    std::uint32_t m_uiPpsLength = 0;  // as the field says
    Bytes m_vPps;                     // all bytes after that field
    std::vector<std::uint32_t> m_vDeltas;
    std::vector<std::uint32_t> m_vKeySamples;
    std::uint32_t m_uiSamplesInChunk = 0;
    std::vector<std::uint32_t> m_vSizes;
};

// Reads a `moov` box, from the first byte to the last.
SMuxedMoov ReadMoov(const Bytes& vMoov);

struct SMuxedFile
{
    std::uint32_t m_uiMdatSize = 0;  // as the field says
    Bytes m_vMdat;                   // the payload
    SMuxedMoov m_moov;
};

// Reads a whole file whose `mdat` size says the truth.
SMuxedFile ReadMuxedFile(const Bytes& vFile);
