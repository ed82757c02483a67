// The two readers of image files that stand on libraries.
#pragma once

#include "parts/imagereader_kinds.h"

namespace qmhost
{

std::unique_ptr<ImageReader> OpenPng(const std::filesystem::path& path);
std::unique_ptr<ImageReader> OpenTiff(const std::filesystem::path& path);

}  // namespace qmhost
