// MP4 boxes hold their integers most significant byte first, on every machine.
#pragma once

#include <cstdint>
#include <cstring>

inline void StoreBigEndian16(std::uint8_t* pTarget, std::uint16_t uiValue)
{
    pTarget[0] = static_cast<std::uint8_t>(uiValue >> 8);
    pTarget[1] = static_cast<std::uint8_t>(uiValue);
}

inline void StoreBigEndian32(std::uint8_t* pTarget, std::uint32_t uiValue)
{
    pTarget[0] = static_cast<std::uint8_t>(uiValue >> 24);
    pTarget[1] = static_cast<std::uint8_t>(uiValue >> 16);
    pTarget[2] = static_cast<std::uint8_t>(uiValue >> 8);
    pTarget[3] = static_cast<std::uint8_t>(uiValue);
}

inline std::uint16_t LoadBigEndian16(const std::uint8_t* pSource)
{
    return static_cast<std::uint16_t>(pSource[0] << 8 | pSource[1]);
}

inline std::uint32_t LoadBigEndian32(const std::uint8_t* pSource)
{
    return std::uint32_t{pSource[0]} << 24 | std::uint32_t{pSource[1]} << 16 | std::uint32_t{pSource[2]} << 8 |
           pSource[3];
}

// A number whose bytes in memory are uiValue's, most significant first.
inline std::uint32_t ToBigEndian32(std::uint32_t uiValue)
{
    std::uint8_t abBytes[4];
    StoreBigEndian32(abBytes, uiValue);
    std::uint32_t uiResult = 0;
    std::memcpy(&uiResult, abBytes, sizeof uiResult);
    return uiResult;
}
