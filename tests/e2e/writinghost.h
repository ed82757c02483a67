// A host that writes files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/module_host.h"

namespace test_support
{

// A picture as hosts hold it: B, G, R rows at the pitch of the even width, an even number of rows.
struct HostPicture
{
    HostPicture(std::uint32_t uiWidth, std::uint32_t uiHeight);

    std::uint8_t* Pixel(std::uint32_t uiX, std::uint32_t uiY) { return &m_vBytes[uiY * m_uiPitch + uiX * 3]; }

    std::size_t m_uiPitch;
    std::vector<std::uint8_t> m_vBytes;
};

// Makes the row of the codec table with this short code the active one; throws when there is none.
void ChooseCodec(const ModuleHost& host, const std::wstring& strCode);

// An output object that was told the pictures' size.
OutputFile OpenForPictures(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiWidth,
                           std::uint32_t uiHeight);

// Attributes of 24-bit pictures as a host fills them in.
SQmImageAttributes PictureAttributes(std::uint32_t uiWidth, std::uint32_t uiHeight);

QmStatus WriteAt(const OutputFile& file, double dTimeMs, const HostPicture& picture);

}  // namespace test_support
