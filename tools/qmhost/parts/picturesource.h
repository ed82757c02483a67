// Pictures of one size in a row, from image files or from bare rows. One picture is in memory at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
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
    // At least 1. Nothing when only the end shows how many there are.
    virtual std::optional<std::uint32_t> Count() const = 0;
    // What the user should know of how the pictures are read, a line each.
    virtual const std::vector<std::string>& Warnings() const = 0;
    // Which frames come from which file, a line for each file. None when there is only one.
    virtual std::vector<std::string> Order() const { return {}; }

    // Reads the next picture: rows from the top, pixels B, G, R, uiWidthBytes from row to row, at least 3 x width.
    // False at the end; the buffer is undefined then. Throws std::runtime_error that names the file.
    virtual bool ReadNext(unsigned char* pPixels, std::size_t uiWidthBytes) = 0;

    // After the end: what came after the last picture and is none, for a message; "" for nothing.
    virtual std::string Rest() const { return {}; }
};

// PNG and TIFF files in this order, every page of a file in turn. A folder stands for its files named *.png, *.tif and
// *.tiff, in the order of NaturallyBefore. All of them are looked at before the first is read: throws
// std::runtime_error for a file that isn't there or is no image, and for a picture whose size differs from the first
// one's.
std::unique_ptr<PictureSource> OpenImageFiles(const std::vector<std::filesystem::path>& vPaths);

// Bare rows B, G, R without padding, frame after frame, of any length. Throws std::runtime_error for a file that isn't
// there or that isn't a whole number of frames.
std::unique_ptr<PictureSource> OpenRawPictures(const std::filesystem::path& path, PictureSize size);

// The same from a stream that can't be read twice, such as a pipe: how many frames there are shows at its end, and
// nothing of it is read before. pStream is in binary mode and outlives the object. A part of a frame at the end is a
// rest. A request to end the program is an end too, also while the stream is silent. name: what messages call the stream.
std::unique_ptr<PictureSource> OpenRawStream(std::FILE* pStream, std::string name, PictureSize size);

}  // namespace qmhost
