// Kinds of TIFF files that the readers on libraries take, beside those that every system's reader takes.
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <tiffio.h>

#include "image_builder.h"
#include "parts/imagereader.h"
#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::HasSubstr;

class TiffKinds : public testing::Test
{
protected:
    std::string Read(const std::vector<TiffPage>& vPages, bool bBigEndian = false)
    {
        const auto path = m_folder / "kind";
        WriteText(path, MakeTiff(vPages, bBigEndian));
        return ReadFile(path);
    }
    static std::string ReadFile(const std::filesystem::path& path)
    {
        const auto pReader = OpenImage(path);
        const auto [uiWidth, uiHeight] = pReader->Page().m_size;
        std::string pixels(std::size_t{3} * uiWidth * uiHeight, '\0');
        pReader->Read(reinterpret_cast<unsigned char*>(pixels.data()), std::size_t{3} * uiWidth);
        return pixels;
    }

    UnicodeFolder m_folder;
};

// Pixel x, y has red x, green y, blue x + y.
std::string Expected(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    std::string bgr;
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < uiWidth; ++x)
            bgr += {static_cast<char>(x + y), static_cast<char>(y), static_cast<char>(x)};
    }
    return bgr;
}

std::string Tiles(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiSide, int nBits)
{
    std::string tiles;
    for (std::uint32_t uiTop = 0; uiTop < uiHeight; uiTop += uiSide)
    {
        for (std::uint32_t uiLeft = 0; uiLeft < uiWidth; uiLeft += uiSide)
        {
            for (std::uint32_t y = uiTop; y < uiTop + uiSide; ++y)
            {
                for (std::uint32_t x = uiLeft; x < uiLeft + uiSide; ++x)
                {
                    for (const std::uint32_t uiSample : {x, y, x + y})
                        tiles += nBits == 8 ? std::string(1, static_cast<char>(uiSample))
                                            : LittleEndian({static_cast<std::uint16_t>(257 * uiSample)});
                }
            }
        }
    }
    return tiles;
}

TEST_F(TiffKinds, Tiles)
{
    for (const int nBits : {8, 16})
    {
        TiffPage page{37, 20, TIFF_RGB, nBits, 3, qmhost::Tiles(37, 20, 16, nBits)};
        page.m_uiTileSide = 16;
        EXPECT_EQ(Read({page}), Expected(37, 20)) << nBits;
    }
}

TEST_F(TiffKinds, BothByteOrders)
{
    const std::vector<std::uint16_t> vSamples = {257 * 1, 257 * 2, 257 * 3, 128, 129, 65406};
    EXPECT_EQ(Read({{2, 1, TIFF_RGB, 16, 3, BigEndian(vSamples)}}, true), std::string("\3\2\1\xFE\1\0", 6));
    EXPECT_EQ(Read({{2, 1, TIFF_RGB, 16, 3, LittleEndian(vSamples)}}), std::string("\3\2\1\xFE\1\0", 6));
}

TEST_F(TiffKinds, SeparatePlanesWithAlpha)
{
    TiffPage page{2, 1, TIFF_RGB,
                  8, 4, std::string("\xC8\x10\x64\x20\x32\x30\x00\x80", 8)};  // reds, greens, blues, alphas
    page.m_bPlanes = true;
    page.m_nExtraSample = 2;
    EXPECT_EQ(Read({page}), "\x32\x64\xC8\x30\x20\x10");
}

TEST_F(TiffKinds, WhiteIsZero)
{
    EXPECT_EQ(Read({{3, 1, TIFF_WHITE_IS_ZERO, 8, 1, std::string("\x00\x37\xFF", 3)}}),
              std::string("\xFF\xFF\xFF\xC8\xC8\xC8\x00\x00\x00", 9));
}

TEST_F(TiffKinds, OneBit)
{
    EXPECT_EQ(Read({{3, 1, TIFF_BLACK_IS_ZERO, 1, 1, "\xA0"}}), std::string("\xFF\xFF\xFF\x00\x00\x00\xFF\xFF\xFF", 9));
}

TEST_F(TiffKinds, UpsideDown)
{
    TiffPage page{1, 2, TIFF_RGB, 8, 3, "abcdef"};
    page.m_nOrientation = 4;
    EXPECT_EQ(Read({page}), "fedcba");
}

TEST_F(TiffKinds, FloatingPointIsRefused)
{
    TiffPage page{1, 1, TIFF_BLACK_IS_ZERO, 32, 1, "abcd"};
    page.m_nSampleFormat = 3;
    EXPECT_THROW(Read({page}), std::runtime_error);
}

TEST_F(TiffKinds, DirectoriesInALoopEnd)
{
    std::string tiff = MakeTiff({{1, 1, TIFF_RGB, 8, 3, "abc"}, {1, 1, TIFF_RGB, 8, 3, "def"}});
    const auto uiFirst = static_cast<unsigned char>(tiff[4]);
    // The last directory holds no values of its own after the pointer to the next but those of its two lists of
    // samples.
    const std::size_t uiNext = tiff.size() - 16;
    ASSERT_EQ(tiff.substr(uiNext, 4), std::string(4, '\0'));
    tiff[uiNext] = static_cast<char>(uiFirst);
    const auto path = m_folder / "loop";
    WriteText(path, tiff);
    const auto pReader = OpenImage(path);
    EXPECT_TRUE(pReader->NextPage());
    EXPECT_THROW(pReader->NextPage(), std::runtime_error);
}

TEST_F(TiffKinds, CompressedStrips)
{
    const auto path = m_folder / "compressed.tif";
    TIFF* const pTiff = TIFFOpen(path.c_str(), "w");
    TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, 50);
    TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, 60);
    TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(pTiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, 7);
    for (std::uint32_t y = 0; y < 60; ++y)
    {
        std::string row;
        for (std::uint32_t x = 0; x < 50; ++x)
            row += {static_cast<char>(x), static_cast<char>(y), static_cast<char>(x + y)};
        TIFFWriteScanline(pTiff, row.data(), y, 0);
    }
    TIFFClose(pTiff);
    EXPECT_EQ(ReadFile(path), Expected(50, 60));
}

}  // namespace
}  // namespace qmhost
