// Boxes of an MP4 file, put together in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace qmhost
{

class BoxWriter
{
public:
    // Begin and End nest. type: four characters.
    void Begin(std::string_view type);
    // Throws std::runtime_error when the box has more than the 4 GiB that its size can state.
    void End();

    void Byte(std::uint8_t uiValue) { Number(uiValue, 1); }
    void Half(std::uint16_t uiValue) { Number(uiValue, 2); }
    void Word(std::uint32_t uiValue) { Number(uiValue, 4); }
    void Long(std::uint64_t uiValue) { Number(uiValue, 8); }
    // In 32 or 64 bits.
    void Duration(std::uint64_t uiValue, bool bLong) { Number(uiValue, bLong ? 8 : 4); }
    void Text(std::string_view text);
    void Bytes(std::span<const unsigned char> bytes);
    void Zeros(std::size_t uiCount);

    const std::vector<unsigned char>& Written() const { return m_vBytes; }
    // The same without a copy; the object is empty then.
    std::vector<unsigned char> Take() { return std::move(m_vBytes); }

private:
    // The low bytes of a value, most significant first.
    void Number(std::uint64_t uiValue, unsigned uiBytes);

    std::vector<unsigned char> m_vBytes;
    std::vector<std::size_t> m_vOpen;  // where the boxes begin that have no end yet
};

}  // namespace qmhost
