// Image files of many kinds, byte by byte, so that reading is tested without the libraries that read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A PNG file. nColourType: 0 grey, 2 colour, 3 palette, 4 grey and alpha, 6 colour and alpha. strRows: the rows as the
// format packs them, one after another. strPalette: 3 bytes a colour, "" for no palette. strTransparency: as its chunk.
std::string MakePng(std::uint32_t uiWidth, std::uint32_t uiHeight, int nColourType, int nBits,
                    const std::string& strRows, const std::string& strPalette = "",
                    const std::string& strTransparency = "");

// The rows of a 16-bit picture in the byte order of PNG and of some TIFF files, and in that of the others.
std::string BigEndian(const std::vector<std::uint16_t>& vSamples);
std::string LittleEndian(const std::vector<std::uint16_t>& vSamples);

enum ETiffPhotometric
{
    TIFF_WHITE_IS_ZERO = 0,
    TIFF_BLACK_IS_ZERO = 1,
    TIFF_RGB = 2,
    TIFF_PALETTE = 3
};

struct TiffPage
{
    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
    int m_nPhotometric;
    int m_nBits;
    int m_nSamples;
    std::string m_strData;                      // one strip, or the tiles one after another, or the planes
    std::vector<std::uint16_t> m_vColourMap{};  // all reds, all greens, all blues
    int m_nExtraSample = -1;                    // 0 unknown, 1 alpha multiplied in, 2 alpha; -1 for none
    std::uint32_t m_uiTileSide = 0;             // 0 for a strip
    bool m_bPlanes = false;
    int m_nOrientation = 1;
    int m_nSampleFormat = 1;  // 1 unsigned numbers, 3 floating point
};

// An uncompressed TIFF file with these pages.
std::string MakeTiff(const std::vector<TiffPage>& vPages, bool bBigEndian = false);
