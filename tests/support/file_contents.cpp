#include "support/file_contents.h"

#include <array>
#include <fstream>
#include <stdexcept>

namespace test_support
{

namespace
{

template <class TContents>
TContents Read(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error("can't read " + path.string());
    // In blocks: the size isn't known before, since some files grow meanwhile. Byte by byte takes far longer.
    TContents contents;
    std::array<char, 65536> block;
    while (stream.read(block.data(), block.size()), stream.gcount() > 0)
    {
        const auto* const pBytes = reinterpret_cast<const typename TContents::value_type*>(block.data());
        contents.insert(contents.end(), pBytes, pBytes + stream.gcount());
    }
    return contents;
}

}  // namespace

Bytes ReadBytes(const std::filesystem::path& path)
{
    return Read<Bytes>(path);
}

std::string ReadText(const std::filesystem::path& path)
{
    return Read<std::string>(path);
}

void WriteBytes(const std::filesystem::path& path, const Bytes& vBytes)
{
    WriteText(path, {reinterpret_cast<const char*>(vBytes.data()), vBytes.size()});
}

void WriteText(const std::filesystem::path& path, std::string_view text)
{
    std::ofstream stream(path, std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!stream.flush()) throw std::runtime_error("can't write " + path.string());
}

}  // namespace test_support
