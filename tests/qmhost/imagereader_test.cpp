#include "parts/imagereader.h"

#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>

#include "image_builder.h"
#include "parts/text.h"
#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::EndsWith;
using testing::HasSubstr;

class ImageReaders : public testing::Test
{
protected:
    std::filesystem::path File(const std::string& bytes)
    {
        const auto path = m_folder / u8"p\u00EFcture";  // no ending: its bytes decide its kind
        WriteText(path, bytes);
        return path;
    }

    std::unique_ptr<ImageReader> Open(const std::string& bytes) { return OpenImage(File(bytes)); }

    // The page's tight rows. Reads with gaps between the rows.
    static std::string Read(ImageReader& reader)
    {
        const auto [uiWidth, uiHeight] = reader.Page().m_size;
        const std::size_t uiPitch = std::size_t{3} * uiWidth + 5;
        std::vector<unsigned char> vPixels(uiPitch * uiHeight, 0xEE);
        reader.Read(vPixels.data(), uiPitch);
        std::string tight;
        for (std::uint32_t y = 0; y < uiHeight; ++y)
            tight.append(reinterpret_cast<const char*>(vPixels.data()) + y * uiPitch, std::size_t{3} * uiWidth);
        return tight;
    }

    std::string ReadOnly(const std::string& bytes)
    {
        const auto pReader = Open(bytes);
        const std::string pixels = Read(*pReader);
        EXPECT_FALSE(pReader->NextPage());
        return pixels;
    }

    std::string Problem(const std::string& bytes)
    {
        try
        {
            ReadOnly(bytes);
            return "none";
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_THAT(e.what(), HasSubstr(Quoted(Utf8FromPath(m_folder / u8"p\u00EFcture"))));
            return e.what();
        }
    }

    UnicodeFolder m_folder;
};

// Two pixels a row: (1 2 3) (4 5 6), then (250 251 252) (253 254 255), as red, green, blue and as B, G, R.
const std::string RGB = "\x01\x02\x03\x04\x05\x06\xFA\xFB\xFC\xFD\xFE\xFF";
const std::string BGR = "\x03\x02\x01\x06\x05\x04\xFC\xFB\xFA\xFF\xFE\xFD";
// Grey values 0, 7, 200, 255.
const std::string GREY("\x00\x07\xC8\xFF", 4);
const std::string GREY_AS_BGR("\x00\x00\x00\x07\x07\x07\xC8\xC8\xC8\xFF\xFF\xFF", 12);

std::string WithAlpha(const std::string& pixels, std::size_t uiSamples)
{
    std::string bytes;
    for (std::size_t i = 0; i < pixels.size(); i += uiSamples)
        bytes += pixels.substr(i, uiSamples) + static_cast<char>(i * 11);
    return bytes;
}

// Values around the places where rounding turns, and the nearest of 8 bits to value / 257.
const std::vector<std::uint16_t> DEEP = {0, 128, 129, 256, 257, 385, 32767, 32768, 65535, 65407, 65406, 65278};
const std::string DEEP_AS_BYTES("\x00\x00\x01\x01\x01\x01\x7F\x80\xFF\xFF\xFE\xFE", 12);

std::string SwapRedAndBlue(std::string pixels)
{
    for (std::size_t i = 0; i < pixels.size(); i += 3)
        std::swap(pixels[i], pixels[i + 2]);
    return pixels;
}

TEST_F(ImageReaders, PngOfColour)
{
    const auto pReader = Open(MakePng(2, 2, 2, 8, RGB));
    EXPECT_EQ(pReader->Page().m_size.m_uiWidth, 2u);
    EXPECT_EQ(pReader->Page().m_size.m_uiHeight, 2u);
    EXPECT_EQ(pReader->Page().m_uiConversions, unsigned{CONVERT_NOTHING});
    EXPECT_EQ(Read(*pReader), BGR);
    EXPECT_FALSE(pReader->NextPage());
}

TEST_F(ImageReaders, PngOfGrey)
{
    EXPECT_EQ(Open(MakePng(2, 2, 0, 8, GREY))->Page().m_uiConversions, unsigned{CONVERT_GREY});
    EXPECT_EQ(ReadOnly(MakePng(2, 2, 0, 8, GREY)), GREY_AS_BGR);
}

TEST_F(ImageReaders, PngOfFewGreys)
{
    // Two bits a pixel: 0 1 2 3 stands for 0, 85, 170, 255.
    EXPECT_EQ(ReadOnly(MakePng(4, 1, 0, 2, "\x1B")),
              std::string("\x00\x00\x00\x55\x55\x55\xAA\xAA\xAA\xFF\xFF\xFF", 12));
}

TEST_F(ImageReaders, PngOfSixteenBits)
{
    const std::string png = MakePng(2, 2, 2, 16, BigEndian(DEEP));
    EXPECT_EQ(Open(png)->Page().m_uiConversions, unsigned{CONVERT_DEPTH});
    EXPECT_EQ(ReadOnly(png), SwapRedAndBlue(DEEP_AS_BYTES));
}

TEST_F(ImageReaders, PngOfSixteenBitGrey)
{
    const std::string png = MakePng(12, 1, 0, 16, BigEndian(DEEP));
    EXPECT_EQ(Open(png)->Page().m_uiConversions, unsigned{CONVERT_DEPTH | CONVERT_GREY});
    std::string expected;
    for (const char c : DEEP_AS_BYTES)
        expected += std::string(3, c);
    EXPECT_EQ(ReadOnly(png), expected);
}

TEST_F(ImageReaders, PngWithAlphaKeepsTheColoursBehindIt)
{
    const std::string png = MakePng(2, 2, 6, 8, WithAlpha(RGB, 3));
    EXPECT_EQ(Open(png)->Page().m_uiConversions, unsigned{CONVERT_ALPHA});
    EXPECT_EQ(ReadOnly(png), BGR);
}

TEST_F(ImageReaders, PngOfGreyWithAlpha)
{
    const std::string png = MakePng(2, 2, 4, 8, WithAlpha(GREY, 1));
    EXPECT_TRUE(Open(png)->Page().m_uiConversions & CONVERT_ALPHA);
    EXPECT_EQ(ReadOnly(png), GREY_AS_BGR);
}

TEST_F(ImageReaders, PngOfAPalette)
{
    const std::string png =
        MakePng(2, 2, 3, 8, std::string("\x02\x00\x01\x02", 4), "\x01\x02\x03\x0A\x0B\x0C\xF0\xF1\xF2");
    EXPECT_EQ(Open(png)->Page().m_uiConversions, unsigned{CONVERT_PALETTE});
    EXPECT_EQ(ReadOnly(png), "\xF2\xF1\xF0\x03\x02\x01\x0C\x0B\x0A\xF2\xF1\xF0");
}

TEST_F(ImageReaders, TransparentEntriesOfAPaletteAreColours)
{
    const std::string png = MakePng(3, 1, 3, 8, std::string("\x02\x00\x01", 3), "\x01\x02\x03\x0A\x0B\x0C\xF0\xF1\xF2",
                                    std::string("\x00\x80\xFF", 3));
    EXPECT_TRUE(Open(png)->Page().m_uiConversions & CONVERT_PALETTE);
    EXPECT_EQ(ReadOnly(png), "\xF2\xF1\xF0\x03\x02\x01\x0C\x0B\x0A");
}

TEST_F(ImageReaders, TiffOfColour)
{
    const auto pReader = Open(MakeTiff({{2, 2, TIFF_RGB, 8, 3, RGB}}));
    EXPECT_EQ(pReader->Page().m_uiConversions, unsigned{CONVERT_NOTHING});
    EXPECT_EQ(Read(*pReader), BGR);
    EXPECT_FALSE(pReader->NextPage());
}

TEST_F(ImageReaders, TiffOfGrey)
{
    const std::string tiff = MakeTiff({{2, 2, TIFF_BLACK_IS_ZERO, 8, 1, GREY}});
    EXPECT_EQ(Open(tiff)->Page().m_uiConversions, unsigned{CONVERT_GREY});
    EXPECT_EQ(ReadOnly(tiff), GREY_AS_BGR);
}

TEST_F(ImageReaders, TiffOfSixteenBits)
{
    const std::string tiff = MakeTiff({{2, 2, TIFF_RGB, 16, 3, LittleEndian(DEEP)}});
    EXPECT_EQ(Open(tiff)->Page().m_uiConversions, unsigned{CONVERT_DEPTH});
    EXPECT_EQ(ReadOnly(tiff), SwapRedAndBlue(DEEP_AS_BYTES));
}

TEST_F(ImageReaders, TiffOfSixteenBitGrey)
{
    const std::string tiff = MakeTiff({{12, 1, TIFF_BLACK_IS_ZERO, 16, 1, LittleEndian(DEEP)}});
    EXPECT_EQ(Open(tiff)->Page().m_uiConversions, unsigned{CONVERT_DEPTH | CONVERT_GREY});
    std::string expected;
    for (const char c : DEEP_AS_BYTES)
        expected += std::string(3, c);
    EXPECT_EQ(ReadOnly(tiff), expected);
}

TEST_F(ImageReaders, TiffWithAlphaKeepsTheColoursBehindIt)
{
    TiffPage page{2, 2, TIFF_RGB, 8, 4, WithAlpha(RGB, 3)};
    page.m_nExtraSample = 2;
    EXPECT_EQ(Open(MakeTiff({page}))->Page().m_uiConversions, unsigned{CONVERT_ALPHA});
    EXPECT_EQ(ReadOnly(MakeTiff({page})), BGR);
}

TEST_F(ImageReaders, TiffOfAPalette)
{
    TiffPage page{2, 2, TIFF_PALETTE, 8, 1, std::string("\x02\x00\x01\x02", 4)};
    page.m_vColourMap.assign(768, 0);
    for (std::uint16_t i = 0; i < 3; ++i)
    {
        page.m_vColourMap[i] = static_cast<std::uint16_t>(0x1100 * (i + 1));
        page.m_vColourMap[256u + i] = static_cast<std::uint16_t>(0x2200 * (i + 1));
        page.m_vColourMap[512u + i] = static_cast<std::uint16_t>(0x3300 * (i + 1));
    }
    EXPECT_EQ(Open(MakeTiff({page}))->Page().m_uiConversions, unsigned{CONVERT_PALETTE});
    EXPECT_EQ(ReadOnly(MakeTiff({page})), "\x99\x66\x33\x33\x22\x11\x66\x44\x22\x99\x66\x33");
}

TEST_F(ImageReaders, TiffPagesComeInOrder)
{
    const auto pReader = Open(
        MakeTiff({{2, 2, TIFF_RGB, 8, 3, RGB}, {2, 2, TIFF_BLACK_IS_ZERO, 8, 1, GREY}, {1, 1, TIFF_RGB, 8, 3, "abc"}}));
    EXPECT_EQ(Read(*pReader), BGR);
    ASSERT_TRUE(pReader->NextPage());
    EXPECT_EQ(pReader->Page().m_uiConversions, unsigned{CONVERT_GREY});
    EXPECT_EQ(Read(*pReader), GREY_AS_BGR);
    ASSERT_TRUE(pReader->NextPage());
    EXPECT_EQ(pReader->Page().m_size.m_uiWidth, 1u);
    EXPECT_EQ(Read(*pReader), "cba");
    EXPECT_FALSE(pReader->NextPage());
}

TEST_F(ImageReaders, TiffPagesMayBePassedOver)
{
    const auto pReader = Open(MakeTiff({{2, 2, TIFF_RGB, 8, 3, RGB}, {1, 1, TIFF_RGB, 8, 3, "abc"}}));
    ASSERT_TRUE(pReader->NextPage());
    EXPECT_EQ(Read(*pReader), "cba");
}

TEST_F(ImageReaders, WhatIsNeitherPngNorTiff)
{
    for (const std::string& bytes : {std::string(), std::string("GIF89a"), std::string("II"), std::string("\x89PNG")})
        EXPECT_THAT(Problem(bytes), EndsWith(" is neither PNG nor TIFF"));
}

TEST_F(ImageReaders, FilesCutShort)
{
    const std::string png = MakePng(2, 2, 2, 8, RGB);
    const std::string tiff = MakeTiff({{2, 2, TIFF_RGB, 8, 3, RGB}});
    for (std::size_t uiSize = 8; uiSize < tiff.size(); ++uiSize)
        EXPECT_NE(Problem(tiff.substr(0, uiSize)), "none") << uiSize;
    for (std::size_t uiSize = 8; uiSize < png.size() - 30; ++uiSize)  // before the end of its pixels
        EXPECT_NE(Problem(png.substr(0, uiSize)), "none") << uiSize;
}

TEST_F(ImageReaders, DamagedPixelsOfAPng)
{
    std::string png = MakePng(2, 2, 2, 8, RGB);
    png[png.find("IDAT") + 12] ^= 1;
    EXPECT_THAT(Problem(png), HasSubstr(" can't be read: "));
}

TEST_F(ImageReaders, SidesHaveLimits)
{
    EXPECT_THAT(Problem(MakePng(16385, 1, 0, 8, std::string(16385, 'x'))),
                HasSubstr("16385 x 1 pixels, where sides of 1 to 16384 are taken"));
    EXPECT_EQ(ReadOnly(MakePng(16384, 1, 0, 8, std::string(16384, 'x'))), std::string(3 * 16384, 'x'));
}

TEST_F(ImageReaders, MissingFileAndFolder)
{
    try
    {
        OpenImage(m_folder / "missing.png");
        FAIL();
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_EQ(e.what(), Quoted(Utf8FromPath(m_folder / "missing.png")) + " doesn't exist");
    }
    try
    {
        OpenImage(m_folder.Path());
        FAIL();
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_EQ(e.what(), Quoted(Utf8FromPath(m_folder.Path())) + " is a directory");
    }
}

TEST(ConversionText, NamesWhatIsDone)
{
    EXPECT_EQ(ConversionText(CONVERT_NOTHING), "");
    EXPECT_EQ(ConversionText(CONVERT_PALETTE), "palette expanded");
    EXPECT_EQ(ConversionText(CONVERT_DEPTH | CONVERT_GREY | CONVERT_ALPHA),
              "16-bit reduced to 8-bit, grey widened to colour, alpha dropped");
}

}  // namespace
}  // namespace qmhost
