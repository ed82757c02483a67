// Bytes as the tests write them down.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// All parts one behind the other.
inline Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes vAll;
    for (const Bytes& part : parts)
    {
        vAll.insert(vAll.end(), part.begin(), part.end());
    }
    return vAll;
}

inline std::uint32_t Number32(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) * 16777216U + static_cast<std::uint32_t>(p[1]) * 65536U +
           static_cast<std::uint32_t>(p[2]) * 256U + p[3];
}

inline Bytes Bytes32(std::uint32_t uiValue)
{
    return {static_cast<std::uint8_t>(uiValue / 16777216U), static_cast<std::uint8_t>(uiValue / 65536U % 256U),
            static_cast<std::uint8_t>(uiValue / 256U % 256U), static_cast<std::uint8_t>(uiValue % 256U)};
}
