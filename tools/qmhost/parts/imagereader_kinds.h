// What the readers of image files share, and what OpenImage chooses between.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "parts/imagefile.h"
#include "parts/imagereader.h"

namespace qmhost
{

// The reader that the system has for this kind of file.
std::unique_ptr<ImageReader> OpenImageOfKind(const std::filesystem::path& path, EImageFormat eFormat);

// Names a page in messages: the file, and the page unless it is the first.
[[noreturn]] void RefuseImage(const std::filesystem::path& path, std::uint32_t uiPage, const std::string& strReason);

// The size as a record, or RefuseImage.
PictureSize CheckedSize(const std::filesystem::path& path, std::uint32_t uiPage, std::uint32_t uiWidth,
                        std::uint32_t uiHeight);

// Samples as files hold them: of 8 or 16 bits (in the system's byte order), interleaved.
struct SampleLayout
{
    unsigned m_uiBits;
    unsigned m_uiSamples;  // 1 grey, 2 grey and another, 3 red, green, blue, above 3 these and others
};

// A row of such pixels as B, G, R.
void RowToBgr(const SampleLayout& layout, const unsigned char* pRow, std::uint32_t uiWidth, unsigned char* pBgr);

}  // namespace qmhost
