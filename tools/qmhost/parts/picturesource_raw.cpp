// A file of bare rows as pictures.
#include <cstring>
#include <limits>
#include <stdexcept>

#include "parts/bytesource.h"
#include "parts/inputpath.h"
#include "parts/picturesource.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

class RawPictures : public PictureSource
{
public:
    RawPictures(const std::filesystem::path& path, PictureSize size)
        : m_strPath(Quoted(Utf8FromPath(path))),
          m_file(path),
          m_size(size),
          m_vFrame(std::size_t{3} * size.m_uiWidth * size.m_uiHeight)
    {
        const std::string strFrames = "frames of " + std::to_string(size.m_uiWidth) + " x " +
                                      std::to_string(size.m_uiHeight) + " pixels, " + std::to_string(m_vFrame.size()) +
                                      " bytes each";
        const std::uint64_t uiCount = m_file.Size() / m_vFrame.size();
        if (m_file.Size() == 0) throw std::runtime_error(m_strPath + " is empty");
        if (m_file.Size() % m_vFrame.size() != 0)
        {
            throw std::runtime_error(m_strPath + " has " + std::to_string(m_file.Size()) +
                                     " bytes, which is no whole number of " + strFrames);
        }
        if (uiCount >= std::numeric_limits<std::uint32_t>::max())  // that number would mean an unknown length
            throw std::runtime_error(m_strPath + " has too many " + strFrames);
        m_uiCount = static_cast<std::uint32_t>(uiCount);
    }

    PictureSize Size() const override { return m_size; }
    std::uint32_t Count() const override { return m_uiCount; }
    const std::vector<std::string>& Warnings() const override { return m_vWarnings; }

    void ReadNext(unsigned char* pPixels, std::size_t uiWidthBytes) override
    {
        if (!m_file.ReadAt(std::uint64_t{m_uiNext} * m_vFrame.size(), m_vFrame.data(), m_vFrame.size()))
            throw std::runtime_error("frame " + std::to_string(m_uiNext) + " can't be read from " + m_strPath);
        ++m_uiNext;
        const std::size_t uiRowBytes = std::size_t{3} * m_size.m_uiWidth;
        for (std::size_t uiRow = 0; uiRow < m_size.m_uiHeight; ++uiRow)
            std::memcpy(pPixels + uiRow * uiWidthBytes, m_vFrame.data() + uiRow * uiRowBytes, uiRowBytes);
    }

private:
    std::string m_strPath;  // quoted
    FileBytes m_file;
    PictureSize m_size;
    std::vector<unsigned char> m_vFrame;
    std::uint32_t m_uiCount = 0;
    std::uint32_t m_uiNext = 0;
    std::vector<std::string> m_vWarnings;  // never any
};

}  // namespace

std::unique_ptr<PictureSource> OpenRawPictures(const std::filesystem::path& path, PictureSize size)
{
    RequireReadableFile(path);
    return std::make_unique<RawPictures>(path, size);
}

}  // namespace qmhost
