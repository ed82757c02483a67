// Pictures of one size in a row, from image files or from a file of bare rows. One picture is in memory at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "parts/picturesize.h"

namespace qmhost
{

class PictureSource
{
public:
    virtual ~PictureSource() = default;

    virtual PictureSize Size() const = 0;
    // At least 1.
    virtual std::uint32_t Count() const = 0;
    // What the user should know of how the pictures are read, a line each.
    virtual const std::vector<std::string>& Warnings() const = 0;

    // Reads the next picture, at most Count() times: rows from the top, pixels B, G, R, uiWidthBytes from row to row,
    // at least 3 x width. Throws std::runtime_error that names the file.
    virtual void ReadNext(unsigned char* pPixels, std::size_t uiWidthBytes) = 0;
};

// PNG and TIFF files in this order, every page of a file in turn. A folder stands for its files named *.png, *.tif and
// *.tiff, in the order of names. All of them are looked at before the first is read: throws std::runtime_error for a
// file that isn't there or is no image, and for a picture whose size differs from the first one's.
std::unique_ptr<PictureSource> OpenImageFiles(const std::vector<std::filesystem::path>& vPaths);

// Bare rows B, G, R without padding, frame after frame, of any length. Throws std::runtime_error for a file that isn't
// there or that isn't a whole number of frames.
std::unique_ptr<PictureSource> OpenRawPictures(const std::filesystem::path& path, PictureSize size);

}  // namespace qmhost
