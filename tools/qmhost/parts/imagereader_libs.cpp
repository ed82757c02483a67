#include "parts/imagereader_libs.h"

namespace qmhost
{

std::unique_ptr<ImageReader> OpenImageOfKind(const std::filesystem::path& path, EImageFormat eFormat)
{
    return eFormat == EImageFormat::Png ? OpenPng(path) : OpenTiff(path);
}

}  // namespace qmhost
