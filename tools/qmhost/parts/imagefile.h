// Pictures as image files. One implementation on libpng and libtiff, one on the Windows Imaging Component.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "parts/picturesize.h"

namespace qmhost
{

enum class EImageFormat
{
    Png,
    Tiff
};

// "png" or "tif".
std::string_view FileExtension(EImageFormat eFormat);

// By the ending of a file's name, in either case; nothing for any other ending.
std::optional<EImageFormat> ImageFormatOf(std::string_view fileName);

// The picture as the bytes of an image file of 24-bit colour, lossless. Throws std::runtime_error.
std::vector<unsigned char> EncodeImage(const PictureView& picture, EImageFormat eFormat);

}  // namespace qmhost
