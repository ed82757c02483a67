// Bytes that can be read from any position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <vector>

namespace qmhost
{

class ByteSource
{
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t Size() const = 0;
    // False unless all uiBytes were there.
    virtual bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) = 0;
};

// A file on disk. One that can't be opened has size 0.
class FileBytes : public ByteSource
{
public:
    explicit FileBytes(const std::filesystem::path& path);
    std::uint64_t Size() const override { return m_uiSize; }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override;

private:
    std::ifstream m_file;
    std::uint64_t m_uiSize = 0;
};

// Another source with a block of it in memory, so that reading it from front to back in small steps is cheap.
class BufferedBytes : public ByteSource
{
public:
    static constexpr std::size_t BLOCK = 1 << 20;

    // The source must outlive the object. uiBlock: bytes in memory, at most BLOCK.
    explicit BufferedBytes(ByteSource& source, std::size_t uiBlock = BLOCK) : m_source(source), m_uiBlock(uiBlock) {}

    std::uint64_t Size() const override { return m_source.Size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override;

    // Bytes from a position on: at least uiLeast of them where the source has that many, at most the block. The view
    // holds until the next call. Throws std::runtime_error when the source can't be read.
    std::span<const unsigned char> View(std::uint64_t uiPosition, std::size_t uiLeast);

private:
    ByteSource& m_source;
    std::size_t m_uiBlock;
    std::uint64_t m_uiBegin = 0;  // of the block
    std::vector<unsigned char> m_vBlock;
};

// Another source in which bytes that can't be read, such as those of a bad sector, are zeros.
class ReadableBytes : public ByteSource
{
public:
    // The source must outlive the object.
    explicit ReadableBytes(ByteSource& source) : m_source(source) {}

    std::uint64_t Size() const override { return m_source.Size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override;

    // The lowest position so far that couldn't be read.
    std::optional<std::uint64_t> FirstUnreadable() const { return m_uiFirst; }

private:
    ByteSource& m_source;
    std::optional<std::uint64_t> m_uiFirst;
};

}  // namespace qmhost
