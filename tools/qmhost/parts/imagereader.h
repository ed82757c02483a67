// Image files read as 24-bit pictures. One implementation on libpng and libtiff, one on the Windows Imaging Component.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include "parts/picturesize.h"

namespace qmhost
{

// What has to be done to make 8-bit colour of a page: any of these together.
enum EConversion : unsigned
{
    CONVERT_NOTHING = 0,
    CONVERT_DEPTH = 1,    // more than 8 bits a sample
    CONVERT_GREY = 2,     // of any depth
    CONVERT_ALPHA = 4,    // or another channel beyond colour
    CONVERT_PALETTE = 8,  // numbers that stand for colours
    CONVERT_COLOURS = 16  // colours that aren't red, green and blue
};

// "16-bit reduced to 8-bit, grey widened to colour", and so on; "" for nothing.
std::string ConversionText(unsigned uiConversions);

struct ImagePage
{
    PictureSize m_size;
    unsigned m_uiConversions;  // of EConversion
};

// An image file, page after page; a PNG file has one. It is at its first page when opened. Holds no more of the file
// than what a page needs.
//
// 16-bit samples become the nearest of 8 bits (full scale stays full scale), colours with an alpha channel stay what
// they are, whatever the alpha. No gamma or profile is applied.
//
// Everything throws std::runtime_error with the path, the page and the reason.
class ImageReader
{
public:
    virtual ~ImageReader() = default;

    virtual const ImagePage& Page() const = 0;
    // Reads the page as rows from the top, pixels B, G, R, uiWidthBytes from row to row, at least 3 x width. At most
    // once a page.
    virtual void Read(unsigned char* pPixels, std::size_t uiWidthBytes) = 0;
    // False after the last page.
    virtual bool NextPage() = 0;
};

// The first bytes of the file decide its kind, not its name. Pages with a side above LARGEST_SIDE are refused.
std::unique_ptr<ImageReader> OpenImage(const std::filesystem::path& path);

}  // namespace qmhost
