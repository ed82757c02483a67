// What reading is compared with: other libraries that give frames by their number.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

namespace bench
{

// An open file. Not for several threads at once.
class FrameReader
{
public:
    virtual ~FrameReader() = default;
    // Throws std::runtime_error.
    virtual void Read(std::uint32_t uiFrame) = 0;
};

// FFMS2, with an index that is made here and its output set to bgr24. Throws std::runtime_error, as the others do.
std::unique_ptr<FrameReader> OpenFfms2(const std::filesystem::path& path);

// OpenCV's reader, which gives BGR. A frame that isn't the next one is looked for by its number. Null in a build
// without OpenCV.
std::unique_ptr<FrameReader> OpenOpenCv(const std::filesystem::path& path);

// libavcodec alone: from the key picture before the frame up to it, on as many threads as the module's, and without any
// conversion. For files of dPeriodMs from picture to picture.
std::unique_ptr<FrameReader> OpenDecoder(const std::filesystem::path& path, double dPeriodMs);

}  // namespace bench
