// A host that writes files and reads them back.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/module_host.h"
#include "support/picture_attributes.h"

namespace test_support
{

// A picture as hosts hold it: B, G, R rows at the pitch of the even width, an even number of rows.
struct HostPicture
{
    HostPicture(std::uint32_t uiWidth, std::uint32_t uiHeight);

    std::uint8_t* Pixel(std::uint32_t uiX, std::uint32_t uiY) { return &m_vBytes[uiY * m_uiPitch + uiX * 3]; }
    const std::uint8_t* Pixel(std::uint32_t uiX, std::uint32_t uiY) const
    {
        return &m_vBytes[uiY * m_uiPitch + uiX * 3];
    }

    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
    std::size_t m_uiPitch;
    std::vector<std::uint8_t> m_vBytes;
};

// Makes the row of the codec table with this short code the active one; throws when there is none.
void ChooseCodec(const ModuleHost& host, const std::wstring& strCode);

// Sets the pictures' size and their number, 0 if it isn't known, on an output object; throws when they are refused.
void SetSize(const ModuleHost& host, const OutputFile& file, std::uint32_t uiWidth, std::uint32_t uiHeight,
             std::uint32_t uiCount = 0);

// An output object with the same set.
OutputFile OpenForPictures(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiWidth,
                           std::uint32_t uiHeight, std::uint32_t uiCount = 0);

QmStatus WriteAt(const OutputFile& file, double dTimeMs, const HostPicture& picture);

// Writes and closes a file with a picture for each time, in milliseconds; throws when a frame is refused.
using PictureOfFrame = std::function<HostPicture(std::uint32_t uiFrame)>;
void WriteFile(const ModuleHost& host, const std::filesystem::path& path, const std::vector<double>& vTimesMs,
               const PictureOfFrame& pictureOfFrame);

// A file opened for reading. Throws when it can't be, and when a frame can't be read.
class ReadBack
{
public:
    ReadBack(const ModuleHost& host, const std::filesystem::path& path);

    const SQmImageAttributes& Attributes() const { return m_attributes; }
    std::uint32_t Count() const { return m_attributes.m_uiSequenceCount; }
    std::vector<double> Times() const { return CachedTimes(m_file.Get()); }
    HostPicture Frame(std::uint32_t uiFrame) const;

private:
    InputFile m_file;
    SQmImageAttributes m_attributes{};
};

// What a reader is to give for frames that were written at these times: every distance is stored in whole ticks of a
// tenth of a millisecond, and every sum of them is read in whole milliseconds.
std::vector<double> TimesAsRead(const std::vector<double>& vTimesMs);

// The times of uiCount frames dMs apart, from 0 on.
std::vector<double> EvenTimes(std::uint32_t uiCount, double dMs = 40.0);

}  // namespace test_support
