// Boxes of an MP4 file, put together in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace mediafoundation
{

// Fields are big-endian. A box contains everything that is appended between its Begin and its End.
class BoxWriter
{
public:
    void Begin(std::string_view type);
    // The same with the version and the flags that many boxes begin with.
    void BeginFull(std::string_view type, std::uint8_t uiVersion, std::uint32_t uiFlags);
    void End();

    void Byte(std::uint8_t uiValue) { Number(uiValue, 1); }
    void Half(std::uint16_t uiValue) { Number(uiValue, 2); }
    void Word(std::uint32_t uiValue) { Number(uiValue, 4); }
    void Long(std::uint64_t uiValue) { Number(uiValue, 8); }
    void Text(std::string_view text);
    void Bytes(const std::vector<std::uint8_t>& bytes);
    void Zeros(std::size_t uiCount);

    const std::vector<std::uint8_t>& Content() const { return m_bytes; }

private:
    void Number(std::uint64_t uiValue, unsigned uiBytes);

    std::vector<std::uint8_t> m_bytes;
    std::vector<std::size_t> m_open;  // where the boxes that haven't ended begin
};

}  // namespace mediafoundation
