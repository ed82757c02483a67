// Bytes as the tests write them down.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// All parts in a row.
inline Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes vAll;
    for (const Bytes& part : parts)
    {
        vAll.insert(vAll.end(), part.begin(), part.end());
    }
    return vAll;
}

// 32-bit big-endian numbers. TBytes is Bytes or std::string. A place past the end throws std::out_of_range.
template <class TBytes>
std::uint32_t WordAt(const TBytes& bytes, std::size_t uiAt)
{
    std::uint32_t uiValue = 0;
    for (std::size_t ui = 0; ui < 4; ++ui)
    {
        uiValue = uiValue * 256U + static_cast<std::uint8_t>(bytes.at(uiAt + ui));
    }
    return uiValue;
}

template <class TBytes>
void SetWordAt(TBytes& bytes, std::size_t uiAt, std::uint32_t uiValue)
{
    for (std::size_t ui = 4; ui > 0; --ui, uiValue /= 256U)
    {
        bytes.at(uiAt + ui - 1) = static_cast<typename TBytes::value_type>(uiValue % 256U);
    }
}

inline Bytes Bytes32(std::uint32_t uiValue)
{
    Bytes bytes(4);
    SetWordAt(bytes, 0, uiValue);
    return bytes;
}
