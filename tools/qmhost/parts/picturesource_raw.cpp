// Bare rows as pictures, from a file or a stream.
#include <cstring>
#include <limits>
#include <stdexcept>
#include <system_error>

#include "parts/bytesource.h"
#include "parts/inputpath.h"
#include "parts/interruption.h"
#include "parts/picturesource.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

constexpr std::uint32_t TOO_MANY = std::numeric_limits<std::uint32_t>::max();  // the number means an unknown length

// What files and streams have in common: a frame in memory.
class RawRows : public PictureSource
{
public:
    RawRows(std::string name, PictureSize size)
        : m_strName(std::move(name)), m_size(size), m_vFrame(std::size_t{3} * size.m_uiWidth * size.m_uiHeight)
    {}

    PictureSize Size() const override { return m_size; }
    const std::vector<std::string>& Warnings() const override { return m_vWarnings; }

    bool ReadNext(unsigned char* pPixels, std::size_t uiWidthBytes) override
    {
        if (!ReadFrame(m_vFrame)) return false;
        ++m_uiRead;
        const std::size_t uiRowBytes = std::size_t{3} * m_size.m_uiWidth;
        for (std::size_t uiRow = 0; uiRow < m_size.m_uiHeight; ++uiRow)
            std::memcpy(pPixels + uiRow * uiWidthBytes, m_vFrame.data() + uiRow * uiRowBytes, uiRowBytes);
        return true;
    }

protected:
    // False at the end.
    virtual bool ReadFrame(std::vector<unsigned char>& vFrame) = 0;

    const std::string& Name() const { return m_strName; }
    std::uint32_t CountRead() const { return m_uiRead; }
    std::size_t FrameBytes() const { return m_vFrame.size(); }
    // "frames of 640 x 360 pixels, 691200 bytes each"
    std::string Frames() const
    {
        return "frames of " + std::to_string(m_size.m_uiWidth) + " x " + std::to_string(m_size.m_uiHeight) +
               " pixels, " + std::to_string(m_vFrame.size()) + " bytes each";
    }

private:
    std::string m_strName;
    PictureSize m_size;
    std::vector<unsigned char> m_vFrame;
    std::uint32_t m_uiRead = 0;
    std::vector<std::string> m_vWarnings;  // never any
};

class RawFile : public RawRows
{
public:
    RawFile(const std::filesystem::path& path, PictureSize size)
        : RawRows(Quoted(Utf8FromPath(path)), size), m_file(path)
    {
        const std::uint64_t uiCount = m_file.Size() / FrameBytes();
        if (m_file.Size() == 0) throw std::runtime_error(Name() + " is empty");
        if (m_file.Size() % FrameBytes() != 0)
        {
            throw std::runtime_error(Name() + " has " + std::to_string(m_file.Size()) +
                                     " bytes, which is no whole number of " + Frames());
        }
        if (uiCount >= TOO_MANY) throw std::runtime_error(Name() + " has too many " + Frames());
        m_uiCount = static_cast<std::uint32_t>(uiCount);
    }

    std::optional<std::uint32_t> Count() const override { return m_uiCount; }

private:
    bool ReadFrame(std::vector<unsigned char>& vFrame) override
    {
        if (CountRead() == m_uiCount) return false;
        if (m_file.ReadAt(std::uint64_t{CountRead()} * vFrame.size(), vFrame.data(), vFrame.size())) return true;
        throw std::runtime_error("frame " + std::to_string(CountRead()) + " can't be read from " + Name());
    }

    FileBytes m_file;
    std::uint32_t m_uiCount = 0;
};

class RawStream : public RawRows
{
public:
    RawStream(std::FILE* pStream, std::string name, PictureSize size)
        : RawRows(std::move(name), size), m_pStream(pStream)
    {}

    std::optional<std::uint32_t> Count() const override { return std::nullopt; }

    std::string Rest() const override
    {
        if (m_uiRest == 0) return {};
        return Name() + " ended within a frame, after " + std::to_string(m_uiRest) + " of its " +
               std::to_string(FrameBytes()) + " bytes";
    }

private:
    bool ReadFrame(std::vector<unsigned char>& vFrame) override
    {
        if (m_bEnded) return false;
        std::error_code error;
        const std::size_t uiBytes = ReadUntilInterrupted(m_pStream, vFrame, error);
        if (error)
        {
            throw std::runtime_error("frame " + std::to_string(CountRead()) + " can't be read from " + Name() + ": " +
                                     error.message());
        }
        m_bEnded = uiBytes < vFrame.size();
        if (m_bEnded) m_uiRest = uiBytes;
        if (!m_bEnded && CountRead() == TOO_MANY - 1) throw std::runtime_error(Name() + " has too many " + Frames());
        return !m_bEnded;
    }

    std::FILE* m_pStream;
    bool m_bEnded = false;
    std::size_t m_uiRest = 0;  // bytes after the last whole frame
};

}  // namespace

std::unique_ptr<PictureSource> OpenRawPictures(const std::filesystem::path& path, PictureSize size)
{
    RequireReadableFile(path);
    return std::make_unique<RawFile>(path, size);
}

std::unique_ptr<PictureSource> OpenRawStream(std::FILE* pStream, std::string name, PictureSize size)
{
    return std::make_unique<RawStream>(pStream, std::move(name), size);
}

}  // namespace qmhost
