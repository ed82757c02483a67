// The forms that pixels have in memory.
#pragma once

#include <cstdint>
#include <cstring>

inline constexpr std::uint32_t MAX_COMPONENTS = 4;

constexpr bool IsPixelForm(std::uint32_t uiBits, std::uint32_t uiComponents) noexcept
{
    return uiBits >= 8 && uiBits <= 16 && uiComponents >= 1 && uiComponents <= MAX_COMPONENTS;
}

constexpr std::uint32_t BytesPerComponent(std::uint32_t uiBits) noexcept
{
    return uiBits <= 8 ? 1 : 2;
}

// Bytes of the pixels of one row, without the padding.
constexpr std::uint64_t RowBytes(std::uint32_t uiWidth, std::uint32_t uiBits, std::uint32_t uiComponents) noexcept
{
    return std::uint64_t{uiWidth} * uiComponents * BytesPerComponent(uiBits);
}

constexpr std::uint32_t MaxComponentValue(std::uint32_t uiBits) noexcept
{
    return (1u << uiBits) - 1;
}

// The nearest whole number of one that isn't negative, halves rounded up.
constexpr std::uint32_t RoundHalfUp(double dValue) noexcept
{
    constexpr double HALF = 0.5;
    return static_cast<std::uint32_t>(dValue + HALF);
}

// Component number uiIndex of a row. The caller's pitch places the rows, so two-byte components may be unaligned.
template <typename TComponent>
TComponent LoadComponent(const unsigned char* pRow, std::size_t uiIndex) noexcept
{
    TComponent value;
    std::memcpy(&value, pRow + uiIndex * sizeof(TComponent), sizeof(TComponent));
    return value;
}

template <typename TComponent>
void StoreComponent(unsigned char* pRow, std::size_t uiIndex, TComponent value) noexcept
{
    std::memcpy(pRow + uiIndex * sizeof(TComponent), &value, sizeof(TComponent));
}
