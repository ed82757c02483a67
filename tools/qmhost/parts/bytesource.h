// Bytes that can be read from any position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>

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

}  // namespace qmhost
